// CXoDsDir against a real slapd: listing, look-ups, passwords, disabled
// state, groups, and servers that refuse, are missing or hang.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "XoDsDir.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

using D = CXoObjUserDirectory;
using Clock = std::chrono::steady_clock;

class LdapDirectoryTest : public ::testing::Test {
 protected:
  LdapServer server_;
  CXoObjUserDirectory directory_ = server_.Directory();
};

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

TEST_F(LdapDirectoryTest, EnumeratesUsersGroupsAndUnitsUnderTheRoot) {
  CXoDsDir dir(directory_);
  std::vector<std::string> entries;
  std::vector<std::string> details;
  ASSERT_TRUE(dir.Enumerate(entries, details)) << dir.LastError();
  ASSERT_EQ(entries.size(), details.size());
  std::vector<std::string> expected = {"ou=people,dc=example,dc=org",
                                       "ou=groups,dc=example,dc=org",
                                       LdapServer::UserDn("alice"),
                                       LdapServer::UserDn("bob"),
                                       LdapServer::UserDn("carol"),
                                       "cn=staff,ou=groups,dc=example,dc=org",
                                       "cn=operators,ou=groups,dc=example,dc=org"};
  EXPECT_EQ(entries, expected);
  EXPECT_EQ(details[0], "Organization: people");
  EXPECT_EQ(details[2], "User: Alice Liddell");
  EXPECT_EQ(details[3], "User: Bob Cratchit");  // no displayName: the cn
  EXPECT_EQ(details[5], "User Group: staff");
  EXPECT_EQ(details[6], "User Group: operators");
}

TEST_F(LdapDirectoryTest, ScopeAndMaximumResultsBoundTheListing) {
  directory_.Set(D::Int3, int32_t{1});  // one level below the suffix: the two units
  std::vector<std::string> entries;
  std::vector<std::string> details;
  ASSERT_TRUE(CXoDsDir(directory_).Enumerate(entries, details));
  EXPECT_EQ(entries.size(), 2u);

  directory_.Set(D::Int3, int32_t{2});
  directory_.Set(D::Int1, int32_t{3});
  entries.clear();
  details.clear();
  ASSERT_TRUE(CXoDsDir(directory_).Enumerate(entries, details));
  EXPECT_EQ(entries.size(), 3u);
}

TEST_F(LdapDirectoryTest, LooksUpEntriesByPathOrByUserName) {
  CXoDsDir dir(directory_);
  int32_t kind = -1;
  std::string path;
  std::string name;
  ASSERT_TRUE(dir.GetDirObjInfo("alice", kind, path, name)) << dir.LastError();
  EXPECT_EQ(kind, XoDs_User);
  EXPECT_EQ(path, LdapServer::UserDn("alice"));
  EXPECT_EQ(name, "Alice Liddell");

  ASSERT_TRUE(dir.GetDirObjInfo("cn=staff,ou=groups,dc=example,dc=org", kind, path, name));
  EXPECT_EQ(kind, XoDs_UserGroup);
  EXPECT_EQ(name, "staff");
  ASSERT_TRUE(dir.GetDirObjInfo("ou=people,dc=example,dc=org", kind, path, name));
  EXPECT_EQ(kind, XoDs_Organization);
}

TEST_F(LdapDirectoryTest, UnknownEntriesAndFilterTextInNamesAreNotFound) {
  CXoDsDir dir(directory_);
  int32_t kind = -1;
  std::string path = "unchanged";
  std::string name;
  EXPECT_FALSE(dir.GetDirObjInfo("nobody", kind, path, name));
  EXPECT_NE(dir.LastError().find("no entry"), std::string::npos) << dir.LastError();
  EXPECT_FALSE(dir.GetDirObjInfo("uid=nobody,ou=people,dc=example,dc=org", kind, path, name));
  EXPECT_FALSE(dir.GetDirObjInfo("", kind, path, name));
  // Unescaped, these would match every user, or alice whatever her password.
  EXPECT_FALSE(dir.GetDirObjInfo("*", kind, path, name));
  EXPECT_FALSE(dir.GetDirObjInfo("a*", kind, path, name));
  EXPECT_FALSE(dir.Authenticate("alice)(uid=*", "alice-pw"));
  EXPECT_EQ(path, "unchanged");
}

