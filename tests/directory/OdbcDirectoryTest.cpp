// CXoDsDir over ODBC: an SQLite users database through the SQLite ODBC
// driver, searched with the queries of a query scheme.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "XoDsDir.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

using D = CXoObjUserDirectory;
using Q = CXoObjODBCQuery;

class OdbcDirectoryTest : public ::testing::Test {
 protected:
  CXoDsDir Dir() const { return CXoDsDir(directory_, queries_); }

  OdbcUsers users_;
  CXoObjODBCQuery queries_ = users_.QueryScheme();
  CXoObjUserDirectory directory_ = users_.Directory(queries_.GetOid());
};

TEST_F(OdbcDirectoryTest, EnumeratesUsersAndGroupsWithTheirKinds) {
  CXoDsDir dir = Dir();
  std::vector<std::string> entries;
  std::vector<std::string> details;
  ASSERT_TRUE(dir.Enumerate(entries, details)) << dir.LastError();
  EXPECT_EQ(entries, (std::vector<std::string>{"users/alice", "users/bob", "users/carol",
                                               "groups/operators", "groups/staff"}));
  ASSERT_EQ(details.size(), 5u);
  EXPECT_EQ(details[0], "User: Alice Liddell");
  EXPECT_EQ(details[4], "User Group: Staff");

  directory_.Set(D::Int1, int32_t{2});
  entries.clear();
  details.clear();
  ASSERT_TRUE(Dir().Enumerate(entries, details));
  EXPECT_EQ(entries.size(), 2u);
}

TEST_F(OdbcDirectoryTest, LooksUpEntriesByKeyOrByUserName) {
  CXoDsDir dir = Dir();
  int32_t kind = -1;
  std::string path;
  std::string name;
  ASSERT_TRUE(dir.GetDirObjInfo("bob", kind, path, name)) << dir.LastError();
  EXPECT_EQ(kind, XoDs_User);
  EXPECT_EQ(path, "users/bob");
  EXPECT_EQ(name, "Bob Cratchit");
  ASSERT_TRUE(dir.GetDirObjInfo("groups/staff", kind, path, name));
  EXPECT_EQ(kind, XoDs_UserGroup);
  EXPECT_EQ(path, "groups/staff");

  path = "unchanged";
  EXPECT_FALSE(dir.GetDirObjInfo("nobody", kind, path, name));
  EXPECT_NE(dir.LastError().find("no entry"), std::string::npos) << dir.LastError();
  // Parameters are bound: a quote in a name is only a character.
  EXPECT_FALSE(dir.GetDirObjInfo("x' OR '1'='1", kind, path, name));
  EXPECT_FALSE(dir.Authenticate("alice", "x' OR '1'='1"));
  EXPECT_EQ(path, "unchanged");
}

TEST_F(OdbcDirectoryTest, AuthenticatesAndChangesPasswords) {
  CXoDsDir dir = Dir();
  EXPECT_TRUE(dir.Authenticate("alice", "alice-pw")) << dir.LastError();
  EXPECT_TRUE(dir.Authenticate("users/alice", "alice-pw"));
  EXPECT_FALSE(dir.Authenticate("alice", "bob-pw"));
  EXPECT_FALSE(dir.Authenticate("alice", ""));
  EXPECT_FALSE(dir.Authenticate("groups/staff", "alice-pw"));

  ASSERT_TRUE(dir.SetPassword("alice", "new alice")) << dir.LastError();
  EXPECT_TRUE(dir.Authenticate("alice", "new alice"));
  EXPECT_FALSE(dir.Authenticate("alice", "alice-pw"));
  EXPECT_EQ(users_.QueryText("SELECT password FROM users WHERE name = 'alice'"), "new alice");
  EXPECT_FALSE(dir.SetPassword("nobody", "x"));
}

