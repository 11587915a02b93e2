// `xopolicy export` and `xopolicy apply`, run as a user would run them.
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <nlohmann/json.hpp>

#include "CliStore.h"
#include "XoPolicyApi.h"
#include "support/DirectoryFixtures.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

// A small but complete policy: system objects of every kind that needs no
// directory server, and a domain whose objects refer to them and to each other.
const char* const kIntranet = R"json({
  "version": 1,
  "system": {
    "odbcQuerySchemes": [{"name": "hr-queries", "queries": ["SELECT name FROM staff", "", "", "", "", "", "", "", "", "", "", "", "", "", ""]}],
    "userDirectories": [
      {"name": "staff-ldap", "type": "LDAP:", "strings": ["ldap://staff.example", "ou=staff", "(uid=", ")", "", "", "", "", "", "", "", "", ""]},
      {"name": "hr-db", "type": "ODBC:", "queryScheme": "hr-queries"}
    ],
    "schemes": [{"name": "staff-password", "description": "staff log in with a password", "integers": [1, 0], "strings": ["basic", "", ""]}],
    "agents": [
      {"name": "intranet-gateway", "description": "the web gateway", "agentType": "HTTP Agent", "integer": 2},
      {"name": "backup-gateway", "agentType": "HTTP Agent"}
    ],
    "agentGroups": [{"name": "gateways", "agentType": "HTTP Agent", "members": ["intranet-gateway", "backup-gateway"]}],
    "administrators": [{"name": "alice", "description": "runs the intranet", "flags": 2, "password": "alice-pw"}]
  },
  "domains": [{
    "name": "Intranet",
    "description": "the company intranet",
    "userDirectories": ["staff-ldap", "hr-db"],
    "administrators": ["alice"],
    "realms": [
      {"name": "payroll", "agent": "intranet-gateway", "scheme": "staff-password", "parent": "portal", "flags": [true, false, false, false]},
      {"name": "portal", "description": "every page", "text": "/", "agent": "gateways", "scheme": "staff-password", "integers": [30, 0]}
    ],
    "rules": [
      {"realm": "portal", "name": "read-pages", "texts": ["GET", "/", ""], "flags": [true, false, false]},
      {"realm": "portal", "name": "post-forms", "texts": ["POST", "/forms", ""]},
      {"realm": "payroll", "name": "read-payslips", "texts": ["GET", "/payroll", ""]}
    ],
    "ruleGroups": [
      {"name": "everyday-use", "agentType": "HTTP Agent", "members": [{"realm": "portal", "rule": "read-pages"}, {"realm": "payroll", "rule": "read-payslips"}]},
      {"name": "everything", "agentType": "HTTP Agent", "members": [{"group": "everyday-use"}, {"realm": "portal", "rule": "post-forms"}]}
    ],
    "responses": [{"name": "welcome", "agentType": "HTTP Agent", "attributes": [
      {"attribute": "HTTP-Header-Fixed", "value": "X-Portal-User: employee"},
      {"attribute": "HTTP-Cookie-Fixed", "value": "portal-lang=en", "integers": [1, 0]}]}],
    "responseGroups": [{"name": "greetings", "agentType": "HTTP Agent", "members": ["welcome"]}],
    "policies": [{"name": "employees", "description": "everyone on the payroll", "flag": true, "links": [
      {"group": "everyday-use", "response": "greetings"},
      {"realm": "portal", "rule": "post-forms"}]}]
  }]
})json";

