// CXoDsDir against a real slapd: listing past the server's size limit,
// look-ups, names that hold filter syntax, the search root, passwords,
// disabled state, groups, and servers that refuse, are missing or hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>
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

// The display name of the entry that a name or path finds, or "-".
std::string Finds(CXoDsDir& dir, const std::string& entry) {
  int32_t kind = -1;
  std::string path;
  std::string name;
  return dir.GetDirObjInfo(entry, kind, path, name) ? name : "-";
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

TEST_F(LdapDirectoryTest, ScopeBoundsTheListing) {
  directory_.Set(D::Int3, int32_t{1});  // one level below the suffix: the two units
  std::vector<std::string> entries;
  std::vector<std::string> details;
  ASSERT_TRUE(CXoDsDir(directory_).Enumerate(entries, details));
  EXPECT_EQ(entries.size(), 2u);
}

// dc=other,dc=org lists 24 entries, user1 is in 7 groups, and two groups
// have 6 members each; the server hands out 4 entries per plain search.
TEST_F(LdapDirectoryTest, ListingsPassTheServerLimitAndStopAtTheMaximum) {
  directory_.Set(D::String2, std::string(LdapServer::kOtherSuffix));
  const std::string user1 = "uid=user1,ou=people,dc=other,dc=org";
  std::vector<std::string> all;
  for (int32_t maximum : {0, 1, 4, 5, 6, 23, 24, 25}) {
    SCOPED_TRACE("maximum " + std::to_string(maximum));
    directory_.Set(D::Int1, maximum);
    CXoDsDir dir(directory_);
    std::vector<std::string> entries;
    std::vector<std::string> details;
    bool cut = true;
    ASSERT_TRUE(dir.Enumerate(entries, details, cut)) << dir.LastError();
    if (maximum == 0) {
      all = entries;
      ASSERT_EQ(all.size(), 24u);
      EXPECT_EQ(all.front(), "ou=people,dc=other,dc=org");
    }
    const auto upTo = [&](size_t count) {
      return maximum ? std::min<size_t>(maximum, count) : count;
    };
    const size_t listed = upTo(all.size());
    EXPECT_EQ(entries, std::vector<std::string>(all.begin(), all.begin() + listed));
    EXPECT_EQ(details.size(), listed);
    EXPECT_EQ(cut, listed < all.size());

    std::vector<std::string> groups;
    ASSERT_TRUE(dir.GetGroups(user1, groups)) << dir.LastError();
    EXPECT_EQ(groups.size(), upTo(7));
    for (const char* group :
         {"cn=everyone,ou=groups,dc=other,dc=org", "cn=posix,ou=groups,dc=other,dc=org"}) {
      std::vector<std::string> members;
      ASSERT_TRUE(dir.GetMembers(group, members)) << dir.LastError();
      EXPECT_EQ(members.size(), upTo(6)) << group;
    }
  }
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

// Each user of ou=people,dc=other,dc=org has a cn that says which it is.
TEST_F(LdapDirectoryTest, NamesHoldingFilterSyntaxFindOnlyThemselves) {
  directory_.Set(D::String2, std::string(LdapServer::kOtherSuffix));
  CXoDsDir dir(directory_);
  const std::string nul("a\0b", 3);
  const std::string user1 = "uid=user1,ou=people,dc=other,dc=org";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"a", "plain a"},
      {"ab", "plain ab"},
      {"a*", "a star"},
      {"*", "star"},
      {"a(b)", "parentheses"},
      {"a\\b", "backslash"},
      {nul, "nul"},
      {"uid=a\\2A,ou=people,dc=other,dc=org", "a star"},
      {"uid=a\\00b,ou=people,dc=other,dc=org", "nul"},
      // Read as filter text, each of these would find other users.
      {"user*", "-"},
      {"a\\2a", "-"},
      {"a)(uid=*", "-"},
      {"*)(|(uid=*", "-"},
      {std::string("a\0", 2), "-"},
      {std::string(1, '\0'), "-"},
      // A name that holds a NUL is all of it, not the DN before the NUL.
      {user1 + std::string(1, '\0') + "x", "-"},
  };
  for (const auto& [name, finds] : cases) {
    EXPECT_EQ(Finds(dir, name), finds) << ::testing::PrintToString(name);
  }
  EXPECT_EQ(Finds(dir, user1), "User 1");
}