TEST_F(OdbcDirectoryTest, WithoutTheAuthenticateQueryTheStoredPasswordIsCompared) {
  queries_.Set(Q::Query1 + 3, std::string(""));
  CXoDsDir dir = Dir();
  EXPECT_TRUE(dir.Authenticate("carol", "carol-pw")) << dir.LastError();
  EXPECT_FALSE(dir.Authenticate("carol", "carol-p"));
  EXPECT_FALSE(dir.Authenticate("carol", "carol-pw "));
}

TEST_F(OdbcDirectoryTest, DisabledStateRoundTrips) {
  CXoDsDir dir = Dir();
  int32_t reason = -1;
  ASSERT_TRUE(dir.GetDisabled("bob", reason)) << dir.LastError();
  EXPECT_EQ(reason, 0) << "NULL reads as not disabled";
  ASSERT_TRUE(dir.SetDisabled("bob", 4)) << dir.LastError();
  ASSERT_TRUE(dir.GetDisabled("bob", reason));
  EXPECT_EQ(reason, 4);
  EXPECT_EQ(users_.QueryText("SELECT disabled FROM users WHERE name = 'bob'"), "4");
  ASSERT_TRUE(dir.SetDisabled("bob", 0));
  ASSERT_TRUE(dir.GetDisabled("bob", reason));
  EXPECT_EQ(reason, 0);
  EXPECT_FALSE(dir.SetDisabled("groups/staff", 1));

  users_.Exec("UPDATE users SET disabled = 'soon' WHERE name = 'bob'");
  EXPECT_FALSE(dir.GetDisabled("bob", reason));
}

TEST_F(OdbcDirectoryTest, GroupsAndMembers) {
  CXoDsDir dir = Dir();
  std::vector<std::string> groups;
  ASSERT_TRUE(dir.GetGroups("bob", groups)) << dir.LastError();
  EXPECT_EQ(groups, std::vector<std::string>{"groups/staff"});
  std::vector<std::string> members;
  ASSERT_TRUE(dir.GetMembers("groups/staff", members));
  EXPECT_EQ(members, (std::vector<std::string>{"users/alice", "users/bob"}));
  EXPECT_FALSE(dir.GetMembers("bob", members));
}

TEST_F(OdbcDirectoryTest, MissingOrBrokenQueriesFailWithTheirNumber) {
  queries_.Set(Q::Query1 + 5, std::string(""));                            // set password
  queries_.Set(Q::Query1 + 6, std::string("SELECT disabled FROM users"));  // no marker
  queries_.Set(Q::Query1 + 0, std::string("SELECT nonsense FROM nowhere"));
  CXoDsDir dir = Dir();
  EXPECT_FALSE(dir.SetPassword("alice", "x"));
  EXPECT_NE(dir.LastError().find("query 6 (set password)"), std::string::npos) << dir.LastError();
  int32_t reason = 0;
  EXPECT_FALSE(dir.GetDisabled("alice", reason));
  EXPECT_NE(dir.LastError().find("parameter markers"), std::string::npos) << dir.LastError();
  std::vector<std::string> entries;
  std::vector<std::string> details;
  EXPECT_FALSE(dir.Enumerate(entries, details));
  EXPECT_NE(dir.LastError().find("query 1 (enumerate)"), std::string::npos) << dir.LastError();
}

TEST_F(OdbcDirectoryTest, OnlyOneRowHoldingOneLetsAUserIn) {
  // The authenticate query's answer for alice with her password.
  const struct {
    const char* answer;
    bool accepted;
  } kAnswers[] = {
      {"SELECT 1", true},      {"SELECT ' 1'", false},      {"SELECT 2", false},
      {"SELECT 'yes'", false}, {"SELECT 'true'", false},    {"SELECT NULL", false},
      {"SELECT '' ", false},   {"SELECT 1 WHERE 0", false}, {"SELECT 1 UNION ALL SELECT 1", false},
  };
  for (const auto& [answer, accepted] : kAnswers) {
    // Each still binds both parameters, as the driver expects.
    queries_.Set(Q::Query1 + 3,
                 std::string(answer) + (std::string(answer).find("WHERE") == std::string::npos
                                            ? " WHERE ? IS NOT NULL AND ? IS NOT NULL"
                                            : " AND ? AND ?"));
    EXPECT_EQ(Dir().Authenticate("alice", "alice-pw"), accepted) << answer;
  }
  // Without an authenticate query, one stored password and only one.
  queries_.Set(Q::Query1 + 3, std::string(""));
  queries_.Set(Q::Query1 + 4, std::string("SELECT password FROM users WHERE ? IS NOT NULL"));
  EXPECT_FALSE(Dir().Authenticate("alice", "alice-pw"));
}