// Whether the text holds an object identifier: two hex digits of the class,
// a dash, and a UUID ("0b-6f1c9a3e-...").
bool HoldsIdentifier(const std::string& text) {
  auto hexRun = [&](size_t at, size_t length) {
    if (at + length > text.size()) return false;
    for (size_t i = at; i < at + length; ++i) {
      if (!std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
    }
    return true;
  };
  for (size_t at = 0; at + 12 <= text.size(); ++at) {
    if (hexRun(at, 2) && text[at + 2] == '-' && hexRun(at + 3, 8) && text[at + 11] == '-') {
      return true;
    }
  }
  return false;
}

// Runs the tool with the store, administrator and password taken from the
// environment.
class PolicyAsCodeTest : public CliStoreTest {
 protected:
  CliResult Run(std::vector<std::string> args, const std::string& store = "",
                const std::string& password = kPassword) {
    return RunCli(args, {{"XO_POLICY_STORE", store.empty() ? store_ : store},
                         {"XO_ADMIN", kAdmin},
                         {"XO_PASSWORD", password}});
  }

  std::string Write(const std::string& name, const std::string& text) {
    std::ofstream(dir_ / name) << text;
    return dir_ / name;
  }
  std::string WriteJson(const std::string& name, const Json& document) {
    return Write(name, document.dump(1));
  }

  CliResult Apply(const std::string& file, std::vector<std::string> extra = {},
                  const std::string& store = "") {
    std::vector<std::string> args{"apply", file};
    args.insert(args.end(), extra.begin(), extra.end());
    return Run(args, store);
  }

  // The store's export as JSON, checked to have worked.
  Json Export(std::vector<std::string> extra = {}, const std::string& store = "") {
    std::vector<std::string> args{"export"};
    args.insert(args.end(), extra.begin(), extra.end());
    CliResult run = Run(args, store);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return Json::parse(run.out);
  }

  void ApplyIntranet() {
    CliResult run = Apply(Write("intranet.json", kIntranet));
    ASSERT_EQ(run.exitCode, 0) << run.err;
  }

  static Json& Domain(Json& document) { return document["domains"][0]; }
};

TEST_F(PolicyAsCodeTest, ExportAppliedToEmptyStoreExportsTheSame) {
  ApplyIntranet();
  std::string first = Run({"export", "--include-password-hashes"}).out;
  const std::string other = dir_ / "other.db";
  InitStore(other);

  CliResult run = Apply(Write("first.json", first), {}, other);

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(Run({"export", "--include-password-hashes"}, other).out, first);
  // alice's password came along as its hash.
  ScopedEnv otherStore("XO_POLICY_STORE", "sqlite:" + other);
  PolicyApiSession* handle = nullptr;
  EXPECT_EQ(Xo_PolicyApi_Login(&handle, nullptr, "alice", "alice-pw", "localhost", "", 0), XO_OK);
  if (handle) Xo_PolicyApi_Logout(handle);
}

TEST_F(PolicyAsCodeTest, ABindPasswordIsShownOnlyWhenAskedFor) {
  const std::string secret = "bind-secret-42";
  ASSERT_EQ(Run({"userdir", "add", "corp", "--type", "LDAP:", "--server", "ldap://localhost",
                 "--bind-user", "cn=reader", "--bind-password", secret})
                .exitCode,
            0);
  // Every way of reading it back but the explicit ones keeps it out.
  for (const std::vector<std::string>& args : {std::vector<std::string>{"userdir", "get", "corp"},
                                               {"userdir", "get", "corp", "--json"},
                                               {"userdir", "list", "--json"},
                                               {"export"},
                                               {"export", "--json"},
                                               {"audit"}}) {
    CliResult run = Run(args);
    EXPECT_EQ(run.out.find(secret), std::string::npos) << args[0] << " " << args[1];
  }
  EXPECT_TRUE(Contains(Run({"userdir", "get", "corp", "--json"}).out, "(set)"));
  EXPECT_TRUE(Contains(Run({"userdir", "get", "corp", "--json", "--show-secrets"}).out, secret));

  // An export without it applies without touching it; one with it carries it.
  const std::string plain = Write("plain.json", Run({"export"}).out);
  EXPECT_TRUE(Contains(Apply(plain).out, "no changes"));
  Json withSecrets = Export({"--include-secrets"});
  EXPECT_EQ(withSecrets["system"]["userDirectories"][0]["bindPassword"], secret);
  const std::string other = dir_ / "other.db";
  InitStore(other);
  ASSERT_EQ(Apply(WriteJson("secrets.json", withSecrets), {}, other).exitCode, 0);
  EXPECT_EQ(Export({"--include-secrets"}, other), withSecrets);
}

TEST_F(PolicyAsCodeTest, ExportNamesEveryReferenceAndNoIdentifier) {
  ApplyIntranet();
  CliResult run = Run({"export"});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_FALSE(HoldsIdentifier(run.out));
  EXPECT_FALSE(Contains(run.out, "$argon2id$"));
  Json exported = Json::parse(run.out);
  Json& intranet = Domain(exported);
  EXPECT_EQ(intranet["userDirectories"], Json({"staff-ldap", "hr-db"}));  // search order kept
  EXPECT_EQ(intranet["realms"][0]["parent"], "portal");
  EXPECT_EQ(intranet["realms"][1]["parent"], "");
  EXPECT_EQ(intranet["realms"][1]["agent"], "gateways");
  EXPECT_EQ(
      intranet["ruleGroups"][1]["members"],
      Json::parse(R"([{"group": "everyday-use"}, {"realm": "portal", "rule": "post-forms"}])"));
  EXPECT_EQ(intranet["policies"][0]["links"], Json::parse(R"([
      {"group": "everyday-use", "response": "greetings"},
      {"realm": "portal", "rule": "post-forms", "response": ""}])"));
  EXPECT_EQ(exported["system"]["userDirectories"][0]["queryScheme"], "hr-queries");
}

TEST_F(PolicyAsCodeTest, ExportOfOneDomainLeavesSystemObjectsOut) {
  ApplyIntranet();
  Json exported = Export({"--domain", "Intranet"});
  EXPECT_FALSE(exported.contains("system"));
  EXPECT_EQ(exported["domains"].size(), 1u);

  CliResult missing = Run({"export", "--domain", "Extranet"});
  EXPECT_EQ(missing.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(missing.err, "Extranet"));
  EXPECT_EQ(missing.out, "");
}

TEST_F(PolicyAsCodeTest, SecondApplySaysNoChangesAndWritesNothing) {
  ApplyIntranet();
  const std::string before = SnapshotStoreFile(store_);

  CliResult again = Apply(dir_ / "intranet.json");

  EXPECT_EQ(again.exitCode, 0) << again.err;
  EXPECT_EQ(again.out, "no changes\n");
  EXPECT_EQ(SnapshotStoreFile(store_), before);  // the audit trail included
}

TEST_F(PolicyAsCodeTest, DryRunPrintsThePlanAndChangesNothing) {
  const std::string before = SnapshotStoreFile(store_);

  CliResult run = Apply(Write("intranet.json", kIntranet), {"--dry-run"});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(Contains(run.out, "+ agent intranet-gateway\n"));
  EXPECT_TRUE(Contains(run.out, "+ realm Intranet/portal\n"));
  EXPECT_TRUE(Contains(run.out, "+ rule Intranet/payroll/read-payslips\n"));
  EXPECT_TRUE(Contains(run.out, "Plan: 19 to create, 0 to change, 0 to delete.\n"));
  // Parents come before what names them, whatever the file's order.
  EXPECT_LT(run.out.find("+ realm Intranet/portal"), run.out.find("+ realm Intranet/payroll"));
  EXPECT_LT(run.out.find("+ agent group gateways"), run.out.find("+ realm Intranet/portal"));
  EXPECT_EQ(SnapshotStoreFile(store_), before);
}

TEST_F(PolicyAsCodeTest, ChangedFieldsAreUpdatedInPlace) {
  ApplyIntranet();
  Json edited = Json::parse(kIntranet);
  Domain(edited)["realms"][1]["description"] = "all pages";
  Domain(edited)["userDirectories"] = {"hr-db", "staff-ldap"};
  Domain(edited)["responses"][0]["attributes"][1]["value"] = "portal-lang=de";
  edited["system"]["agentGroups"][0]["members"] = {"intranet-gateway"};
  auto audited = [&] { return QueryStoreFile(store_, "SELECT count(*) FROM xo_audit")[0]; };
  const std::string auditBefore = audited();

  CliResult run = Apply(WriteJson("edited.json", edited));

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(Contains(run.out,
                       "~ realm Intranet/portal (description: \"every page\" -> \"all pages\")\n"));
  EXPECT_TRUE(Contains(run.out, "~ agent group gateways (members: -\"backup-gateway\")\n"));
  EXPECT_TRUE(Contains(run.out, "Plan: 0 to create, 4 to change, 0 to delete.\n"));
  EXPECT_NE(audited(), auditBefore);
  Json exported = Export();
  EXPECT_EQ(Domain(exported)["realms"][1]["description"], "all pages");
  EXPECT_EQ(Domain(exported)["userDirectories"], Json({"hr-db", "staff-ldap"}));
  EXPECT_EQ(Domain(exported)["responses"][0]["attributes"][0]["value"], "portal-lang=de");
  EXPECT_EQ(Domain(exported)["rules"].size(), 3u);  // untouched
  EXPECT_EQ(Apply(dir_ / "edited.json").out, "no changes\n");
}

TEST_F(PolicyAsCodeTest, KeysLeftOutKeepWhatTheStoreHas) {
  ApplyIntranet();
  const std::string before = SnapshotStoreFile(store_);

  // Names the realm and rule without their other fields.
  CliResult run = Apply(Write("partial.json", R"({"version": 1, "domains": [{"name": "Intranet",
      "realms": [{"name": "portal"}], "rules": [{"realm": "portal", "name": "read-pages"}]}]})"));

  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "no changes\n");
  EXPECT_EQ(SnapshotStoreFile(store_), before);
}

