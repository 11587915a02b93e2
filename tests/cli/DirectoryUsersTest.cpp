// The users of a user directory and the users of a policy, through an ODBC
// directory over an SQLite database of people (alice, bob, carol) and groups.
#include <gtest/gtest.h>

#include "CliStore.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

// The option that sets each query of a query scheme, in query order.
const char* const kQueryOptions[] = {
    "enumerate",    "lookup-entry", "entry-kind",  "authenticate",  "get-password", "set-password",
    "get-disabled", "set-disabled", "user-groups", "group-members", "lookup-user"};

class DirectoryUsersTest : public CliStoreTest {
 protected:
  void SetUp() override {
    CliStoreTest::SetUp();
    std::vector<std::string> scheme = {"odbcquery", "add", "people-queries"};
    const auto queries = OdbcUsers::Queries();
    for (size_t i = 0; i < std::size(kQueryOptions); ++i) {
      scheme.insert(scheme.end(), {std::string("--") + kQueryOptions[i], queries[i]});
    }
    Ok(scheme);
    Ok({"userdir", "add", "people", "--type", "ODBC:", "--server", users_.ConnectionString(),
        "--query-scheme", "people-queries", "--timeout", "5", "--search-scope", "2"});
  }
  std::vector<std::string> User(std::vector<std::string> args) {
    args.insert(args.end(), {"--userdir", "people"});
    return args;
  }
  std::string Stored(const std::string& column, const std::string& user) {
    return users_.QueryText("SELECT " + column + " FROM users WHERE name = '" + user + "'");
  }

  OdbcUsers users_;
};

TEST_F(DirectoryUsersTest, ListsTheDirectorysEntries) {
  Json entries = RunJson(User({"user", "list"}));

  ASSERT_EQ(entries.size(), 5u);
  EXPECT_EQ(entries[0]["entry"], "users/alice");
  EXPECT_TRUE(Contains(entries[0]["entryDetail"].get<std::string>(), "Alice Liddell"));
  EXPECT_TRUE(Contains(Ok(User({"user", "list"})), "groups/staff"));
  EXPECT_TRUE(Run(User({"user", "list"})).err.empty());

  // Cut at the directory's maximum: the first entries, and a word that it was cut.
  Ok({"userdir", "update", "people", "--max-results", "2"});
  CliResult cut = Run(User({"user", "list", "--json"}));
  EXPECT_EQ(Json::parse(cut.out).size(), 2u);
  EXPECT_TRUE(Contains(cut.err, "the listing was cut after 2 entries")) << cut.err;
  Ok({"userdir", "update", "people", "--max-results", "5"});
  EXPECT_TRUE(Run(User({"user", "list"})).err.empty());
}

TEST_F(DirectoryUsersTest, DisablesAndEnablesUsers) {
  Ok(User({"user", "disable", "users/bob", "--reason", "failed-logins"}));
  EXPECT_EQ(Stored("disabled", "bob"), "4");
  Json state = RunJson(User({"user", "get", "users/bob"}));
  EXPECT_EQ(state[0]["disabled"], "failed-logins");

  Ok(User({"user", "enable", "users/bob"}));
  EXPECT_EQ(RunJson(User({"user", "get", "users/bob"}))[0]["disabled"], "no");
}

TEST_F(DirectoryUsersTest, SetsAPasswordReadAfterTheLoginPassword) {
  CliResult run =
      Run(User({"user", "set-password", "users/carol", "--password-stdin", "--new-password-stdin"}),
          kAdmin, "", std::string(kPassword) + "\nnew-secret\n");

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(Stored("password", "carol"), "new-secret");
}

TEST_F(DirectoryUsersTest, FlushIsSavedForTheServers) {
  Ok(User({"user", "flush", "users/alice"}));

  Json commands = RunJson({"commands"});
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_TRUE(Contains(commands[0]["argument"].get<std::string>(), "/users/alice"));
}

TEST_F(DirectoryUsersTest, PolicyUsersAreAttachedListedAndDetached) {
  Ok({"domain", "add", "D"});
  Ok({"policy", "add", "staff-only", "--domain", "D"});
  std::vector<std::string> where = {"staff-only", "--domain", "D", "--userdir", "people"};
  auto with = [&](std::vector<std::string> args, std::vector<std::string> more = {}) {
    args.insert(args.end(), where.begin(), where.end());
    args.insert(args.end(), more.begin(), more.end());
    return args;
  };

  Ok(with({"policy", "add-user"}, {"--entry", "groups/staff", "--resolution", "group"}));
  Json users = RunJson(with({"policy", "users"}));
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0]["entry"], "groups/staff");
  EXPECT_EQ(users[0]["kindName"], "User Group");
  EXPECT_EQ(RunJson({"audit"}).back()["name"], "groups/staff");

  Ok(with({"policy", "remove-user"}, {"--entry", "groups/staff"}));
  EXPECT_EQ(RunJson(with({"policy", "users"})), Json::array());
  const std::string before = Snapshot();
  EXPECT_EQ(Run(with({"policy", "remove-user"}, {"--entry", "groups/staff"})).exitCode,
            kExitNotFound);
  EXPECT_EQ(Run(with({"policy", "add-user"}, {"--entry", "users/nobody"})).exitCode, kExitFailure);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(DirectoryUsersTest, UnknownDirectoryIsNamed) {
  CliResult run = Run({"user", "disable", "users/bob", "--userdir", "nowhere"});

  EXPECT_EQ(run.exitCode, kExitNotFound);
  EXPECT_TRUE(Contains(run.err, "there is no user directory named \"nowhere\""));
  EXPECT_EQ(Stored("disabled", "bob"), "");
}

}  // namespace
}  // namespace xo::test