TEST_F(OdbcDirectoryTest, ChangesThatMatchNoRowFail) {
  queries_.Set(Q::Query1 + 5, std::string("UPDATE users SET password = ? WHERE name = ? AND 0"));
  queries_.Set(Q::Query1 + 7, std::string("UPDATE users SET disabled = ? WHERE ? = 'nobody'"));
  CXoDsDir dir = Dir();
  EXPECT_FALSE(dir.SetPassword("alice", "x"));
  EXPECT_NE(dir.LastError().find("matched no row"), std::string::npos) << dir.LastError();
  EXPECT_FALSE(dir.SetDisabled("bob", 1));
  EXPECT_EQ(users_.QueryText("SELECT password FROM users WHERE name = 'alice'"), "alice-pw");
}

TEST_F(OdbcDirectoryTest, DriversAreNamedNeverLoadedFromAFile) {
  const std::string database = ";Database=" + users_.DatabasePath();
  const std::vector<std::string> kServers = {
      "Driver=/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so" + database,
      "driver = {/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so}" + database,
      "Database=x;DRIVER={C:\\drivers\\evil.dll}", "FILEDSN=/tmp/users.dsn",
      "DSN=users;SAVEFILE=/tmp/out.dsn"};
  for (const std::string& server : kServers) {
    directory_.Set(D::String1, server);
    CXoDsDir dir = Dir();
    std::vector<std::string> entries, details;
    EXPECT_FALSE(dir.Enumerate(entries, details)) << server;
    EXPECT_NE(dir.LastError().find("registered with the ODBC driver manager"), std::string::npos)
        << dir.LastError();
  }
  // A brace-quoted value is one value: a path inside another key's braces
  // names no driver.
  directory_.Set(D::String1, std::string("Driver=SQLite3;Database=") + users_.DatabasePath() +
                                 ";Description={;Driver=/x.so}");
  std::vector<std::string> entries, details;
  EXPECT_TRUE(Dir().Enumerate(entries, details)) << Dir().LastError();
}

TEST_F(OdbcDirectoryTest, UnreachableDatabasesAndMissingSchemesFail) {
  std::vector<std::string> entries;
  std::vector<std::string> details;
  directory_.Set(D::String1, std::string("Driver=NoSuchDriver;Database=x"));
  CXoDsDir noDriver = Dir();
  EXPECT_FALSE(noDriver.Enumerate(entries, details));
  EXPECT_NE(noDriver.LastError().find("connecting"), std::string::npos) << noDriver.LastError();

  directory_.Set(D::String1, std::string("Driver=") + OdbcUsers::kDriver +
                                 ";Database=/nonexistent/dir/users.db;PWD=hunter2");
  CXoDsDir noDatabase = Dir();
  EXPECT_FALSE(noDatabase.Enumerate(entries, details));
  // Messages name the server but never its password.
  EXPECT_EQ(noDatabase.GetDirSpec().find("hunter2"), std::string::npos) << noDatabase.GetDirSpec();
  EXPECT_NE(noDatabase.GetDirSpec().find("PWD=***"), std::string::npos) << noDatabase.GetDirSpec();
  EXPECT_EQ(noDatabase.LastError().find("hunter2"), std::string::npos) << noDatabase.LastError();

  // Without a query scheme given, none can be read from a store that is not open.
  CXoDsDir noScheme(directory_);
  EXPECT_FALSE(noScheme.Enumerate(entries, details));
  EXPECT_TRUE(entries.empty());
}

}  // namespace
}  // namespace xo::test