TEST_F(PolicyAsCodeTest, PruneDeletesWhatTheFileDoesNotName) {
  ApplyIntranet();
  Json smaller = Json::parse(kIntranet);
  Domain(smaller)["rules"].erase(1);  // post-forms, which a link and a group hold
  Domain(smaller)["ruleGroups"][1]["members"].erase(1);
  Domain(smaller)["policies"][0]["links"].erase(1);
  smaller["system"]["agents"].erase(1);  // backup-gateway
  smaller["system"]["agentGroups"][0]["members"].erase(1);
  const std::string file = WriteJson("smaller.json", smaller);

  CliResult kept = Apply(file);
  ASSERT_EQ(kept.exitCode, 0) << kept.err;
  EXPECT_FALSE(Contains(kept.out, "- "));
  Json unpruned = Export();
  EXPECT_EQ(Domain(unpruned)["rules"].size(), 3u);

  CliResult pruned = Apply(file, {"--prune"});

  ASSERT_EQ(pruned.exitCode, 0) << pruned.err;
  EXPECT_TRUE(Contains(pruned.out, "- rule Intranet/portal/post-forms\n"));
  EXPECT_TRUE(Contains(pruned.out, "- agent backup-gateway\n"));
  // Neither the administrator applying the file nor the built-in scheme.
  EXPECT_FALSE(Contains(pruned.out, "root"));
  EXPECT_FALSE(Contains(pruned.out, "Basic"));
  Json exported = Export();
  EXPECT_EQ(Domain(exported)["rules"].size(), 2u);
  EXPECT_EQ(exported["system"]["agents"].size(), 1u);
  EXPECT_EQ(exported["system"]["administrators"].size(), 2u);
  EXPECT_EQ(Apply(file, {"--prune"}).out, "no changes\n");
}

