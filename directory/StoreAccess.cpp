#include "StoreAccess.h"

#include "Settings.h"

namespace xo::directory {

using namespace xo::store;

int32_t FetchQueryScheme(IStoreBackend& backend, const CXoObjUserDirectory& directory,
                         std::unique_ptr<CXoObjODBCQuery>& queries, std::string& message) {
  if (ReadSettings(directory).Type() != DirectoryType::Odbc ||
      directory.GetQuerySchemeOid().IsOidNull()) {
    return kOk;
  }
  auto scheme = std::make_unique<CXoObjODBCQuery>(directory.GetQuerySchemeOid());
  const int32_t fetched = backend.FetchWithoutSession(*scheme);
  if (Failed(fetched)) {
    message = std::string("the query scheme of directory '") + directory.GetName() +
              "' could not be read: " + Describe(fetched);
    return fetched;
  }
  queries = std::move(scheme);
  return kOk;
}

}  // namespace xo::directory
