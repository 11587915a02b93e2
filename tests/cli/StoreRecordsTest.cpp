// The store's own records (audit trail, server commands, counts) and the
// calls that act on any object: renaming by identifier and server commands.
#include <gtest/gtest.h>

#include "CliStore.h"

namespace xo::test {
namespace {

class StoreRecordsTest : public CliStoreTest {};

TEST_F(StoreRecordsTest, AuditListsChangesFilteredByTimeAdministratorAndObject) {
  AddAdmin("sys", 0x1);
  Ok({"domain", "add", "D"});
  EXPECT_EQ(Run({"domain", "update", "D", "--description", "by sys"}, "sys", "pw").exitCode, 0);

  Json byRoot = RunJson({"audit", "--by", kAdmin, "--object", "D"});
  ASSERT_EQ(byRoot.size(), 1u);
  EXPECT_EQ(byRoot[0]["operation"], "create");
  EXPECT_EQ(byRoot[0]["kind"], "domain");
  EXPECT_EQ(byRoot[0]["name"], "D");
  const std::string time = byRoot[0]["time"].get<std::string>();
  EXPECT_EQ(time.size(), 20u) << time;  // 2024-05-01T12:00:00Z
  EXPECT_EQ(time.back(), 'Z');

  Json bySys = RunJson({"audit", "--by", "sys"});
  ASSERT_EQ(bySys.size(), 1u);
  EXPECT_EQ(bySys[0]["operation"], "update");
  EXPECT_EQ(RunJson({"audit", "--object", byRoot[0]["objectId"].get<std::string>()}).size(), 2u);
  EXPECT_EQ(RunJson({"audit", "--since", "2999-01-01"}), Json::array());
  EXPECT_EQ(RunJson({"audit", "--since", "32503680000"}), Json::array());
  EXPECT_FALSE(RunJson({"audit", "--since", "1970-01-01T00:00Z"}).empty());
  EXPECT_TRUE(Contains(Ok({"audit"}), "OPERATION"));
}

TEST_F(StoreRecordsTest, StoreRecordsNeedTheSystemRight) {
  AddAdmin("dora", 0x2);
  for (const auto& args : {std::vector<std::string>{"audit"}, {"commands"}}) {
    CliResult run = Run(args, "dora", "pw");
    EXPECT_EQ(run.exitCode, kExitFailure);
    EXPECT_TRUE(Contains(run.err, "that takes the system right"));
  }
}

TEST_F(StoreRecordsTest, ServerCommandsAreRecordedAndListed) {
  AddDomainWithRealm("D");
  Ok({"command", "4", "reload all"});
  Ok({"realm", "flush", "portal", "--domain", "D"});

  Json commands = RunJson({"commands"});
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0]["command"], 8);
  EXPECT_EQ(commands[0]["argument"], "reload all");
  EXPECT_EQ(commands[1]["command"], 5);
  EXPECT_EQ(commands[1]["argument"],
            RunJson({"realm", "get", "portal", "--domain", "D"})[0]["objectId"]);
}

TEST_F(StoreRecordsTest, CommandRightsAreTheAdministratorsOwn) {
  AddAdmin("ops", 0x2 | (1 << (16 + 1)));
  Ok({"domain", "add", "D"});
  Ok({"domain", "add-admin", "D", "ops"});
  EXPECT_EQ(Run({"command", "1"}, "ops", "pw").exitCode, 0);

  const std::string before = Snapshot();
  CliResult refused = Run({"command", "2"}, "ops", "pw");
  EXPECT_EQ(refused.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(refused.err, "\"ops\" may not issue it"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(StoreRecordsTest, StoreInfoTellsWhereAndHowMany) {
  Ok({"domain", "add", "D"});

  Json info = RunJson({"store", "info"});
  EXPECT_EQ(info["backend"], "sqlite");
  EXPECT_EQ(info["location"], store_);
  EXPECT_GT(info["schemaVersion"], 0);
  EXPECT_EQ(info["objects"]["domain"], 1);
  EXPECT_EQ(info["objects"]["administrator"], 1);
  EXPECT_EQ(info["objects"]["agent type"], 2);
  std::string text = Ok({"store", "info"});
  EXPECT_TRUE(Contains(text, "schema version"));
  EXPECT_TRUE(Contains(text, store_));
}

TEST_F(StoreRecordsTest, RenameTakesAnyObjectsIdentifier) {
  Ok({"agent", "add", "gw", "--agent-type", "HTTP Agent"});
  const std::string id = RunJson({"agent", "get", "gw"})[0]["objectId"].get<std::string>();

  Ok({"rename", id, "gateway"});

  EXPECT_EQ(RunJson({"agent", "get", "gateway"})[0]["objectId"], id);
  std::string missing = "01-00000000-0000-4000-8000-000000000000";
  CliResult run = Run({"rename", missing, "x"});
  EXPECT_EQ(run.exitCode, kExitNotFound);
  EXPECT_TRUE(Contains(run.err, missing));
}

}  // namespace
}  // namespace xo::test
