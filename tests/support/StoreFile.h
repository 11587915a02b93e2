// The store's database file read and changed with SQLite itself, beside the
// store: to compare its whole contents before and after a call, and to put in
// states the store refuses to create (two objects of one name).
#pragma once

#include <string>
#include <vector>

#include "XoObjId.h"

namespace xo::test {

// Every table's rows, in a stable order, as one text.
std::string SnapshotStoreFile(const std::string& path);

// The rows of a query, each row's columns joined by '|'.
std::vector<std::string> QueryStoreFile(const std::string& path, const std::string& sql);

// Copies the object's row under a new identifier of the same class; the copy
// has the same name, owner and values. Returns the new identifier.
CXoObjId DuplicateObject(const std::string& path, const CXoObjId& id);

}  // namespace xo::test
