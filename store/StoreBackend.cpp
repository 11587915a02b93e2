#include "StoreBackend.h"

#include "StoreRegistry.h"
#include "platform/Paths.h"
#include "sqlite/SqliteBackend.h"

namespace xo::store {

IStoreBackend::~IStoreBackend() = default;

void IStoreBackend::ExpectFetches(const CXoObjIdArray&, const std::string&) {}
void IStoreBackend::BeginReadSnapshot(const std::string&) {}
void IStoreBackend::EndReadSnapshot(const std::string&) {}

StoreLocation ResolveLocation(const std::string& uri) {
  std::string value = uri.empty() ? platform::GetEnv("XO_POLICY_STORE") : uri;
  if (value.empty()) {
    return {"sqlite", platform::JoinPath(platform::JoinPath(platform::UserDataDir(), "xo-policy"),
                                         "policy.db")};
  }
  const std::string kSqlite = "sqlite:";
  if (value.rfind(kSqlite, 0) == 0) return {"sqlite", value.substr(kSqlite.size())};
  if (value.find("://") != std::string::npos) {
    return {value.substr(0, value.find("://")), value};
  }
  return {"sqlite", value};
}

std::unique_ptr<IStoreBackend> OpenBackend(const StoreLocation& where, std::string& message) {
  if (where.backend != "sqlite") {
    message = "policy store backend '" + where.backend + "' is not supported by this build";
    return nullptr;
  }
  return SqliteBackend::Open(where.path, message);
}

int32_t CreateStore(const StoreLocation& where, const NewStoreOptions& options,
                    std::string& message) {
  if (where.backend != "sqlite") {
    message = "policy store backend '" + where.backend + "' is not supported by this build";
    return kNotSupported;
  }
  return SqliteBackend::Create(where.path, options, message);
}

}  // namespace xo::store
