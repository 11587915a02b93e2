#include "StoreAccess.h"

#include "Settings.h"
#include "XoObjStore.h"

namespace xo::directory {

using namespace xo::store;

namespace {

template <class Fetch>
int32_t FetchSchemeWith(Fetch&& fetch, const CXoObjUserDirectory& directory,
                        std::unique_ptr<CXoObjODBCQuery>& queries, std::string& message) {
  if (ReadSettings(directory).Type() != DirectoryType::Odbc ||
      directory.GetQuerySchemeOid().IsOidNull()) {
    return kOk;
  }
  auto scheme = std::make_unique<CXoObjODBCQuery>(directory.GetQuerySchemeOid());
  const int32_t fetched = fetch(*scheme);
  if (Failed(fetched)) {
    message = std::string("the query scheme of directory '") + directory.GetName() +
              "' could not be read: " + Describe(fetched);
    return fetched;
  }
  queries = std::move(scheme);
  return kOk;
}

}  // namespace

int32_t FetchQueryScheme(IStoreBackend& backend, const CXoObjUserDirectory& directory,
                         std::unique_ptr<CXoObjODBCQuery>& queries, std::string& message) {
  return FetchSchemeWith(
      [&](CXoObjODBCQuery& scheme) { return backend.FetchWithoutSession(scheme); }, directory,
      queries, message);
}

int32_t FetchQueryScheme(const std::string& sessionId, const CXoObjUserDirectory& directory,
                         std::unique_ptr<CXoObjODBCQuery>& queries, std::string& message) {
  return FetchSchemeWith(
      [&](CXoObjODBCQuery& scheme) { return CXoObjStore::Fetch(scheme, 0, nullptr, sessionId); },
      directory, queries, message);
}

}  // namespace xo::directory
