// A whole store copied from one database into another, whatever their
// backends: every object with its identifier, every list in its order, the
// password hashes, the store's settings and its audit trail.
#pragma once

#include <string>

#include "sql/Connection.h"

namespace xo::store::sql {

// Copies the initialised store on `source` into `target`, which must hold no
// tables. The copy is one transaction on the target and reads one snapshot
// of the source. Returns a store code, with the reason in `message`.
int32_t CopyStore(Connection& source, const std::string& sourceName, Connection& target,
                  const std::string& targetName, std::string& message);

}  // namespace xo::store::sql
