#include "support/DirectoryFixtures.h"

#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/Environment.h"

namespace xo::test {
namespace {

std::string DataFile(const std::string& name) { return TestDataPath("directory/" + name); }

// Runs SQL on a database; `first`, when given, receives the first column of
// the first row (and the rest is not read).
int RunSql(const std::string& path, const std::string& sql, std::string* first,
           std::string& error) {
  sqlite3* db = nullptr;
  int result = sqlite3_open(path.c_str(), &db);
  const auto keepFirst = [](void* out, int, char** values, char**) {
    if (out != nullptr && values[0] != nullptr) *static_cast<std::string*>(out) = values[0];
    return out != nullptr ? 1 : 0;
  };
  if (result == SQLITE_OK) result = sqlite3_exec(db, sql.c_str(), keepFirst, first, nullptr);
  error = sqlite3_errmsg(db);
  sqlite3_close(db);
  return result;
}

}  // namespace

std::string LdapServer::UserDn(const std::string& uid) { return "uid=" + uid + "," + kPeople; }

CXoObjUserDirectory LdapServer::DirectoryAt(const std::string& uri, const std::string& name) {
  return CXoObjUserDirectory(name, "", "LDAP:", uri, kSuffix, "(uid=", ")", kAdminDn,
                             kAdminPassword, 0, 5, 2, false, false, "shadowFlag", "", NullObjectId,
                             "", "", "", "", "");
}

OdbcUsers::OdbcUsers() : scratch_(MakeScratchDirectory()), database_(scratch_ + "/users.db") {
  std::stringstream sql;
  sql << std::ifstream(DataFile("odbc-users.sql")).rdbuf();
  try {
    Exec(sql.str());
  } catch (...) {
    RemoveDirectory(scratch_);
    throw;
  }
}

OdbcUsers::~OdbcUsers() { RemoveDirectory(scratch_); }

std::array<std::string, 15> OdbcUsers::Queries() {
  std::array<std::string, 15> queries;
  std::ifstream in(DataFile("odbc-queries.txt"));
  for (std::string& query : queries) std::getline(in, query);
  return queries;
}

CXoObjODBCQuery OdbcUsers::QueryScheme(const std::string& name) const {
  const std::array<std::string, 15> q = Queries();
  return CXoObjODBCQuery(name, "", q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7], q[8], q[9],
                         q[10], q[11], q[12], q[13], q[14]);
}

CXoObjUserDirectory OdbcUsers::Directory(const CXoObjId& scheme, const std::string& name) const {
  return CXoObjUserDirectory(name, "", "ODBC:", ConnectionString(), "", "", "", "", "", 0, 5, 2,
                             false, false, "", "", scheme, "", "", "", "", "");
}

void OdbcUsers::Exec(const std::string& sql) const {
  std::string error;
  if (RunSql(database_, sql, nullptr, error) != SQLITE_OK) {
    throw std::runtime_error("SQL failed on " + database_ + ": " + error);
  }
}

std::string OdbcUsers::QueryText(const std::string& sql) const {
  std::string text;
  std::string error;
  RunSql(database_, sql, &text, error);
  return text;
}

}  // namespace xo::test
