#include "cli/KeptLogin.h"

#include <nlohmann/json.hpp>

#include "cli/CommandGroups.h"
#include "cli/PrivateFile.h"
#include "store/platform/PasswordHash.h"
#include "store/platform/Paths.h"

namespace xo::cli {

std::string StoreKey(const store::StoreLocation& where) {
  if (where.backend != "sqlite") return where.backend + ":" + store::DisplayName(where);
  return "sqlite:" + platform::AbsolutePath(where.path);
}

std::string KeptLoginFile(const store::StoreLocation& where) {
  const std::string dir = platform::JoinPath(platform::UserConfigDir(), "xo-policy");
  return platform::JoinPath(dir, "session-" + platform::DigestHex(StoreKey(where)).substr(0, 16));
}

std::optional<KeptLogin> ReadKeptLogin(const store::StoreLocation& where) {
  const std::string path = KeptLoginFile(where);
  std::string problem;
  std::optional<std::string> text = ReadPrivateFile(path, problem);
  if (!problem.empty())
    throw CommandError("the kept session is not used: " + problem, kExitNoLogin);
  if (!text) return std::nullopt;
  const nlohmann::json file = nlohmann::json::parse(*text, nullptr, false);
  KeptLogin login;
  if (file.is_object() && file.value("store", nlohmann::json()).is_string() &&
      file.value("admin", nlohmann::json()).is_string() &&
      file.value("token", nlohmann::json()).is_string()) {
    login = {file["store"], file["admin"], file["token"]};
  }
  if (login.token.empty()) {
    throw CommandError(path + " holds no kept session; remove it and run 'xopolicy login' again",
                       kExitNoLogin);
  }
  if (login.store != StoreKey(where)) {
    throw CommandError(path + " keeps a session for " + login.store + ", not for " +
                           StoreKey(where) + "; run 'xopolicy login' again",
                       kExitNoLogin);
  }
  return login;
}

void WriteKeptLogin(const store::StoreLocation& where, const KeptLogin& login) {
  const nlohmann::json file = {
      {"store", login.store}, {"admin", login.admin}, {"token", login.token}};
  std::string problem;
  if (!WritePrivateFile(KeptLoginFile(where), file.dump(2) + "\n", problem)) {
    throw CommandError("the session could not be kept: " + problem);
  }
}

void ForgetKeptLogin(const store::StoreLocation& where) { RemovePrivateFile(KeptLoginFile(where)); }

}  // namespace xo::cli
