#include "XoAdmSession.h"

#include <stdexcept>

#include "DirectoryLogin.h"
#include "SessionDirectories.h"
#include "StoreBackend.h"
#include "XoObjClasses.h"
#include "XoStoreCodes.h"
#include "platform/PasswordHash.h"
#include "platform/Random.h"

namespace xo::store {
namespace {

// The costs of libsodium's Argon2id limits of the same names.
platform::HashCost CostLimits(const std::string& cost) {
  if (cost == "minimum") return {1, 8192};
  if (cost == "moderate") return {3, 268435456};
  return {2, 67108864};
}

// A hash of a password nobody has, checked against when the administrator is
// unknown so that the answer takes as long as for a known one.
const std::string& DecoyHash(const std::string& cost) {
  static const std::string interactive = HashPassword(platform::RandomHex(16), "interactive");
  static const std::string minimum = HashPassword(platform::RandomHex(16), "minimum");
  return cost == "minimum" ? minimum : interactive;
}

}  // namespace

std::string HashPassword(const std::string& password, const std::string& cost) {
  return platform::HashArgon2id(password, CostLimits(cost));
}

bool IsPasswordHash(const std::string& text) { return text.rfind("$argon2id$", 0) == 0; }

bool VerifyPassword(const std::string& hash, const std::string& password) {
  if (!IsPasswordHash(hash)) return false;
  return platform::VerifyArgon2id(hash, password);
}

}  // namespace xo::store

using namespace xo::store;

CXoAuthAdminUser::~CXoAuthAdminUser() = default;

bool CXoAuthAdminUser::IsAllowed(int32_t right, int32_t arg, const CXoObjId& scope) const {
  IStoreBackend* backend = CurrentBackend();
  if (!backend || sessionId_.empty()) return false;
  AdminRights rights;
  if (Failed(backend->ReadRights(sessionId_, scope, rights))) return false;
  if (rights.flags & XO_ADMFLAG_SYSTEM)
    return right == XO_RIGHT_MANAGE || right == XO_RIGHT_COMMAND;
  switch (right) {
    case XO_RIGHT_MANAGE:
      return (rights.flags & XO_ADMFLAG_DOMAIN) && scope.GetOidClass() == XoObjId_Domain &&
             rights.listedInScope;
    case XO_RIGHT_COMMAND:
      return (rights.flags & XoAdmCommandFlag(arg)) != 0;
    default:
      return false;
  }
}

bool CXoAuthAdminUser::Covers(const CXoObjAdmin& other) const {
  IStoreBackend* backend = CurrentBackend();
  if (!backend || sessionId_.empty()) return false;
  AdminRights rights;
  if (Failed(backend->ReadRights(sessionId_, RootObjectId, rights))) return false;
  if (rights.flags & XO_ADMFLAG_SYSTEM) return true;
  if ((other.GetFlags() & ~rights.flags) != 0) return false;
  if ((other.GetFlags() & XO_ADMFLAG_DOMAIN) == 0) return true;
  for (const CXoObjId& domain : other.GetDomains()) {
    if (!IsAllowed(XO_RIGHT_MANAGE, 0, domain)) return false;
  }
  return true;
}

CXoAdmSession::CXoAdmSession(const std::string& user, const std::string& password,
                             const std::string& remoteHost, const std::string& remoteUser,
                             const std::string& remoteAddr, bool interactive)
    : user_(user),
      password_(password),
      remoteHost_(remoteHost),
      remoteUser_(remoteUser),
      remoteAddr_(remoteAddr),
      interactive_(interactive),
      directories_(std::make_unique<xo::directory::SessionDirectories>()) {}

CXoAdmSession::~CXoAdmSession() {
  if (loggedIn_) Logout();
  xo::platform::WipeMemory(password_.data(), password_.size());
}

XoAdmError CXoAdmSession::Login(std::string& message, bool) {
  IStoreBackend* backend = CurrentBackend();
  if (!backend) {
    message = "the policy store is not open";
    return kUnavailable;
  }
  if (loggedIn_) return 0;
  std::string cost;
  if (Failed(backend->ReadSetting("hash-cost", cost))) cost = "interactive";
  AdminCredentials admin;
  int32_t found = backend->LookupAdmin(user_, admin);
  if (Failed(found) && found != kNotFound) {
    message = std::string("the policy store could not be read: ") + Describe(found);
    return found;
  }
  bool known = !Failed(found);
  if (known && admin.directoryBound) {
    // The directory's connection stays with the session for its later calls.
    int32_t checked =
        xo::directory::AuthenticateByDirectory(*backend, admin, password_, *directories_, message);
    if (Failed(checked)) {
      directories_->Clear();
      return checked;
    }
  } else if (!VerifyPassword(known ? admin.passwordHash : DecoyHash(cost), password_) || !known) {
    message = "wrong administrator name or password";
    return kAuthFailed;
  }
  (void)interactive_;
  return Open(admin, message);
}

XoAdmError CXoAdmSession::Open(const AdminCredentials& admin, std::string& message) {
  std::string sessionId = xo::platform::RandomHex(16);
  int32_t begun = CurrentBackend()->BeginSession(admin, sessionId);
  if (Failed(begun)) {
    message = std::string("the session could not be opened: ") + Describe(begun);
    return begun;
  }
  sessionId_ = sessionId;
  adminOid_ = admin.oid;
  adminUser_.SetSessionID(sessionId_);
  loggedIn_ = true;
  return 0;
}

XoAdmError CXoAdmSession::Keep(std::string& token, std::string& message) {
  IStoreBackend* backend = CurrentBackend();
  if (!backend || !loggedIn_) {
    message = "there is no session to keep";
    return kNoSession;
  }
  std::string fresh = xo::platform::RandomHex(32);
  int32_t kept = backend->KeepSession(sessionId_, xo::platform::DigestHex(fresh));
  if (Failed(kept)) {
    message = kept == kNotSupported
                  ? "this store keeps no sessions (its idle time is 0)"
                  : std::string("the session could not be kept: ") + Describe(kept);
    return kept;
  }
  token = std::move(fresh);
  return 0;
}

XoAdmError CXoAdmSession::ResumeKept(const std::string& token, std::string& message) {
  IStoreBackend* backend = CurrentBackend();
  if (!backend) {
    message = "the policy store is not open";
    return kUnavailable;
  }
  if (loggedIn_) return 0;
  AdminCredentials admin;
  int32_t resumed = backend->ResumeSession(xo::platform::DigestHex(token), admin);
  switch (resumed) {
    case kOk:
      user_ = admin.name;
      return Open(admin, message);
    case kNoSession:
      message = "the store knows no such session (it was ended, or the token is not one it gave)";
      break;
    case kTimeout:
      message = "the session was not used for longer than the store's idle time";
      break;
    case kAuthFailed:
      message = "the administrator's password or rights changed, or it was deleted";
      break;
    default:
      message = std::string("the policy store could not be read: ") + Describe(resumed);
  }
  return resumed;
}

XoAdmError CXoAdmSession::DropKept(const std::string& token) {
  IStoreBackend* backend = CurrentBackend();
  if (!backend) return kUnavailable;
  return backend->DropKeptSession(xo::platform::DigestHex(token));
}

XoAdmError CXoAdmSession::Logout() {
  directories_->Clear();
  if (!loggedIn_) return 0;
  IStoreBackend* backend = CurrentBackend();
  if (!backend) return kUnavailable;
  int32_t ended = backend->EndSession(sessionId_);
  if (Failed(ended)) return ended;
  loggedIn_ = false;
  adminUser_.SetSessionID("");
  sessionId_.clear();
  return 0;
}