TEST_F(PolicyAsCodeTest, FailureHalfWayLeavesTheStoreAsItWas) {
  ApplyIntranet();
  Json document = Json::parse(kIntranet);
  Domain(document)["realms"][1]["description"] = "changed first";
  Json extranet = {{"name", "Extranet"},
                   {"rules", {{{"realm", "no-such-realm"}, {"name", "last-rule"}}}}};
  document["domains"].push_back(extranet);
  const std::string before = SnapshotStoreFile(store_);

  CliResult run = Apply(WriteJson("broken.json", document));

  EXPECT_EQ(run.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(run.out, "+ domain Extranet\n"));  // the plan came first
  EXPECT_TRUE(Contains(run.err, "rule Extranet/no-such-realm/last-rule"));
  EXPECT_TRUE(Contains(run.err, "nothing was changed"));
  EXPECT_EQ(SnapshotStoreFile(store_), before);
}

TEST_F(PolicyAsCodeTest, WrongPasswordChangesNothing) {
  const std::string before = SnapshotStoreFile(store_);
  CliResult run = Run({"apply", Write("intranet.json", kIntranet)}, store_, "not-the-password");

  EXPECT_NE(run.exitCode, 0);
  EXPECT_TRUE(Contains(run.err, "password"));
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(SnapshotStoreFile(store_), before);
}

TEST_F(PolicyAsCodeTest, NewAdministratorWithoutPasswordIsRefused) {
  CliResult run = Apply(Write("admin.json", R"({"version": 1, "system": {
      "administrators": [{"name": "bob", "flags": 1}]}})"));
  EXPECT_EQ(run.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(run.err, "\"bob\""));
  EXPECT_TRUE(Contains(run.err, "password"));
}

TEST_F(PolicyAsCodeTest, CommandLineMistakesAreUsageErrors) {
  const std::string file = Write("intranet.json", kIntranet);
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"apply"}, {"apply", file, "--frobnicate"}, {"export", "--domain"}, {"exprot"}}) {
    CliResult run = Run(args);
    EXPECT_EQ(run.exitCode, kExitUsage) << args.back();
    EXPECT_NE(run.err, "");
  }
  CliResult missing = Apply(dir_ / "missing.json");
  EXPECT_EQ(missing.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(missing.err, "missing.json"));
}