TEST_F(LdapDirectoryTest, AuthenticatesWithTheRightPasswordOnly) {
  CXoDsDir dir(directory_);
  EXPECT_TRUE(dir.Authenticate("alice", "alice-pw")) << dir.LastError();
  EXPECT_TRUE(dir.Authenticate(LdapServer::UserDn("bob"), "bob-pw")) << dir.LastError();
  EXPECT_FALSE(dir.Authenticate("alice", "bob-pw"));
  EXPECT_NE(dir.LastError().find("Invalid credentials"), std::string::npos) << dir.LastError();
  // An empty password would be an unauthenticated bind, which slapd accepts.
  EXPECT_FALSE(dir.Authenticate("alice", ""));
  EXPECT_FALSE(dir.Authenticate("nobody", "alice-pw"));
  EXPECT_FALSE(dir.Authenticate("cn=staff,ou=groups,dc=example,dc=org", "x"));
}

TEST_F(LdapDirectoryTest, ChangedPasswordsReplaceTheOldOnes) {
  CXoDsDir dir(directory_);
  ASSERT_TRUE(dir.SetPassword("alice", "new alice")) << dir.LastError();
  EXPECT_TRUE(dir.Authenticate("alice", "new alice"));
  EXPECT_FALSE(dir.Authenticate("alice", "alice-pw"));

  // With a password attribute named, the attribute is written directly.
  directory_.Set(D::String8, std::string("userPassword"));
  CXoDsDir byAttribute(directory_);
  ASSERT_TRUE(byAttribute.SetPassword("bob", "new bob")) << byAttribute.LastError();
  EXPECT_TRUE(byAttribute.Authenticate("bob", "new bob"));
  EXPECT_FALSE(byAttribute.SetPassword("nobody", "x"));
}

TEST_F(LdapDirectoryTest, DisabledStateRoundTrips) {
  CXoDsDir dir(directory_);
  int32_t reason = -1;
  ASSERT_TRUE(dir.GetDisabled("carol", reason)) << dir.LastError();
  EXPECT_EQ(reason, 0);
  ASSERT_TRUE(dir.SetDisabled("carol", 3)) << dir.LastError();
  ASSERT_TRUE(dir.GetDisabled("carol", reason));
  EXPECT_EQ(reason, 3);
  ASSERT_TRUE(dir.SetDisabled("carol", 0));
  ASSERT_TRUE(dir.GetDisabled("carol", reason));
  EXPECT_EQ(reason, 0);
  ASSERT_TRUE(dir.SetDisabled("carol", 0)) << "clearing twice is no error";
  EXPECT_FALSE(dir.SetDisabled("nobody", 1));

  // A value that is not a number is an error, not "not disabled".
  directory_.Set(D::String7, std::string("sn"));
  CXoDsDir bySurname(directory_);
  EXPECT_FALSE(bySurname.GetDisabled("carol", reason));
  directory_.Set(D::String7, std::string(""));
  CXoDsDir withoutAttribute(directory_);
  EXPECT_FALSE(withoutAttribute.GetDisabled("carol", reason));
  EXPECT_FALSE(withoutAttribute.SetDisabled("carol", 1));
}

TEST_F(LdapDirectoryTest, GroupsAndMembersOfBothStyles) {
  CXoDsDir dir(directory_);
  std::vector<std::string> groups;
  ASSERT_TRUE(dir.GetGroups("alice", groups)) << dir.LastError();
  EXPECT_EQ(groups, std::vector<std::string>{"cn=staff,ou=groups,dc=example,dc=org"});
  groups.clear();
  ASSERT_TRUE(dir.GetGroups("carol", groups));
  EXPECT_EQ(groups, std::vector<std::string>{"cn=operators,ou=groups,dc=example,dc=org"});

  std::vector<std::string> members;
  ASSERT_TRUE(dir.GetMembers("cn=staff,ou=groups,dc=example,dc=org", members));
  EXPECT_EQ(members,
            (std::vector<std::string>{LdapServer::UserDn("alice"), LdapServer::UserDn("bob")}));
  members.clear();
  ASSERT_TRUE(dir.GetMembers("cn=operators,ou=groups,dc=example,dc=org", members));
  EXPECT_EQ(members, std::vector<std::string>{LdapServer::UserDn("carol")});
  EXPECT_FALSE(dir.GetMembers("alice", members)) << "a user is not a group";
}

