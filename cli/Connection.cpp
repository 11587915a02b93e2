#include "cli/Connection.h"

#include <cstdlib>
#include <iostream>

#include "XoObjStore.h"
#include "cli/CommandGroups.h"
#include "cli/GlobalOptions.h"
#include "cli/KeptLogin.h"
#include "cli/PasswordInput.h"
#include "cli/Terminal.h"
#include "frame/Handles.h"
#include "frame/Login.h"
#include "store/StoreBackend.h"
#include "store/XoStoreCodes.h"
#include "store/platform/Paths.h"

namespace xo::cli {
namespace {

// Every bit of an administrator's flags that grants something: the system
// and domain rights and the rights to issue server commands 0 to 14.
constexpr int32_t kAnyRight = XO_ADMIN_SYSTEM | XO_ADMIN_DOMAIN | 0x7FFF0000;

std::string PromptPassword(const std::string& admin) {
  if (!IsTerminal(Stream::kInput)) {
    throw CommandError("no password: set XO_PASSWORD, use --password-stdin, or run in a terminal",
                       kExitUsage);
  }
  std::cerr << "Password for " << admin << ": " << std::flush;
  std::string password;
  {
    EchoOff quiet;
    password = ReadPasswordLine(std::cin);
  }
  std::cerr << '\n';
  return password;
}

std::string ChoosePassword(const ConnectionOptions& options, const std::string& admin) {
  if (options.passwordFromStdin) return ReadPasswordLine(std::cin);
  if (const char* fromEnvironment = std::getenv("XO_PASSWORD")) return fromEnvironment;
  return PromptPassword(admin);
}

// Says why a store cannot be opened, before logging in, so that a person is
// not told "wrong password" about a store that is not there.
void CheckStoreOpens(const store::StoreLocation& where) {
  std::string message;
  if (!CXoObjStore::Init(message, false, false, false, false, false, false, true)) {
    // The store's own words usually name the place already.
    if (message.find(where.path) == std::string::npos) {
      message = "cannot use the policy store at " + where.path + ": " + message;
    }
    throw CommandError(message, kExitNoLogin);
  }
  CXoObjStore::Release();
}

// The library answers a failed login with -1 alone; the store's session says
// why in words (wrong name or password, the user directory failed, ...).
std::string WhyLoginFailed(const std::string& admin, const std::string& password) {
  std::string message;
  if (!CXoObjStore::Init(message, false, false, false, false, false, false, true)) return message;
  CXoAdmSession probe(admin, password, "xopolicy", "", "xopolicy", true);
  if (probe.Login(message, false) == 0) {
    probe.Logout();
    message = "the login failed";
  }
  CXoObjStore::Release();
  return message.empty() ? "the login failed" : message;
}

bool HoldsAnyRight(const std::string& admin) {
  store::AdminCredentials credentials;
  store::IStoreBackend* backend = store::CurrentBackend();
  if (!backend || store::Failed(backend->LookupAdmin(admin, credentials))) return true;
  return (credentials.flags & kAnyRight) != 0;
}

bool PasswordGiven(const ConnectionOptions& options) {
  return options.passwordFromStdin || std::getenv("XO_PASSWORD") != nullptr;
}

// Logs in with the kept session's token; a session that the store says has
// ended is forgotten here too.
PolicyApiSession* ResumeKept(const store::StoreLocation& where, const KeptLogin& kept) {
  PolicyApiSession* handle = nullptr;
  std::string message;
  int32_t code = store::kOk;
  const int32_t result = frame::LogIn(
      &handle, kept.admin, "", "xopolicy",
      [&](CXoAdmSession& session, std::string& why) {
        return code = session.ResumeKept(kept.token, why);
      },
      message);
  if (result == XO_OK) return handle;
  if (handle) Xo_PolicyApi_Logout(handle);
  if (code == store::kNoSession || code == store::kTimeout || code == store::kAuthFailed) {
    ForgetKeptLogin(where);
  }
  throw CommandError("the session kept for " + store::DisplayName(where) + " as \"" + kept.admin +
                         "\" cannot be used: " + message + "; run 'xopolicy login' again",
                     kExitNoLogin);
}

}  // namespace

void AddConnectionOptions(CLI::App& command, ConnectionOptions& options) {
  command
      .add_option(
          "--store", options.storeUri,
          "The store: sqlite:PATH, PATH or postgresql://... (default: XO_POLICY_STORE, else the "
          "per-user data directory)")
      ->type_name("URI");
  command.add_option("--admin", options.admin, "Administrator to log in as (default: XO_ADMIN)")
      ->type_name("NAME");
  command.add_flag("--password-stdin", options.passwordFromStdin,
                   "Read the password from the first line of standard input (else XO_PASSWORD, "
                   "else a prompt)");
  FollowGlobalOptions(options);
}

Connection::Connection(const ConnectionOptions& options, Credentials credentials) {
  if (!options.storeUri.empty()) xo::platform::SetEnv("XO_POLICY_STORE", options.storeUri);
  admin_ = options.admin;
  if (admin_.empty() && std::getenv("XO_ADMIN")) admin_ = std::getenv("XO_ADMIN");
  store::StoreLocation where = store::ResolveLocation();
  if (credentials == Credentials::KeptOrPassword && !PasswordGiven(options)) {
    std::optional<KeptLogin> kept = ReadKeptLogin(where);
    if (kept && (admin_.empty() || admin_ == kept->admin)) {
      CheckStoreOpens(where);
      admin_ = kept->admin;
      handle_ = ResumeKept(where, *kept);
      RequireSomeRight(where);
      return;
    }
  }
  if (admin_.empty())
    throw CommandError("give the administrator with --admin (or XO_ADMIN)", kExitUsage);
  CheckStoreOpens(where);
  std::string password = ChoosePassword(options, admin_);
  int32_t result =
      Xo_PolicyApi_Login(&handle_, nullptr, admin_.c_str(), password.c_str(), "xopolicy", "", 0);
  if (result != XO_OK) {
    if (handle_) Xo_PolicyApi_Logout(handle_);
    handle_ = nullptr;
    throw CommandError("cannot log in to " + where.path + " as \"" + admin_ +
                           "\": " + WhyLoginFailed(admin_, password),
                       kExitNoLogin);
  }
  RequireSomeRight(where);
}

void Connection::RequireSomeRight(const store::StoreLocation& where) {
  if (HoldsAnyRight(admin_)) return;
  Xo_PolicyApi_Logout(handle_);
  handle_ = nullptr;
  throw CommandError("administrator \"" + admin_ + "\" holds no rights in the store at " +
                         where.path + " (a system administrator can grant them)",
                     kExitNoLogin);
}

CXoAdmSession& Connection::Session() const { return *handle_->session; }

Connection::~Connection() {
  if (!handle_) return;
  if (inTransaction_) Rollback();
  Xo_PolicyApi_Logout(handle_);
}

const std::string& Connection::SessionId() const { return handle_->session->GetSessionID(); }

bool Connection::Allowed(int32_t right, int32_t argument, const CXoObjId& scope) const {
  return handle_->session->GetAdminUser().IsAllowed(right, argument, scope);
}

void Connection::Begin() {
  int32_t result = CXoObjStore::BeginTransaction(SessionId());
  if (store::Failed(result)) {
    throw CommandError(std::string("cannot start a transaction: ") + store::Describe(result));
  }
  inTransaction_ = true;
}

void Connection::Commit() {
  inTransaction_ = false;
  int32_t result = CXoObjStore::CommitTransaction(SessionId());
  if (store::Failed(result)) {
    throw CommandError(std::string("the changes could not be committed: ") +
                       store::Describe(result));
  }
}

void Connection::Rollback() {
  inTransaction_ = false;
  CXoObjStore::RollbackTransaction(SessionId());
}

}  // namespace xo::cli
