// The objects every new store starts with.
#pragma once

#include <string>

#include "StoreBackend.h"
#include "sql/ObjectStore.h"

namespace xo::store::sql {
// The root, the HTTP and RADIUS agent types with their attribute
// dictionaries, the built-in basic scheme and the first administrator.
void SeedStore(ObjectStore& store, const NewStoreOptions& options,
               const std::string& adminPasswordHash);
}  // namespace xo::store::sql
