// The store's database read and changed with SQLite or libpq, beside the
// store: to compare its whole contents before and after a call, and to put in
// states the store refuses to create (two objects of one name). A store is
// named by its file's path or its URI (sqlite:PATH, postgresql://...).
#pragma once

#include <string>
#include <vector>

#include "XoObjId.h"

namespace xo::test {

// Every table's rows, in a stable order, as one text. Kept sessions are left
// out: they note their last use even on a command that changes nothing.
std::string SnapshotStoreFile(const std::string& store);

// The rows of a query (or a change), each row's columns joined by '|'.
std::vector<std::string> QueryStoreFile(const std::string& store, const std::string& sql);

// Whether the database's own consistency check passes.
bool StoreIsSound(const std::string& store);

// Copies the object's row under a new identifier of the same class; the copy
// has the same name, owner and values. Returns the new identifier.
CXoObjId DuplicateObject(const std::string& store, const CXoObjId& id);

}  // namespace xo::test