TEST_F(PolicyAsCodeTest, PolicyUsersComeFromTheirDirectory) {
  ApplyIntranet();
  OdbcUsers users;
  Json queries = Json::array();
  for (const std::string& query : OdbcUsers::Queries()) queries.push_back(query);
  Json strings = Json::array({users.ConnectionString()});
  for (int i = 1; i < 13; ++i) strings.push_back("");
  Json document = Json::parse(kIntranet);
  document["system"]["odbcQuerySchemes"] = {{{"name", "staff-queries"}, {"queries", queries}}};
  document["system"]["userDirectories"] = {{{"name", "staff-db"},
                                            {"type", "ODBC:"},
                                            {"queryScheme", "staff-queries"},
                                            {"strings", strings},
                                            {"integers", {0, 5, 2}}}};
  Domain(document)["userDirectories"] = {"staff-db"};
  // The directory is read through its query scheme on a connection of its
  // own, which sees only what is committed: it comes in a first apply.
  ASSERT_EQ(Apply(WriteJson("directory.json", document)).exitCode, 0);
  // Without a resolution an entry is attached with the default one.
  Domain(document)["policies"][0]["users"] = {
      {{"directory", "staff-db"}, {"entry", "users/alice"}},
      {{"directory", "staff-db"}, {"entry", "groups/staff"}, {"resolution", "nested-group"}}};
  const std::string file = WriteJson("users.json", document);

  CliResult run = Apply(file, {"--prune"});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(Contains(run.out, "- user directory hr-db\n"));
  Json exported = Export();
  EXPECT_EQ(Domain(exported)["policies"][0]["users"], Json::parse(R"([
      {"directory": "staff-db", "entry": "groups/staff", "resolution": "nested-group"},
      {"directory": "staff-db", "entry": "users/alice", "resolution": "default"}])"));
  EXPECT_EQ(Apply(file).out, "no changes\n");

  // A changed resolution attaches the entry anew; the other stays.
  Domain(document)["policies"][0]["users"][1]["resolution"] = "group";
  CliResult changed = Apply(WriteJson("changed.json", document));
  ASSERT_EQ(changed.exitCode, 0) << changed.err;
  EXPECT_TRUE(Contains(changed.out, "\"resolution\":\"group\""));
  EXPECT_EQ(Export()["domains"][0]["policies"][0]["users"][0]["resolution"], "group");

  Domain(document)["policies"][0]["users"].erase(0);
  CliResult fewer = Apply(WriteJson("fewer.json", document));
  ASSERT_EQ(fewer.exitCode, 0) << fewer.err;
  EXPECT_TRUE(
      Contains(fewer.out, "(users: -{\"directory\":\"staff-db\",\"entry\":\"users/alice\""));
  Json after = Export();
  EXPECT_EQ(Domain(after)["policies"][0]["users"].size(), 1u);
}

TEST_F(PolicyAsCodeTest, PruneOfOneDomainLeavesOtherDomains) {
  ApplyIntranet();
  CliResult other =
      Apply(Write("other.json", R"({"version": 1, "domains": [{"name": "Extranet"}]})"));
  ASSERT_EQ(other.exitCode, 0) << other.err;

  // A file of one domain, without the system section: only that domain's
  // contents are pruned.
  CliResult run =
      Apply(Write("one.json", R"({"version": 1, "domains": [{"name": "Extranet"}]})"), {"--prune"});

  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "no changes\n");
  Json exported = Export();
  EXPECT_EQ(exported["domains"].size(), 2u);
}

TEST_F(PolicyAsCodeTest, PruneDeletesChildRealmsBeforeTheirParents) {
  ApplyIntranet();
  CliResult run = Apply(Write("bare.json", R"({"version": 1, "domains": [{"name": "Intranet",
      "realms": [], "rules": [], "ruleGroups": [], "policies": []}]})"),
                        {"--prune"});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_LT(run.out.find("- realm Intranet/payroll"), run.out.find("- realm Intranet/portal"));
  EXPECT_LT(run.out.find("- rule "), run.out.find("- realm "));
  Json exported = Export();
  EXPECT_TRUE(Domain(exported)["realms"].empty());
  EXPECT_EQ(Domain(exported)["responses"].size(), 1u);  // not named, so kept
}

