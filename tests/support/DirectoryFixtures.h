// User directories for tests and benchmarks: a real slapd of the test's own
// and an SQLite users database reached through the SQLite ODBC driver. Both
// hold the same people (alice, bob, carol) and groups (staff, operators).
// Nothing here uses GoogleTest; failures to set up throw std::runtime_error.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "XoObjClasses.h"

namespace xo::test {

struct DirectoryUser {
  const char* name;
  const char* displayName;
  const char* password;
};

// The users both directories hold (see tests/directory/ldap/directory.ldif).
extern const std::array<DirectoryUser, 3> kDirectoryUsers;

// slapd on 127.0.0.1 and a free port, run from tests/directory/ldap/run-slapd.sh
// as a child of this process in a scratch directory, loaded with the test
// directory: dc=example,dc=org holding ou=people (uid=alice, bob, carol) and
// ou=groups (cn=staff, a groupOfNames of alice and bob; cn=operators, a
// posixGroup of carol). The server stops, and its directory is removed, when
// the object goes (and slapd also ends if this process dies).
class LdapServer {
 public:
  static constexpr const char* kSuffix = "dc=example,dc=org";
  static constexpr const char* kPeople = "ou=people,dc=example,dc=org";
  static constexpr const char* kAdminDn = "cn=admin,dc=example,dc=org";
  static constexpr const char* kAdminPassword = "secret";

  // `extraUsers` more users (uid=user000000 ... with password "pw") under
  // ou=people, for benchmarks.
  explicit LdapServer(int extraUsers = 0);
  ~LdapServer();
  LdapServer(const LdapServer&) = delete;
  LdapServer& operator=(const LdapServer&) = delete;

  const std::string& Uri() const { return uri_; }
  int Port() const { return port_; }
  static std::string UserDn(const std::string& uid);

  // A user directory for this server, not saved: bound as the administrator,
  // searching the whole suffix, users looked up by uid, the disabled reason
  // in shadowFlag, passwords set through the Password Modify operation, a
  // 5-second timeout. Tests change single settings with Set().
  CXoObjUserDirectory Directory(const std::string& name = "test ldap") const;
  // The same settings for a server at another URI.
  static CXoObjUserDirectory DirectoryAt(const std::string& uri,
                                         const std::string& name = "test ldap");

 private:
  void Start(const std::vector<std::string>& extraLdif);
  void Stop();

  std::string scratch_;
  std::string uri_;
  int port_ = 0;
  int pid_ = -1;
};

// An SQLite database of users, groups and memberships in a scratch
// directory, and the query scheme that reads it. Entry keys are
// "users/NAME" and "groups/NAME"; the view `entries` lists both with their
// kinds. Passwords are kept as plain text, so that query 4 can compare them.
class OdbcUsers {
 public:
  static constexpr const char* kDriver = "SQLite3";  // as the driver manager knows it

  OdbcUsers();
  ~OdbcUsers();
  OdbcUsers(const OdbcUsers&) = delete;
  OdbcUsers& operator=(const OdbcUsers&) = delete;

  const std::string& DatabasePath() const { return database_; }
  // DSN-less: "Driver=<kDriver>;Database=<DatabasePath()>".
  std::string ConnectionString() const;
  // The fifteen query texts, by position (index 0 is query 1).
  static std::array<std::string, 15> Queries();
  CXoObjODBCQuery QueryScheme(const std::string& name = "test queries") const;
  // A user directory for this database, not saved, naming `scheme`.
  CXoObjUserDirectory Directory(const CXoObjId& scheme,
                                const std::string& name = "test odbc") const;

  // Runs SQL on the database directly, beside the driver.
  void Exec(const std::string& sql) const;
  std::string QueryText(const std::string& sql) const;  // the first column of the first row

 private:
  std::string scratch_;
  std::string database_;
};

// A listening socket on 127.0.0.1 that accepts connections and never
// answers: a server that hangs.
class SilentServer {
 public:
  SilentServer();
  ~SilentServer();
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;
  int Port() const { return port_; }

 private:
  int socket_ = -1;
  int port_ = 0;
};

// A port on 127.0.0.1 that nothing listens on.
int ClosedPort();

}  // namespace xo::test
