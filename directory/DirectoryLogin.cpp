#include "DirectoryLogin.h"

#include <memory>

#include "StoreAccess.h"
#include "XoDsDir.h"

namespace xo::directory {

using namespace xo::store;

int32_t AuthenticateByDirectory(IStoreBackend& backend, const AdminCredentials& admin,
                                const std::string& password, SessionDirectories& kept,
                                std::string& message) {
  CXoObjUserDirectory directory(admin.userDirectory);
  int32_t fetched = backend.FetchWithoutSession(directory);
  if (Failed(fetched)) {
    message = "the user directory of administrator '" + admin.name +
              "' could not be read: " + Describe(fetched);
    return fetched;
  }
  std::unique_ptr<CXoObjODBCQuery> queries;
  fetched = FetchQueryScheme(backend, directory, queries, message);
  if (Failed(fetched)) return fetched;
  auto dir = std::make_unique<CXoDsDir>(directory, queries.get(), kept);
  if (dir->Authenticate(admin.name, password)) return kOk;
  message = "wrong administrator name or password (directory '" + directory.GetName() +
            "': " + dir->LastError() + ")";
  return kAuthFailed;
}

}  // namespace xo::directory
