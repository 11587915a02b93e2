#include "StoreBackend.h"

#include "StoreRegistry.h"
#include "XoStoreCodes.h"
#include "platform/Paths.h"
#include "sql/StoreCopy.h"
#include "sqlite/SqliteStore.h"
#ifdef XO_WITH_POSTGRES
#include "postgres/PostgresStore.h"
#endif

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
    const std::string scheme = value.substr(0, value.find("://"));
    return {scheme == "postgres" ? "postgresql" : scheme, value};
  }
  return {"sqlite", value};
}

std::string DisplayName(const StoreLocation& where) {
  const std::string& uri = where.path;
  const size_t scheme = uri.find("://");
  if (where.backend == "sqlite" || scheme == std::string::npos) return uri;
  const size_t at = uri.find('@', scheme + 3);
  const size_t colon = uri.find(':', scheme + 3);
  if (at == std::string::npos || colon == std::string::npos || colon > at) return uri;
  return uri.substr(0, colon) + uri.substr(at);
}

namespace {

// The backends of this build, by the name a store location gives.
struct BackendKind {
  const char* name;
  std::unique_ptr<IStoreBackend> (*open)(const std::string& where, std::string& message);
  int32_t (*create)(const std::string& where, const NewStoreOptions& options, std::string& message);
  std::unique_ptr<sql::Connection> (*connect)(const std::string& where, bool fresh,
                                              std::string& message, int32_t& code);
};
constexpr BackendKind kBackends[] = {
    {"sqlite", sqlite::OpenStore, sqlite::CreateStore, sqlite::OpenConnection},
#ifdef XO_WITH_POSTGRES
    {"postgresql", postgres::OpenStore, postgres::CreateStore, postgres::OpenConnection},
#endif
};

const BackendKind* FindBackend(const StoreLocation& where, std::string& message) {
  for (const BackendKind& kind : kBackends) {
    if (where.backend == kind.name) return &kind;
  }
  message = "policy store backend '" + where.backend + "' is not supported by this build";
  return nullptr;
}

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

std::unique_ptr<IStoreBackend> OpenBackend(const StoreLocation& where, std::string& message) {
  const BackendKind* kind = FindBackend(where, message);
  return kind ? kind->open(where.path, message) : nullptr;
}

int32_t CreateStore(const StoreLocation& where, const NewStoreOptions& options,
                    std::string& message) {
  if (const int32_t invalid = CheckNewStoreOptions(options, message); invalid != kOk) {
    return invalid;
  }
  const BackendKind* kind = FindBackend(where, message);
  return kind ? kind->create(where.path, options, message) : kNotSupported;
}

int32_t CopyStore(const StoreLocation& from, const StoreLocation& to, std::string& message) {
  const BackendKind* sourceKind = FindBackend(from, message);
  const BackendKind* targetKind = sourceKind ? FindBackend(to, message) : nullptr;
  if (!targetKind) return kNotSupported;
  int32_t code = kOk;
  std::unique_ptr<sql::Connection> source = sourceKind->connect(from.path, false, message, code);
  if (!source) return code;
  std::unique_ptr<sql::Connection> target = targetKind->connect(to.path, true, message, code);
  if (!target) return code;
  return sql::CopyStore(*source, DisplayName(from), *target, DisplayName(to), message);
}

}  // namespace xo::store
