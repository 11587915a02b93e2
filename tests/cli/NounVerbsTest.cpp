// The six verbs that every named kind of object has (add, get, list, update,
// rename, delete), run against each kind: what people see, what scripts
// read, and that a refused change leaves the store as it was.
#include <gtest/gtest.h>

#include "CliStore.h"

namespace xo::test {
namespace {

struct NounCase {
  const char* label;
  std::vector<std::string> noun;    // the noun, and for groups their type
  std::vector<std::string> scope;   // where its objects live
  std::vector<std::string> needed;  // what add needs besides the name
  std::string option;               // a typed field changed by update
  std::string value;
  std::string key;  // its JSON key
  Json expected;    // and its JSON value after the update
};

void PrintTo(const NounCase& c, std::ostream* out) { *out << c.label; }

std::vector<std::string> Join(std::initializer_list<std::vector<std::string>> parts) {
  std::vector<std::string> joined;
  for (const auto& part : parts) joined.insert(joined.end(), part.begin(), part.end());
  return joined;
}

class NounVerbsTest : public CliStoreTest, public ::testing::WithParamInterface<NounCase> {
 protected:
  void SetUp() override {
    CliStoreTest::SetUp();
    AddDomainWithRealm("D");
  }

  std::vector<std::string> Verb(const std::string& verb, std::vector<std::string> rest = {}) {
    return Join({GetParam().noun, {verb}, rest, GetParam().scope});
  }
  Json Get(const std::string& name) { return RunJson(Verb("get", {name})); }
};

TEST_P(NounVerbsTest, AddGetListUpdateRenameDelete) {
  const NounCase& c = GetParam();
  Ok(Join({Verb("add", {"thing"}), c.needed, {"--description", "first"}}));

  Json added = Get("thing");
  ASSERT_EQ(added.size(), 1u);
  EXPECT_EQ(added[0]["name"], "thing");
  EXPECT_EQ(added[0]["description"], "first");
  EXPECT_NE(added[0]["objectId"], "");

  std::string table = Ok(Verb("list"));
  EXPECT_TRUE(Contains(table, "NAME"));
  EXPECT_TRUE(Contains(table, "thing"));
  Json listed = RunJson(Verb("list"));
  EXPECT_NE(std::find(listed.begin(), listed.end(), added[0]), listed.end()) << listed.dump();

  std::vector<std::string> update = {"thing", "--" + c.option, c.value};
  Json expected = added[0];
  if (c.option != "description") {
    update.insert(update.end(), {"--description", "second"});
    expected["description"] = "second";
  }
  expected[c.key] = c.expected;
  Ok(Verb("update", update));
  Json updated = Get("thing");
  ASSERT_EQ(updated.size(), 1u);
  EXPECT_EQ(updated[0], expected) << "update changed other fields, or not the ones given";

  Ok(Verb("rename", {"thing", "other"}));
  EXPECT_EQ(Get("other")[0]["objectId"], added[0]["objectId"]);
  EXPECT_EQ(Run(Verb("get", {"thing"})).exitCode, kExitNotFound);

  Ok(Verb("delete", {"other"}));
  CliResult gone = Run(Verb("get", {"other"}));
  EXPECT_EQ(gone.exitCode, kExitNotFound);
  EXPECT_TRUE(Contains(gone.err, "there is no"));
  EXPECT_TRUE(Contains(gone.err, "\"other\""));
}

TEST_P(NounVerbsTest, TakenNameIsRefusedAndNothingChanges) {
  Ok(Join({Verb("add", {"thing"}), GetParam().needed}));
  const std::string before = Snapshot();

  CliResult again = Run(Join({Verb("add", {"thing"}), GetParam().needed}));

  EXPECT_EQ(again.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(again.err, "cannot add"));
  EXPECT_TRUE(Contains(again.err, "already taken (result -101)"));
  EXPECT_EQ(again.out, "");
  EXPECT_EQ(Snapshot(), before);
}

TEST_P(NounVerbsTest, MissingObjectIsNotFoundForEveryVerb) {
  const std::string before = Snapshot();
  for (const auto& args :
       {Verb("get", {"nothing"}), Verb("delete", {"nothing"}),
        Verb("update", {"nothing", "--description", "x"}), Verb("rename", {"nothing", "new"})}) {
    CliResult run = Run(args);
    EXPECT_EQ(run.exitCode, kExitNotFound) << args[1] << ": " << run.err;
    EXPECT_TRUE(Contains(run.err, "there is no"));
  }
  EXPECT_EQ(Snapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Cli, NounVerbsTest,
    ::testing::Values(
        NounCase{"Domain", {"domain"}, {}, {}, "description", "typed", "description", "typed"},
        NounCase{"Realm",
                 {"realm"},
                 {"--domain", "D"},
                 {"--agent", "gw", "--scheme", "Basic"},
                 "flag1",
                 "yes",
                 "realmFlag1",
                 true},
        NounCase{"Rule",
                 {"rule"},
                 {"--domain", "D", "--realm", "portal"},
                 {"--text1", "GET"},
                 "flag3",
                 "true",
                 "ruleFlag3",
                 true},
        NounCase{"Policy", {"policy"}, {"--domain", "D"}, {}, "flag", "on", "policyFlag", true},
        NounCase{"Response",
                 {"response"},
                 {"--domain", "D"},
                 {"--agent-type", "HTTP Agent"},
                 "agent-type",
                 "RADIUS Agent",
                 "agentTypeName",
                 "RADIUS Agent"},
        NounCase{
            "Agent", {"agent"}, {}, {"--agent-type", "HTTP Agent"}, "int", "-7", "agentInt", -7},
        NounCase{"Scheme", {"scheme"}, {}, {}, "int2", "0x10", "schemeInt2", 16},
        NounCase{"UserDir",
                 {"userdir"},
                 {},
                 {"--type", "LDAP:", "--server", "ldap://h"},
                 "max-results",
                 "50",
                 "int1",
                 50},
        NounCase{"OdbcQuery",
                 {"odbcquery"},
                 {},
                 {"--enumerate", "SELECT 1"},
                 "lookup-user",
                 "SELECT 2",
                 "query11",
                 "SELECT 2"},
        NounCase{"Admin", {"admin"}, {}, {"--new-password", "pw"}, "flags", "0x2", "adminFlags", 2},
        NounCase{"RuleGroup",
                 {"group"},
                 {"--type", "rule", "--domain", "D"},
                 {"--agent-type", "HTTP Agent"},
                 "description",
                 "typed",
                 "description",
                 "typed"},
        NounCase{"ResponseGroup",
                 {"group"},
                 {"--type", "response", "--domain", "D"},
                 {"--agent-type", "HTTP Agent"},
                 "description",
                 "typed",
                 "description",
                 "typed"},
        NounCase{"AgentGroup",
                 {"group"},
                 {"--type", "agent"},
                 {"--agent-type", "HTTP Agent"},
                 "description",
                 "typed",
                 "description",
                 "typed"}),
    [](const ::testing::TestParamInfo<NounCase>& info) { return info.param.label; });

}  // namespace
}  // namespace xo::test
