// `xopolicy login` and `xopolicy logout`: a session kept between commands, so
// that only the first of them asks for the password and pays for its hash.
#include <optional>

#include "XoAdmSession.h"
#include "XoObjStore.h"
#include "cli/KeptLogin.h"
#include "cli/Nouns.h"
#include "store/XoStoreCodes.h"
#include "store/platform/Paths.h"

namespace xo::cli {
namespace {

int64_t IdleMinutes() {
  std::string minutes;
  if (store::Failed(store::CurrentBackend()->ReadSetting(store::kSessionIdleSetting, minutes))) {
    return store::kDefaultSessionIdleMinutes;
  }
  return std::stoll(minutes);
}

void LogIn(const VerbOptions& v) {
  Connection c(v.connection, Credentials::PasswordOnly);
  const store::StoreLocation where = store::ResolveLocation();
  // The session kept before for this store, if any, ends now.
  try {
    if (std::optional<KeptLogin> previous = ReadKeptLogin(where)) {
      CXoAdmSession::DropKept(previous->token);
    }
  } catch (const CommandError&) {
    // An unusable file is replaced below.
  }
  std::string token, message;
  if (c.Session().Keep(token, message) != 0) {
    throw CommandError("cannot keep the session: " + message);
  }
  try {
    WriteKeptLogin(where, {StoreKey(where), c.AdminName(), token});
  } catch (const CommandError&) {
    CXoAdmSession::DropKept(token);
    throw;
  }
  const int64_t idle = IdleMinutes();
  PrintDone(v.output,
            "Logged in to " + store::DisplayName(where) + " as " + Quoted(c.AdminName()) +
                ". Commands without a password use this session until it goes unused for " +
                std::to_string(idle) + " minutes or 'xopolicy logout' ends it.",
            {{"store", store::DisplayName(where)},
             {"admin", c.AdminName()},
             {"file", KeptLoginFile(where)},
             {"idleMinutes", idle}});
}

void LogOut(const VerbOptions& v) {
  if (!v.connection.storeUri.empty()) platform::SetEnv("XO_POLICY_STORE", v.connection.storeUri);
  const store::StoreLocation where = store::ResolveLocation();
  std::optional<KeptLogin> kept;
  try {
    kept = ReadKeptLogin(where);
  } catch (const CommandError& refused) {
    ForgetKeptLogin(where);
    throw CommandError(std::string(refused.what()) + "; the file was removed, and the session " +
                           "it names ends when it goes unused for the store's idle time",
                       kExitFailure);
  }
  const std::string name = store::DisplayName(where);
  if (!kept) {
    PrintDone(v.output, "No session was kept for " + name + ".", {{"store", name}});
    return;
  }
  ForgetKeptLogin(where);
  std::string message;
  int32_t ended = store::kUnavailable;
  if (CXoObjStore::Init(message, false, false, false, false, false, false, true)) {
    ended = CXoAdmSession::DropKept(kept->token);
    CXoObjStore::Release();
  }
  if (store::Failed(ended)) {
    throw CommandError("the kept session's file was removed, but the store at " + name +
                           " could not end the session (" + store::Describe(ended) +
                           "); it ends when it goes unused for the store's idle time",
                       kExitNoLogin);
  }
  PrintDone(v.output, "Logged out of " + name + " as " + Quoted(kept->admin) + ".",
            {{"store", name}, {"admin", kept->admin}});
}

}  // namespace

void RegisterLoginCommands(CLI::App& app) {
  auto [login, loginOptions] = AddVerb(
      app, "login",
      "Log in once and keep the session for the commands that follow (until 'xopolicy logout', "
      "or until it goes unused for the store's idle time)",
      ScopeKind::System);
  login->callback([options = loginOptions] { LogIn(*options); });
  auto [logout, logoutOptions] = AddVerb(
      app, "logout", "End the session that 'xopolicy login' kept for the store", ScopeKind::System);
  logout->callback([options = logoutOptions] { LogOut(*options); });
}

}  // namespace xo::cli