TEST_F(PolicyAsCodeTest, ReadsTheDocumentFromStandardInput) {
  CliResult run = RunCli(
      {"apply", "-"},
      {{"XO_POLICY_STORE", store_}, {"XO_ADMIN", "root"}, {"XO_PASSWORD", "root-pw"}}, kIntranet);
  ASSERT_EQ(run.exitCode, 0) << run.err;
  Json exported = Export();
  EXPECT_EQ(Domain(exported)["name"], "Intranet");
}

// An export applied to a store whose first administrator has another name:
// the exported first administrator comes along with its hash, and without
// one the file is refused, saying how to make it.
TEST_F(PolicyAsCodeTest, FirstAdministratorComesToAnotherStoreOnlyWithItsHash) {
  const std::string other = dir_ / "other.db";
  ASSERT_EQ(RunCli({"init", "--hash-cost", "minimum", "--store", other, "--admin", "ops",
                    "--password", "ops-pw"})
                .exitCode,
            0);
  const auto applyAsOps = [&](const std::string& file) {
    return RunCli({"apply", file},
                  {{"XO_POLICY_STORE", other}, {"XO_ADMIN", "ops"}, {"XO_PASSWORD", "ops-pw"}});
  };

  CliResult plain = applyAsOps(Write("plain.json", Run({"export"}).out));
  EXPECT_EQ(plain.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(plain.err, "administrator \"root\" is not in the store yet"));
  EXPECT_TRUE(Contains(plain.err, "--include-secrets"));

  CliResult hashed =
      applyAsOps(Write("hashed.json", Run({"export", "--include-password-hashes"}).out));
  ASSERT_EQ(hashed.exitCode, 0) << hashed.err;
  EXPECT_EQ(Run({"export"}, other).exitCode, 0);  // root logs in with its own password
  EXPECT_EQ(Export({}, other)["system"]["administrators"].size(), 2u);
}

TEST_F(PolicyAsCodeTest, RuleNamedLikeARuleGroupIsRefusedAsAMember) {
  AddDomainWithRealm("D");
  const std::string file = Write("member.json", R"({"version": 1, "domains": [{"name": "D",
      "rules": [{"realm": "portal", "name": "read"}],
      "ruleGroups": [{"name": "read", "agentType": "HTTP Agent"},
                     {"name": "g", "agentType": "HTTP Agent", "members": [{"realm": "portal", "rule": "read"}]}]}]})");
  const std::string before = SnapshotStoreFile(store_);

  CliResult run = Apply(file);

  EXPECT_EQ(run.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(run.err, "rule group D/g"));
  EXPECT_TRUE(Contains(run.err, "takes \"read\" for the rule group"));
  EXPECT_EQ(SnapshotStoreFile(store_), before);
}

// Stores made with commands that an export must carry whole: each is
// exported, applied to a new store and exported again, and both exports must
// be equal. `expected` holds parts of the export (a JSON pointer and its value).
struct StoreCase {
  const char* label;
  std::vector<std::vector<std::string>> commands;
  std::vector<std::pair<const char*, const char*>> expected;
};

void PrintTo(const StoreCase& store, std::ostream* out) { *out << store.label; }

class PolicyRoundTripTest : public PolicyAsCodeTest,
                            public ::testing::WithParamInterface<StoreCase> {};

TEST_P(PolicyRoundTripTest, ExportAppliesToANewStoreAndExportsTheSame) {
  AddDomainWithRealm("D");
  for (const std::vector<std::string>& command : GetParam().commands) Ok(command);
  CliResult first = Run({"export", "--include-password-hashes"});
  ASSERT_EQ(first.exitCode, 0) << first.err;
  Json exported = Json::parse(first.out);
  for (const auto& [pointer, value] : GetParam().expected) {
    EXPECT_EQ(exported[Json::json_pointer(pointer)], Json::parse(value)) << pointer;
  }
  const std::string other = dir_ / "other.db";
  InitStore(other);

  CliResult apply = Apply(Write("first.json", first.out), {}, other);

  ASSERT_EQ(apply.exitCode, 0) << apply.err;
  EXPECT_EQ(Run({"export", "--include-password-hashes"}, other).out, first.out);
  EXPECT_EQ(Apply(dir_ / "first.json", {}, other).out, "no changes\n");
}

using Line = std::vector<std::string>;
const Line kRuleGroup{"--type", "rule", "--domain", "D", "--agent-type", "HTTP Agent"};

Line With(Line line, const Line& more) {
  line.insert(line.end(), more.begin(), more.end());
  return line;
}

