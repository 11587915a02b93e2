// The shared store: a PostgreSQL database, named by libpq's URI
// (postgresql://user@host:port/database?...), for sites whose policy servers
// and administrators work from several hosts.
#pragma once

#include <memory>
#include <string>

#include "StoreBackend.h"

namespace xo::store::postgres {

// Opens the store in the database; null, with the reason, when the server
// cannot be reached or the database holds no store.
std::unique_ptr<IStoreBackend> OpenStore(const std::string& uri, std::string& message);
// Creates a store in an existing, empty database.
int32_t CreateStore(const std::string& uri, const NewStoreOptions& options, std::string& message);

}  // namespace xo::store::postgres
