// Objects read straight from the store, for what the library has no listing
// of (ODBC query schemes, server commands) or names only by name (which realm
// a rule lies in). Only reads: every change still goes through the library.
#pragma once

#include <string>
#include <vector>

#include "XoObjStore.h"
#include "cli/CommandGroups.h"
#include "cli/Connection.h"
#include "frame/ExpectedFetches.h"

namespace xo::cli {

// Hands each object of the class that matches `filters` (every one without)
// to `visit`, in creation order.
template <class Object, class Visit>
void ForEachStoreObject(const Connection& connection, const std::string& plural,
                        const XoObjSearchFilterList& filters, Visit&& visit) {
  CXoObjIdArray hits;
  int32_t searched = CXoObjStore::SearchMultiple(Object(), hits, filters, connection.SessionId());
  if (store::Failed(searched)) {
    throw CommandError("cannot list the " + plural + ": " + store::Describe(searched));
  }
  const frame::ExpectedFetches readAhead(connection.SessionId(), hits);
  for (const CXoObjId& id : hits) {
    Object object(id);
    int32_t fetched = CXoObjStore::Fetch(object, 0, nullptr, connection.SessionId());
    if (store::Failed(fetched)) {
      throw CommandError("cannot read the " + plural + ": " + store::Describe(fetched));
    }
    visit(object);
  }
}

template <class Object>
std::vector<Object> StoreObjects(const Connection& connection, const std::string& plural,
                                 const XoObjSearchFilterList& filters = {}) {
  std::vector<Object> objects;
  ForEachStoreObject<Object>(connection, plural, filters,
                             [&](const Object& object) { objects.push_back(object); });
  return objects;
}

// Every ODBC query scheme's name: the library lists none.
inline std::vector<std::string> OdbcQuerySchemeNames(const Connection& connection) {
  std::vector<std::string> names;
  for (const CXoObjODBCQuery& scheme :
       StoreObjects<CXoObjODBCQuery>(connection, "ODBC query schemes")) {
    names.push_back(scheme.GetName());
  }
  return names;
}

}  // namespace xo::cli
