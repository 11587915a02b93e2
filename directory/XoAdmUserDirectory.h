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
  virtual XoAdmError SearchValue(const std::string& name, std::string& value,
                                 const CXoAdmSession& session);
  virtual XoAdmError ValidateProps(const CXoAdmSession& session);

 private:
  CXoObjId directory_;
};
