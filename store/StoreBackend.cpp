#include "StoreBackend.h"

#include "StoreRegistry.h"
#include "XoStoreCodes.h"
#include "platform/Paths.h"
#include "sqlite/SqliteStore.h"

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
  return sqlite::OpenStore(where.path, message);
}

namespace {

// What a new store's first administrator and hashing cost must be.
int32_t CheckNewStoreOptions(const NewStoreOptions& options, std::string& message) {
  if (options.adminName.empty()) {
    message = "the first administrator needs a name";
    return kNameRequired;
  }
  if (options.adminName.size() > 1023 || options.adminPassword.size() > 1023) {
    message = "the administrator's name and password are limited to 1023 bytes";
    return kTextTooLong;
  }
  if (options.adminPassword.empty()) {
    message = "the first administrator needs a password";
    return kNameRequired;
  }
  if (options.hashCost != "interactive" && options.hashCost != "moderate" &&
      options.hashCost != "minimum") {
    message = "unknown password-hashing cost '" + options.hashCost + "'";
    return kInvalidArgument;
  }
  return kOk;
}

}  // namespace

int32_t CreateStore(const StoreLocation& where, const NewStoreOptions& options,
                    std::string& message) {
  if (const int32_t invalid = CheckNewStoreOptions(options, message); invalid != kOk) {
    return invalid;
  }
  if (where.backend != "sqlite") {
    message = "policy store backend '" + where.backend + "' is not supported by this build";
    return kNotSupported;
  }
  return sqlite::CreateStore(where.path, options, message);
}

}  // namespace xo::store