TEST_F(LdapDirectoryTest, EntriesOutsideTheSearchRootAreRefused) {
  // The same root, written as a person might; cn=x\,ou=people sits beside
  // ou=people, though its text ends in ou=people's.
  for (const char* root : {LdapServer::kPeople, "OU=People,  DC=Example, dc=ORG"}) {
    SCOPED_TRACE(root);
    directory_.Set(D::String2, std::string(root));
    CXoDsDir dir(directory_);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {LdapServer::UserDn("alice"), "Alice Liddell"},
        {"UID=alice, OU=PEOPLE,dc=example,dc=org", "Alice Liddell"},
        {"bob", "Bob Cratchit"},
        {LdapServer::kPeople, "people"},
        {"cn=staff,ou=groups,dc=example,dc=org", "-"},
        {LdapServer::kSuffix, "-"},
        {"cn=x\\,ou=people,dc=example,dc=org", "-"},
        {"uid=user1,ou=people,dc=other,dc=org", "-"},
    };
    for (const auto& [entry, finds] : cases) EXPECT_EQ(Finds(dir, entry), finds) << entry;
    std::vector<std::string> members;
    EXPECT_FALSE(dir.GetMembers("cn=staff,ou=groups,dc=example,dc=org", members));
    EXPECT_NE(dir.LastError().find("not under the directory's search root"), std::string::npos)
        << dir.LastError();
  }

  // From dc=other,dc=org, alice is outside: nothing of hers is read or
  // changed, and a group that lists her gives only its members inside.
  directory_.Set(D::String2, std::string(LdapServer::kOtherSuffix));
  CXoDsDir other(directory_);
  const std::string alice = LdapServer::UserDn("alice");
  int32_t reason = -1;
  std::vector<std::string> list;
  EXPECT_FALSE(other.Authenticate(alice, "alice-pw"));
  EXPECT_FALSE(other.SetPassword(alice, "changed"));
  EXPECT_FALSE(other.SetDisabled(alice, 3));
  EXPECT_FALSE(other.GetDisabled(alice, reason));
  EXPECT_FALSE(other.GetGroups(alice, list));
  ASSERT_TRUE(other.GetMembers("cn=mixed,ou=groups,dc=other,dc=org", list)) << other.LastError();
  EXPECT_EQ(list, std::vector<std::string>{"uid=user2,ou=people,dc=other,dc=org"});
  list.clear();
  ASSERT_TRUE(other.GetMembers("cn=unique,ou=groups,dc=other,dc=org", list));
  EXPECT_EQ(list, (std::vector<std::string>{"uid=user3,ou=people,dc=other,dc=org",
                                            "uid=user4,ou=people,dc=other,dc=org"}));
  CXoDsDir home(server_.Directory());
  EXPECT_TRUE(home.Authenticate("alice", "alice-pw"));
  ASSERT_TRUE(home.GetDisabled("alice", reason));
  EXPECT_EQ(reason, 0);
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
  // Anonymous readers get four entries per plain search from this server.
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

// The server takes a bind with a DN and an empty password as anonymous.
TEST_F(LdapDirectoryTest, AnEmptyBindPasswordIsNeverSent) {
  directory_.Set(D::String6, std::string(""));
  directory_.Set(D::Flag1, true);
  std::vector<std::string> entries;
  std::vector<std::string> details;
  CXoDsDir required(directory_);
  EXPECT_FALSE(required.Enumerate(entries, details));
  EXPECT_NE(required.LastError().find("has no password"), std::string::npos)
      << required.LastError();
  EXPECT_TRUE(entries.empty());

  // Without credentials required, the directory is read anonymously.
  directory_.Set(D::Flag1, false);
  CXoDsDir anonymous(directory_);
  ASSERT_TRUE(anonymous.Enumerate(entries, details)) << anonymous.LastError();
  EXPECT_EQ(entries.size(), 7u);
  EXPECT_FALSE(anonymous.SetPassword("alice", "x"));
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