TEST_F(LdapDirectoryTest, BadCredentialsAndSettingsFailEveryOperation) {
  std::vector<std::string> entries;
  std::vector<std::string> details;

  directory_.Set(D::String6, std::string("wrong"));
  CXoDsDir wrongBind(directory_);
  EXPECT_FALSE(wrongBind.Enumerate(entries, details));
  EXPECT_NE(wrongBind.LastError().find("binding as the directory's account"), std::string::npos);

  directory_.Set(D::String5, std::string(""));
  directory_.Set(D::Flag1, true);
  CXoDsDir missingCredentials(directory_);
  EXPECT_FALSE(missingCredentials.Enumerate(entries, details));
  EXPECT_NE(missingCredentials.LastError().find("requires credentials"), std::string::npos);

  directory_ = server_.Directory();
  directory_.Set(D::Flag2, true);  // the test server offers no TLS
  CXoDsDir secure(directory_);
  EXPECT_FALSE(secure.Enumerate(entries, details));

  directory_ = server_.Directory();
  directory_.Set(D::DirectoryType, std::string("ldap:"));
  CXoDsDir unknownType(directory_);
  EXPECT_FALSE(unknownType.Enumerate(entries, details));
  EXPECT_FALSE(unknownType.Authenticate("alice", "alice-pw"));
  EXPECT_TRUE(entries.empty());
  EXPECT_TRUE(details.empty());
}

TEST_F(LdapDirectoryTest, AnonymousReadsWorkButPasswordsStayHidden) {
  directory_.Set(D::String5, std::string(""));
  directory_.Set(D::String6, std::string(""));
  CXoDsDir dir(directory_);
  std::vector<std::string> entries;
  std::vector<std::string> details;
  ASSERT_TRUE(dir.Enumerate(entries, details)) << dir.LastError();
  EXPECT_EQ(entries.size(), 7u);
  EXPECT_TRUE(dir.Authenticate("alice", "alice-pw"));
  EXPECT_FALSE(dir.SetPassword("alice", "x")) << "anonymous may not write";
}

TEST(LdapUnreachableTest, ClosedPortFailsAtOnce) {
  CXoObjUserDirectory directory =
      LdapServer::DirectoryAt("ldap://127.0.0.1:" + std::to_string(ClosedPort()) + "/");
  directory.Set(D::Int2, int32_t{10});
  CXoDsDir dir(directory);
  std::vector<std::string> entries;
  std::vector<std::string> details;
  const Clock::time_point start = Clock::now();
  EXPECT_FALSE(dir.Enumerate(entries, details));
  EXPECT_FALSE(dir.Authenticate("alice", "alice-pw"));
  EXPECT_LT(SecondsSince(start), 2.0);
  EXPECT_NE(dir.LastError().find("contact LDAP server"), std::string::npos) << dir.LastError();
}

TEST(LdapUnreachableTest, HangingServerIsGivenUpAfterTheSearchTimeout) {
  SilentServer silent;
  CXoObjUserDirectory directory =
      LdapServer::DirectoryAt("ldap://127.0.0.1:" + std::to_string(silent.Port()) + "/");
  directory.Set(D::Int2, int32_t{1});
  CXoDsDir dir(directory);
  std::vector<std::string> entries;
  std::vector<std::string> details;
  Clock::time_point start = Clock::now();
  EXPECT_FALSE(dir.Enumerate(entries, details));
  EXPECT_GE(SecondsSince(start), 0.9);
  EXPECT_LT(SecondsSince(start), 4.0);

  // Without a bind account the first round trip is the search itself.
  directory.Set(D::String5, std::string(""));
  CXoDsDir anonymous(directory);
  start = Clock::now();
  EXPECT_FALSE(anonymous.Authenticate("alice", "alice-pw"));
  EXPECT_LT(SecondsSince(start), 4.0);
}

}  // namespace
}  // namespace xo::test
