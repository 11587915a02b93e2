// The embedded store: one SQLite database file in WAL mode.
#pragma once

#include <memory>
#include <string>

#include "StoreBackend.h"
#include "sql/Connection.h"

namespace xo::store::sqlite {

// Opens the store file at `path`; null, with the reason, when there is none
// or it is no store.
std::unique_ptr<IStoreBackend> OpenStore(const std::string& path, std::string& message);
// A connection to the store file; `fresh`: a new file, with its folders,
// where none is yet.
std::unique_ptr<sql::Connection> OpenConnection(const std::string& path, bool fresh,
                                                std::string& message, int32_t& code);
// Creates the file, its folders and a new store in it.
int32_t CreateStore(const std::string& path, const NewStoreOptions& options, std::string& message);

}  // namespace xo::store::sqlite
