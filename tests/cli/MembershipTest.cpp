// The membership verbs: a domain's user directories (in search order) and
// administrators, and the members of groups.
#include <gtest/gtest.h>

#include "CliStore.h"

namespace xo::test {
namespace {

class DomainMembersTest : public CliStoreTest {
 protected:
  void SetUp() override {
    CliStoreTest::SetUp();
    Ok({"domain", "add", "D"});
    for (const char* name : {"ldap-a", "ldap-b"}) {
      Ok({"userdir", "add", name, "--type", "LDAP:", "--server", "ldap://localhost"});
    }
  }
};

TEST_F(DomainMembersTest, UserDirectoriesKeepTheirSearchOrder) {
  Ok({"domain", "add-userdir", "D", "ldap-a"});
  Ok({"domain", "add-userdir", "D", "ldap-b"});
  EXPECT_EQ(Ok({"domain", "search-order", "D"}), "ldap-a\nldap-b\n");

  Ok({"domain", "search-order", "D", "ldap-b", "ldap-a"});
  EXPECT_EQ(RunJson({"domain", "search-order", "D"}), Json::parse(R"(["ldap-b", "ldap-a"])"));

  Ok({"domain", "remove-userdir", "D", "ldap-b"});
  EXPECT_EQ(Ok({"domain", "search-order", "D"}), "ldap-a\n");
}

TEST_F(DomainMembersTest, RefusedMembershipChangesSayWhyAndChangeNothing) {
  Ok({"domain", "add-userdir", "D", "ldap-a"});
  const std::string before = Snapshot();

  CliResult twice = Run({"domain", "add-userdir", "D", "ldap-a"});
  EXPECT_EQ(twice.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(twice.err, "already a member (result -2)"));

  CliResult notListed = Run({"domain", "remove-userdir", "D", "ldap-b"});
  EXPECT_EQ(notListed.exitCode, kExitNotFound);
  EXPECT_TRUE(Contains(notListed.err, "\"ldap-b\" is not in domain \"D\""));

  CliResult wrongCount = Run({"domain", "search-order", "D", "ldap-a", "ldap-b"});
  EXPECT_EQ(wrongCount.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(wrongCount.err, "(result -20)"));

  CliResult noDomain = Run({"domain", "add-userdir", "E", "ldap-a"});
  EXPECT_EQ(noDomain.exitCode, kExitNotFound);
  EXPECT_TRUE(Contains(noDomain.err, "there is no domain named \"E\""));

  EXPECT_EQ(Snapshot(), before);
}

TEST_F(DomainMembersTest, AdministratorsOfADomainManageItAndNothingElse) {
  AddAdmin("dora", 0x2);
  Ok({"domain", "add", "Other"});
  Ok({"domain", "add-admin", "D", "dora"});
  EXPECT_EQ(Ok({"domain", "admins", "D"}), "dora\n");

  EXPECT_EQ(Run({"policy", "add", "p", "--domain", "D"}, "dora", "pw").exitCode, 0);
  const std::string before = Snapshot();
  CliResult elsewhere = Run({"policy", "add", "p", "--domain", "Other"}, "dora", "pw");
  EXPECT_EQ(elsewhere.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(elsewhere.err, "administrator \"dora\" may not manage domain \"Other\""));
  CliResult systemWide = Run({"agent", "add", "a", "--agent-type", "HTTP Agent"}, "dora", "pw");
  EXPECT_EQ(systemWide.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(systemWide.err, "may not manage objects outside the domains"));
  EXPECT_EQ(Snapshot(), before);

  Ok({"domain", "remove-admin", "D", "dora"});
  EXPECT_EQ(Run({"policy", "list", "--domain", "D"}, "dora", "pw").exitCode, kExitFailure);
}

class GroupMembersTest : public CliStoreTest {
 protected:
  void SetUp() override {
    CliStoreTest::SetUp();
    AddDomainWithRealm("D");
    Ok({"rule", "add", "read", "--domain", "D", "--realm", "portal"});
    for (const char* group : {"outer", "inner"}) {
      Ok({"group", "add", group, "--type", "rule", "--domain", "D", "--agent-type", "HTTP Agent"});
    }
  }
  std::vector<std::string> Group(std::vector<std::string> args) {
    args.insert(args.end(), {"--type", "rule", "--domain", "D"});
    return args;
  }
};

TEST_F(GroupMembersTest, RulesAndNestedGroupsAreMembersInOrder) {
  Ok(Group({"group", "add-member", "outer", "read", "--realm", "portal"}));
  Ok(Group({"group", "add-member", "outer", "inner"}));
  EXPECT_EQ(Ok(Group({"group", "members", "outer"})), "read\ninner\n");

  Ok(Group({"group", "remove-member", "outer", "read", "--realm", "portal"}));
  EXPECT_EQ(RunJson(Group({"group", "members", "outer"})), Json::parse(R"(["inner"])"));
}

TEST_F(GroupMembersTest, RefusedMemberChangesChangeNothing) {
  Ok(Group({"group", "add-member", "outer", "inner"}));
  const std::string before = Snapshot();

  CliResult loop = Run(Group({"group", "add-member", "inner", "outer"}));
  EXPECT_EQ(loop.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(loop.err, "loop"));
  CliResult absent = Run(Group({"group", "remove-member", "inner", "outer"}));
  EXPECT_EQ(absent.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(absent.err, "(result -4)"));
  CliResult noGroup = Run(Group({"group", "members", "nothing"}));
  EXPECT_EQ(noGroup.exitCode, kExitNotFound);
  EXPECT_TRUE(Contains(noGroup.err, "there is no rule group \"nothing\" in domain \"D\""));

  EXPECT_EQ(Snapshot(), before);
}

}  // namespace
}  // namespace xo::test
