#include "sqlite/SqliteStore.h"

#include "XoStoreCodes.h"
#include "platform/Paths.h"
#include "sql/RelationalBackend.h"
#include "sqlite/SqliteConnection.h"

namespace xo::store::sqlite {

std::unique_ptr<IStoreBackend> OpenStore(const std::string& path, std::string& message) {
  int32_t code = kOk;
  std::unique_ptr<sql::Connection> control = OpenConnection(path, false, message, code);
  if (!control) return nullptr;
  if (Failed(sql::RelationalBackend::CheckInitialised(*control, path, message))) return nullptr;
  auto connect = [path](std::string& error, int32_t& result) -> std::unique_ptr<sql::Connection> {
    return SqliteConnection::Open(path, false, error, result);
  };
  return std::make_unique<sql::RelationalBackend>(path, connect, std::move(control));
}

std::unique_ptr<sql::Connection> OpenConnection(const std::string& path, bool fresh,
                                                std::string& message, int32_t& code) {
  if (fresh && platform::FileExists(path)) {
    message = "a policy store already exists at " + path + "; it was left untouched";
    code = kExists;
    return nullptr;
  }
  if (!fresh && !platform::FileExists(path)) {
    message = "no policy store at " + path + " (create one with 'xopolicy init')";
    code = kNotInitialised;
    return nullptr;
  }
  if (fresh && !platform::MakeDirectories(platform::ParentDirectory(path))) {
    message = "cannot create the directory " + platform::ParentDirectory(path);
    code = kUnavailable;
    return nullptr;
  }
  return SqliteConnection::Open(path, fresh, message, code);
}

int32_t CreateStore(const std::string& path, const NewStoreOptions& options, std::string& message) {
  int32_t code = kOk;
  std::unique_ptr<sql::Connection> connection = OpenConnection(path, true, message, code);
  if (!connection) return code;
  return sql::RelationalBackend::Initialise(*connection, path, options, message);
}

}  // namespace xo::store::sqlite
