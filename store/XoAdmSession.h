// Administration sessions and the rights of their administrators.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "XoObjId.h"

class CXoObjAdmin;
namespace xo::store {
struct AdminCredentials;
}

namespace xo::directory {
class SessionDirectories;
}

using XoAdmError = int32_t;  // 0 for success

constexpr int32_t XO_RIGHT_MANAGE = 2;
constexpr int32_t XO_RIGHT_COMMAND = 8;

// Administrator flags: the rights bits.
constexpr int32_t XO_ADMFLAG_SYSTEM = 0x1;
constexpr int32_t XO_ADMFLAG_DOMAIN = 0x2;
constexpr int32_t XoAdmCommandFlag(int32_t command) {
  return (command >= 0 && command < 15) ? (1 << (16 + command)) : 0;
}

// The rights of a session's administrator; asks the store at every call, so a
// right taken away is gone at once.
class CXoAuthAdminUser {
 public:
  CXoAuthAdminUser() = default;
  explicit CXoAuthAdminUser(std::string sessionId) : sessionId_(std::move(sessionId)) {}
  virtual ~CXoAuthAdminUser();
  void SetSessionID(const std::string& sessionId) { sessionId_ = sessionId; }
  // MANAGE (2) on a scope, or COMMAND (8) for command value `arg`.
  bool IsAllowed(int32_t right, int32_t arg, const CXoObjId& scope) const;
  // Whether this administrator holds every right that `other` (a stored
  // administrator, fetched whole) holds: each of its flags, and MANAGE on
  // each domain it manages. A system administrator covers everyone. What
  // may be done to another administrator's login (its password, whether it
  // is disabled) is decided here.
  bool Covers(const CXoObjAdmin& other) const;

 private:
  std::string sessionId_;
};

// The administration root: the starting point of the protocol's object tree.
class CXoAdmRoot {
 public:
  const CXoObjId& GetOid() const { return RootObjectId; }
};

class CXoAdmSession {
 public:
  CXoAdmSession(const std::string& user, const std::string& password, const std::string& remoteHost,
                const std::string& remoteUser, const std::string& remoteAddr, bool interactive);
  CXoAdmSession(const CXoAdmSession&) = delete;
  CXoAdmSession& operator=(const CXoAdmSession&) = delete;
  virtual ~CXoAdmSession();

  // Authenticates the administrator and opens a session in the store. On
  // failure `message` says why in words.
  XoAdmError Login(std::string& message, bool flag);
  // Ends the session in the store. A session that never logged in has nothing
  // to end and succeeds.
  XoAdmError Logout();
  bool IsLoggedIn() const { return loggedIn_; }

  // Keeps this logged-in session for the processes that follow: `token` gets
  // a new random token (256 bits, as hex) that only its holder knows and the
  // store keeps a digest of. It lasts until it goes unused for the store's
  // idle time, its administrator changes or DropKept ends it.
  XoAdmError Keep(std::string& token, std::string& message);
  // Logs in as the administrator of the kept session that `token` names,
  // without a password. On failure `message` says why in words.
  XoAdmError ResumeKept(const std::string& token, std::string& message);
  // Ends the kept session that `token` names; the store must be open.
  static XoAdmError DropKept(const std::string& token);

  const std::string& GetUser() const { return user_; }
  const std::string& GetPassword() const { return password_; }
  const std::string& GetRemoteHost() const { return remoteHost_; }
  const std::string& GetRemoteUser() const { return remoteUser_; }
  const std::string& GetRemoteAddr() const { return remoteAddr_; }
  long GetID() const { return id_; }
  void SetID(long id) { id_ = id; }
  const std::string& GetSessionID() const { return sessionId_; }
  const CXoObjId& GetAdminOid() const { return adminOid_; }
  const CXoAuthAdminUser& GetAdminUser() const { return adminUser_; }
  const CXoAdmRoot& GetRoot() const { return root_; }
  const std::vector<CXoObjId>& GetDomains() const { return domains_; }
  // The connections to user directories that the session keeps between its
  // calls; closed when it logs out or ends. A session's calls come one at a
  // time, so they never share one of them with another thread.
  xo::directory::SessionDirectories& Directories() const { return *directories_; }

 private:
  // Opens the store's session for an administrator who has proved who they are.
  XoAdmError Open(const xo::store::AdminCredentials& admin, std::string& message);

  std::string user_;
  std::string password_;
  std::string remoteHost_;
  std::string remoteUser_;
  std::string remoteAddr_;
  bool interactive_;
  long id_ = 0;
  bool loggedIn_ = false;
  std::string sessionId_;
  CXoObjId adminOid_;
  CXoAuthAdminUser adminUser_;
  CXoAdmRoot root_;
  std::vector<CXoObjId> domains_;
  std::unique_ptr<xo::directory::SessionDirectories> directories_;
};

namespace xo::store {
// Argon2id hashing in the standard "$argon2id$..." form.
std::string HashPassword(const std::string& password, const std::string& cost);
bool IsPasswordHash(const std::string& text);
// Constant-time check of a password against a stored hash.
bool VerifyPassword(const std::string& hash, const std::string& password);
}  // namespace xo::store
