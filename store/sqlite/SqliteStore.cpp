#include "sqlite/SqliteStore.h"

#include "XoStoreCodes.h"
#include "platform/Paths.h"
#include "sql/RelationalBackend.h"
#include "sqlite/SqliteConnection.h"

namespace xo::store::sqlite {

std::unique_ptr<IStoreBackend> OpenStore(const std::string& path, std::string& message) {
  if (!platform::FileExists(path)) {
    message = "no policy store at " + path + " (create one with 'xopolicy init')";
    return nullptr;
  }
  int32_t code = kOk;
  std::unique_ptr<sql::Connection> control = SqliteConnection::Open(path, false, message, code);
  if (!control) return nullptr;
  if (Failed(sql::RelationalBackend::CheckInitialised(*control, path, message))) return nullptr;
  auto connect = [path](std::string& error, int32_t& result) -> std::unique_ptr<sql::Connection> {
    return SqliteConnection::Open(path, false, error, result);
  };
  return std::make_unique<sql::RelationalBackend>(path, connect, std::move(control));
}

int32_t CreateStore(const std::string& path, const NewStoreOptions& options, std::string& message) {
  if (platform::FileExists(path)) {
    message = "a policy store already exists at " + path + "; it was left untouched";
    return kExists;
  }
  if (!platform::MakeDirectories(platform::ParentDirectory(path))) {
    message = "cannot create the directory " + platform::ParentDirectory(path);
    return kUnavailable;
  }
  int32_t code = kOk;
  std::unique_ptr<SqliteConnection> connection = SqliteConnection::Open(path, true, message, code);
  if (!connection) return code;
  return sql::RelationalBackend::Initialise(*connection, path, options, message);
}

}  // namespace xo::store::sqlite