INSTANTIATE_TEST_SUITE_P(
    Stores, PolicyRoundTripTest,
    ::testing::Values(
        StoreCase{
            "SameRuleNameInTwoRealms",
            {{"realm", "add", "payroll", "--domain", "D", "--agent", "gw", "--scheme", "Basic"},
             {"rule", "add", "read", "--domain", "D", "--realm", "portal", "--text1", "GET"},
             {"rule", "add", "read", "--domain", "D", "--realm", "payroll", "--text1", "POST"},
             With({"group", "add", "both"}, kRuleGroup),
             With({"group", "add", "one"}, kRuleGroup),
             {"group", "add-member", "both", "read", "--type", "rule", "--domain", "D", "--realm",
              "payroll"},
             {"group", "add-member", "both", "read", "--type", "rule", "--domain", "D", "--realm",
              "portal"},
             {"group", "add-member", "one", "read", "--type", "rule", "--domain", "D", "--realm",
              "payroll"},
             {"policy", "add", "p", "--domain", "D"},
             {"link", "add", "--domain", "D", "--policy", "p", "--rule", "read", "--realm",
              "payroll"}},
            {{"/domains/0/rules/0/realm", R"("payroll")"},
             {"/domains/0/rules/0/texts/0", R"("POST")"},
             {"/domains/0/rules/1/realm", R"("portal")"},
             {"/domains/0/ruleGroups/0/members",
              R"([{"realm": "payroll", "rule": "read"}, {"realm": "portal", "rule": "read"}])"},
             {"/domains/0/ruleGroups/1/members", R"([{"realm": "payroll", "rule": "read"}])"},
             {"/domains/0/policies/0/links",
              R"([{"realm": "payroll", "rule": "read", "response": ""}])"}}},
        StoreCase{"RealmTreeWithARealmNamedLikeItsDomain",
                  {{"realm", "add", "D", "--domain", "D", "--agent", "gw", "--scheme", "Basic"},
                   {"realm", "add", "child", "--domain", "D", "--agent", "gw", "--scheme", "Basic",
                    "--parent", "D"},
                   {"realm", "add", "leaf", "--domain", "D", "--agent", "gw", "--scheme", "Basic",
                    "--parent", "child"}},
                  {{"/domains/0/realms/0/parent", R"("")"},
                   {"/domains/0/realms/1/parent", R"("D")"},
                   {"/domains/0/realms/2/parent", R"("child")"}}},
        StoreCase{"RuleNamesThatHoldASlash",
                  {{"realm", "add", "a", "--domain", "D", "--agent", "gw", "--scheme", "Basic"},
                   {"realm", "add", "a/b", "--domain", "D", "--agent", "gw", "--scheme", "Basic"},
                   {"rule", "add", "b/c", "--domain", "D", "--realm", "a"},
                   {"rule", "add", "c", "--domain", "D", "--realm", "a/b"}},
                  {{"/domains/0/rules/0/name", R"("b/c")"}, {"/domains/0/rules/1/name", R"("c")"}}},
        // Bound while the realm held no rule of the group's name; the only
        // realm holds one now.
        StoreCase{
            "LinksToGroupsNamedLikeARule",
            {With({"group", "add", "admin"}, kRuleGroup),
             {"response", "add", "welcome", "--domain", "D", "--agent-type", "HTTP Agent"},
             {"attr", "add", "HTTP-Header-Fixed", "--domain", "D", "--response", "welcome",
              "--value", "X-User: staff"},
             {"group", "add", "greetings", "--type", "response", "--domain", "D", "--agent-type",
              "HTTP Agent"},
             {"group", "add-member", "greetings", "welcome", "--type", "response", "--domain", "D"},
             {"policy", "add", "p", "--domain", "D"},
             {"link", "add", "--domain", "D", "--policy", "p", "--rule", "admin", "--realm",
              "portal", "--response", "greetings"},
             {"rule", "add", "admin", "--domain", "D", "--realm", "portal"}},
            {{"/domains/0/policies/0/links", R"([{"group": "admin", "response": "greetings"}])"}}},
        StoreCase{
            "LinkToAGroupOfADomainWithoutRealms",
            {With({"group", "add", "g"}, kRuleGroup),
             {"policy", "add", "p", "--domain", "D"},
             {"link", "add", "--domain", "D", "--policy", "p", "--rule", "g", "--realm", "portal"},
             {"realm", "delete", "portal", "--domain", "D"}},
            {{"/domains/0/realms", "[]"},
             {"/domains/0/policies/0/links", R"([{"group": "g", "response": ""}])"}}},
        StoreCase{"NestedGroupsAndAQuerySchemeNoDirectoryNames",
                  {{"group", "add", "edge", "--type", "agent", "--agent-type", "HTTP Agent"},
                   {"group", "add", "all", "--type", "agent", "--agent-type", "HTTP Agent"},
                   {"group", "add-member", "edge", "gw", "--type", "agent"},
                   {"group", "add-member", "all", "edge", "--type", "agent"},
                   With({"group", "add", "inner"}, kRuleGroup),
                   With({"group", "add", "outer"}, kRuleGroup),
                   {"group", "add-member", "outer", "inner", "--type", "rule", "--domain", "D"},
                   {"odbcquery", "add", "spare", "--description", "not used yet"}},
                  {{"/system/agentGroups/0/members", R"(["edge"])"},
                   {"/domains/0/ruleGroups/1/members", R"([{"group": "inner"}])"},
                   {"/system/odbcQuerySchemes/0/name", R"("spare")"}}}),
    [](const ::testing::TestParamInfo<StoreCase>& info) { return info.param.label; });

