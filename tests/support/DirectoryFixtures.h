// User directories for tests and benchmarks: a real slapd of the test's own
// and an SQLite users database reached through the SQLite ODBC driver. Both
// hold the same people (alice, bob, carol, with passwords alice-pw, bob-pw
// and carol-pw) and groups (staff, operators). Nothing here uses GoogleTest;
// failures to set up throw std::runtime_error.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "XoObjClasses.h"

namespace xo::test {

// slapd on 127.0.0.1 and a free port, run from tests/directory/ldap/run-slapd.sh
// as a child of this process in a scratch directory, loaded with the test
// directories (tests/directory/ldap/*.ldif): dc=example,dc=org holding
// ou=people (uid=alice, bob, carol) and ou=groups (cn=staff, a groupOfNames
// of alice and bob; cn=operators, a posixGroup of carol), and dc=other,dc=org
// with more users and groups than the server's size limit of four entries
// per search (paged searches are not limited). cn=admin,dc=example,dc=org is
// the rootdn of dc=example,dc=org only, so that the limit applies to it in
// dc=other,dc=org (and to anonymous readers everywhere). The server accepts
// a bind with a DN and no password as anonymous. The server stops, and its
// directory is removed, when the object goes (and slapd also ends if this
// process dies).
enum class LdapTls { Off, On };

class LdapServer {
 public:
  static constexpr const char* kSuffix = "dc=example,dc=org";
  static constexpr const char* kPeople = "ou=people,dc=example,dc=org";
  static constexpr const char* kAdminDn = "cn=admin,dc=example,dc=org";
  static constexpr const char* kAdminPassword = "secret";

  // `extraUsers` more users (uid=user000000 ... with password "pw") under
  // ou=people, for benchmarks. With LdapTls::On the server also offers
  // StartTLS and listens for ldaps://, with a certificate for 127.0.0.1 and
  // localhost from a CA of its own, and answers nothing else without TLS.
  explicit LdapServer(int extraUsers = 0, LdapTls tls = LdapTls::Off);
  ~LdapServer();
  LdapServer(const LdapServer&) = delete;
  LdapServer& operator=(const LdapServer&) = delete;

  const std::string& Uri() const { return uri_; }
  const std::string& LdapsUri() const { return ldapsUri_; }  // "" without TLS
  static std::string UserDn(const std::string& uid);
  // With TLS: the CA certificate that signed the server's, and another CA
  // certificate of the same name that signed nothing the server uses.
  std::string CaFile() const { return work_ + "/tls/ca.pem"; }
  std::string OtherCaFile() const { return work_ + "/tls/other-ca.pem"; }

  // Stops slapd where it is: connections are still accepted (by the
  // system), but nothing is read or answered.
  void Freeze();
  // Kills slapd at once.
  void Kill();
  // Kills slapd and starts it again on the same ports, with the data it
  // held.
  void Restart();

  // A user directory for this server, not saved: bound as the administrator,
  // searching the whole suffix, users looked up by uid, the disabled reason
  // in shadowFlag, passwords set through the Password Modify operation, a
  // 5-second timeout. Tests change single settings with Set().
  CXoObjUserDirectory Directory(const std::string& name = "test ldap") const {
    return DirectoryAt(uri_, name);
  }
  // The same settings for a server at another URI.
  static CXoObjUserDirectory DirectoryAt(const std::string& uri,
                                         const std::string& name = "test ldap");

 private:
  std::string scratch_;
  std::string work_;
  std::string uri_;
  std::string ldapsUri_;
  std::array<int, 2> ports_{};  // ldap://, ldaps:// (0 for none)
  int pid_ = -1;
};

// An SQLite database of users, groups and memberships in a scratch
// directory (made by tests/directory/odbc-users.sql), and the query scheme
// that reads it (tests/directory/odbc-queries.txt, a query a line). Entry keys
// are "users/NAME" and "groups/NAME"; the view `entries` lists both with their
// kinds. Passwords are kept as plain text, so that query 4 can compare them.
// A path of this program's file system as the ODBC driver reads it (under
// wine the driver is a Linux library).
std::string DriverPath(const std::string& path);

class OdbcUsers {
 public:
  static constexpr const char* kDriver = "SQLite3";  // as the driver manager knows it

  OdbcUsers();
  ~OdbcUsers();
  OdbcUsers(const OdbcUsers&) = delete;
  OdbcUsers& operator=(const OdbcUsers&) = delete;

  const std::string& DatabasePath() const { return database_; }
  // DSN-less: "Driver=<kDriver>;Database=<DatabasePath()>".
  std::string ConnectionString() const {
    return std::string("Driver=") + kDriver + ";Database=" + DriverPath(database_);
  }
  // The fifteen query texts, by position (index 0 is query 1; the last four
  // are empty).
  static std::array<std::string, 15> Queries();
  CXoObjODBCQuery QueryScheme(const std::string& name = "test queries") const;
  // A user directory for this database, not saved, naming `scheme`.
  CXoObjUserDirectory Directory(const CXoObjId& scheme,
                                const std::string& name = "test odbc") const;

  // Runs SQL on the database directly, beside the driver.
  void Exec(const std::string& sql) const;
  // The first column of the first row ("" for none, or for NULL).
  std::string QueryText(const std::string& sql) const;

 private:
  std::string scratch_;
  std::string database_;
};

// A port on 127.0.0.1 that nothing listens on.
int ClosedPort();

// Whether the tests can use the servers above. The Windows programs run
// under wine: they reach the build machine's ODBC driver through wine's
// driver manager, but cannot start slapd.
bool LdapFixtureAvailable();

}  // namespace xo::test
