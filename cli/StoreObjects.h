// Objects read straight from the store, for what the library has no listing
// of (ODBC query schemes, server commands). Only reads: every change still
// goes through the library.
#pragma once

#include <vector>

#include "XoObjStore.h"
#include "cli/CommandGroups.h"
#include "cli/Connection.h"

namespace xo::cli {

// Every object of the class, in creation order.
template <class Object>
std::vector<Object> StoreObjects(const Connection& connection, const std::string& plural) {
  CXoObjIdArray hits;
  int32_t searched = CXoObjStore::SearchMultiple(Object(), hits, {}, connection.SessionId());
  if (store::Failed(searched)) {
    throw CommandError("cannot list the " + plural + ": " + store::Describe(searched));
  }
  std::vector<Object> objects;
  for (const CXoObjId& id : hits) {
    Object object(id);
    int32_t fetched = CXoObjStore::Fetch(object, 0, nullptr, connection.SessionId());
    if (store::Failed(fetched)) {
      throw CommandError("cannot read the " + plural + ": " + store::Describe(fetched));
    }
    objects.push_back(object);
  }
  return objects;
}

}  // namespace xo::cli
