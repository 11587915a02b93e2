// A user directory as the administration layer changes it: users' passwords
// and disabled state, and whether the session may act on it.
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoObjId.h"

// The disabled reason of the public interface (Xo_Api_DisabledReason_t).
using XoDisabledReason = int32_t;

class CXoAdmUserDirectory {
 public:
  explicit CXoAdmUserDirectory(const CXoObjId& directory);
  explicit CXoAdmUserDirectory(int32_t classId);
  virtual ~CXoAdmUserDirectory();

  virtual XoAdmError SetPassword(const std::string& user, const std::string& password,
                                 std::string& message, const CXoAdmSession& session);
  virtual XoAdmError SetDisabled(const std::string& user, XoDisabledReason reason,
                                 std::string& message, const CXoAdmSession& session);
  virtual XoAdmError GetDisabled(const std::string& user, XoDisabledReason& reason,
                                 std::string& message, const CXoAdmSession& session);
  // Whether the session's administrator may manage this directory's users.
  virtual XoAdmError IsAllowed(const CXoAdmSession& session, std::string& message);
  // Whether it may change this one user: besides IsAllowed, a user whose
  // entry is the login of an administrator holding rights that the session's
  // administrator lacks is refused (its password, its disabled state and the
  // servers' cache of it would hand those rights over).
  virtual XoAdmError IsAllowedOnUser(const CXoAdmSession& session, const std::string& user,
                                     std::string& message);
  // The path of the entry that a name (or path) finds in the directory.
  virtual XoAdmError SearchValue(const std::string& name, std::string& value,
                                 const CXoAdmSession& session);
  // Whether the stored directory's settings can work: 0, or kInvalidArgument.
  virtual XoAdmError ValidateProps(const CXoAdmSession& session);

 private:
  class Opened;
  // The rights check, the fetch of the directory, then `operation` on it.
  // With `user`, the rights on that user too (see IsAllowedOnUser).
  template <class Operation>
  XoAdmError Run(const CXoAdmSession& session, std::string& message, const std::string& what,
                 Operation&& operation, const std::string* user = nullptr);
  XoAdmError GuardAdminLogins(const CXoAdmSession& session, Opened& opened, const std::string& user,
                              std::string& message);

  CXoObjId directory_;
};
