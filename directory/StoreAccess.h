// Reading a directory's query scheme from the store: on the store's own
// connection, for work that comes before any session exists, or on a
// session's.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "StoreBackend.h"
#include "XoObjClasses.h"

namespace xo::directory {

// The query scheme an ODBC directory names: a store code (0x00010000 when
// read), with `queries` set, and a message on failure. Directories of other
// types need none and get kOk with no scheme.
int32_t FetchQueryScheme(xo::store::IStoreBackend& backend, const CXoObjUserDirectory& directory,
                         std::unique_ptr<CXoObjODBCQuery>& queries, std::string& message);
int32_t FetchQueryScheme(const std::string& sessionId, const CXoObjUserDirectory& directory,
                         std::unique_ptr<CXoObjODBCQuery>& queries, std::string& message);

}  // namespace xo::directory
