// Directory services: reading a user directory (LDAP or ODBC) named by a
// stored CXoObjUserDirectory. One provider serves each directory type.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "XoObjClasses.h"

// Kinds of directory entries, by index: 0 "Unknown", 1 "User", 2 "User Group",
// 3 "User Property", 4 "User Role", 5 "Organization", 6 "Query", 7 "All".
enum XoDsObjectClass : int32_t {
  XoDs_Unknown = 0,
  XoDs_User = 1,
  XoDs_UserGroup = 2,
  XoDs_UserProperty = 3,
  XoDs_UserRole = 4,
  XoDs_Organization = 5,
  XoDs_Query = 6,
  XoDs_All = 7
};
extern const char* const XoDsObjectClassNames[8];

class CXoAdmSession;

namespace xo::directory {
class Provider;
class SessionDirectories;
}  // namespace xo::directory

class CXoDsDir {
 public:
  // The directory as it was fetched from the store. An ODBC directory's query
  // scheme is read on the store's own connection.
  explicit CXoDsDir(const CXoObjUserDirectory& directory);
  // An ODBC directory with its query scheme already fetched.
  CXoDsDir(const CXoObjUserDirectory& directory, const CXoObjODBCQuery& queries);
  // The directory on the connection that `kept` holds for it (opened on
  // first use and kept there for the next CXoDsDir), with its query scheme
  // when it is an ODBC directory.
  CXoDsDir(const CXoObjUserDirectory& directory, const CXoObjODBCQuery* queries,
           xo::directory::SessionDirectories& kept);
  // The same for a session: the query scheme is read on the session, and
  // the connection is the session's.
  CXoDsDir(const CXoObjUserDirectory& directory, const CXoAdmSession& session);
  virtual ~CXoDsDir();
  CXoDsDir(const CXoDsDir&) = delete;
  CXoDsDir& operator=(const CXoDsDir&) = delete;

  // Every entry under the search root: its path (an LDAP DN, or the ODBC
  // scheme's entry key) and, at the same index, its detail (the entry's kind
  // name and display name: "User: Alice Liddell"). False when the directory
  // cannot be read; the lists are then left as they were.
  bool Enumerate(std::vector<std::string>& entries, std::vector<std::string>& details);
  // The same, and `cut` tells whether the listing stops short of every entry
  // under the search root: the directory's maximum number of results
  // (integer setting 1) ended it, or the server would not hand out more. The
  // entries listed are then the first ones in the directory's order (when
  // they are as many as the maximum, the maximum ended the listing). An ODBC
  // directory's provider does not tell yet: it always reports false.
  bool Enumerate(std::vector<std::string>& entries, std::vector<std::string>& details, bool& cut);
  // One entry: its kind (XoDsObjectClass) and two texts (its path and its
  // display name). False when it is not there or cannot be read.
  bool GetDirObjInfo(const std::string& entry, int32_t& kind, std::string& path,
                     std::string& displayName);
  // Checks a user's password against the directory. An empty password is
  // always refused.
  bool Authenticate(const std::string& user, const std::string& password);
  // A user's password and disabled state (the reason as an integer, 0 when
  // the user is not disabled; setting 0 clears it). The user is named by
  // path or by name, as for GetDirObjInfo.
  bool SetPassword(const std::string& user, const std::string& password);
  bool GetDisabled(const std::string& user, int32_t& reason);
  bool SetDisabled(const std::string& user, int32_t reason);
  // Paths of the groups that list a user, and of the members of a group.
  bool GetGroups(const std::string& user, std::vector<std::string>& groups);
  bool GetMembers(const std::string& group, std::vector<std::string>& members);
  // "TYPE server root", for messages.
  std::string GetDirSpec() const;
  // Why the last call failed, in words.
  const std::string& LastError() const { return lastError_; }

 private:
  // Runs a provider operation, keeping its error; false without a provider.
  template <class Operation>
  bool Use(Operation&& operation);

  CXoObjUserDirectory directory_;
  // Shared with the session that keeps it, if any.
  std::shared_ptr<xo::directory::Provider> provider_;
  std::string lastError_;
};