// Documents that must be refused, with a message that says where, before
// anything is changed.
struct BadDocument {
  const char* label;
  const char* text;
  const char* complaint;
};

void PrintTo(const BadDocument& bad, std::ostream* out) { *out << bad.label; }

class PolicyBadDocumentTest : public PolicyAsCodeTest,
                              public ::testing::WithParamInterface<BadDocument> {};

TEST_P(PolicyBadDocumentTest, IsRefusedAndNothingChanges) {
  const std::string before = SnapshotStoreFile(store_);

  CliResult run = Apply(Write("bad.json", GetParam().text));

  EXPECT_EQ(run.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(run.err, GetParam().complaint));
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(SnapshotStoreFile(store_), before);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, PolicyBadDocumentTest,
    ::testing::Values(
        BadDocument{"Malformed", R"({"version": 1, "domains": [)", "is not valid JSON"},
        BadDocument{"NotAnObject", R"([1, 2])", "must be a JSON object"},
        BadDocument{"NoVersion", R"({"domains": []})", "\"version\" must be 1"},
        BadDocument{"UnknownTopKey", R"({"version": 1, "domainz": []})", "unknown key \"domainz\""},
        BadDocument{"UnknownDomainKey",
                    R"({"version": 1, "domains": [{"name": "D", "realmz": []}]})",
                    "domains[0]: unknown key \"realmz\""},
        BadDocument{"UnknownSystemKind", R"({"version": 1, "system": {"agentz": []}})",
                    "system: unknown key \"agentz\""},
        BadDocument{
            "WrongType",
            R"({"version": 1, "domains": [{"name": "D", "rules": [{"realm": "r", "name": "x", "flags": "yes"}]}]})",
            "domains[0].rules[0].flags: must be a JSON array"},
        BadDocument{"WrongLength",
                    R"({"version": 1, "system": {"agents": [{"name": "a", "strings": ["x"]}]}})",
                    "system.agents[0].strings: must hold exactly 2 values"},
        BadDocument{"NumberAmongTexts",
                    R"({"version": 1, "system": {"agents": [{"name": "a", "strings": ["x", 2]}]}})",
                    "system.agents[0].strings[1]: must be a text"},
        BadDocument{"NoName", R"({"version": 1, "system": {"schemes": [{"description": "x"}]}})",
                    "system.schemes[0]: needs \"name\""},
        BadDocument{"Twice", R"({"version": 1, "domains": [{"name": "D"}, {"name": "D"}]})",
                    "domain \"D\" appears twice"},
        BadDocument{
            "UnknownResolution",
            R"({"version": 1, "domains": [{"name": "D", "policies": [{"name": "p", "users": [{"directory": "d", "entry": "e", "resolution": "everyone"}]}]}]})",
            "users[0].resolution: must be one of default, user, group"},
        BadDocument{
            "TakesTheSystemRightFromWhoApplies",
            R"({"version": 1, "system": {"administrators": [{"name": "root", "flags": 2}]}})",
            "takes the system right from administrator \"root\""},
        BadDocument{
            "MemberOfTwoKinds",
            R"({"version": 1, "domains": [{"name": "D", "ruleGroups": [{"name": "g", "members": [{"group": "h", "rule": "r"}]}]}]})",
            "must name either a \"group\" or a \"rule\""}));

}  // namespace
}  // namespace xo::test
