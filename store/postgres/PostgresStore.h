// The shared store: a PostgreSQL database, named by libpq's URI
// (postgresql://user@host:port/database?...), for sites whose policy servers
// and administrators work from several hosts.
#pragma once

#include <memory>
#include <string>

#include "StoreBackend.h"
#include "sql/Connection.h"

namespace xo::store::postgres {

// Opens the store in the database; null, with the reason, when the server
// cannot be reached or the database holds no store.
std::unique_ptr<IStoreBackend> OpenStore(const std::string& uri, std::string& message);
// A connection to the database (a store, or an empty database for a new one).
std::unique_ptr<sql::Connection> OpenConnection(const std::string& uri, bool fresh,
                                                std::string& message, int32_t& code);
// Creates a store in an existing, empty database.
int32_t CreateStore(const std::string& uri, const NewStoreOptions& options, std::string& message);

}  // namespace xo::store::postgres
