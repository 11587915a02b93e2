// What realms and rules show beyond the common verbs: a realm's parent, and
// rules listed across the realms of a domain.
#include <gtest/gtest.h>

#include "CliStore.h"

namespace xo::test {
namespace {

class RealmsAndRulesTest : public CliStoreTest {
 protected:
  void SetUp() override {
    CliStoreTest::SetUp();
    AddDomainWithRealm("D");
    Ok({"realm", "add", "payroll", "--domain", "D", "--agent", "gw", "--scheme", "Basic",
        "--parent", "portal"});
  }
};

TEST_F(RealmsAndRulesTest, TopRealmsHaveNoParentAndChildrenNameTheirs) {
  Json realms = RunJson({"realm", "list", "--domain", "D"});

  ASSERT_EQ(realms.size(), 2u);
  EXPECT_EQ(realms[0]["parentName"], "");
  EXPECT_EQ(realms[1]["parentName"], "portal");
  std::string table = Ok({"realm", "list", "--domain", "D"});
  EXPECT_TRUE(Contains(table, "NAME     PARENT  AGENT  SCHEME"));
  EXPECT_TRUE(Contains(table, "payroll  portal  gw     Basic\n"));
}

TEST_F(RealmsAndRulesTest, RulesAreListedAcrossRealmsOrForOne) {
  Ok({"rule", "add", "read", "--domain", "D", "--realm", "portal"});
  Ok({"rule", "add", "read", "--domain", "D", "--realm", "payroll"});
  Ok({"rule", "add", "write", "--domain", "D", "--realm", "payroll"});

  Json all = RunJson({"rule", "list", "--domain", "D"});
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0]["realmName"], "portal");
  Json payroll = RunJson({"rule", "list", "--domain", "D", "--realm", "payroll"});
  ASSERT_EQ(payroll.size(), 2u);
  EXPECT_EQ(payroll[1]["name"], "write");
}

TEST_F(RealmsAndRulesTest, FlushOfAMissingRealmRecordsNothing) {
  CliResult run = Run({"realm", "flush", "nowhere", "--domain", "D"});

  EXPECT_EQ(run.exitCode, kExitFailure);
  EXPECT_EQ(RunJson({"commands"}), Json::array());
}

}  // namespace
}  // namespace xo::test
