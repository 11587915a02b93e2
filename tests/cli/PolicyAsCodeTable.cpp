// `xopolicy export` and `xopolicy apply`: plans, changes in place, pruning,
// refusals, secrets, and stores (made by hand and at random) carried whole to
// a new store.
#include <cstdlib>
#include <sstream>

#include "CommandTable.h"

namespace xo::test {
namespace {

// A small but complete policy: system objects of every kind that needs no
// directory server, and a domain whose objects refer to them and to each other.
const bool kIntranet = AddDocument("INTRANET", R"doc({"version": 1, "system": {
    "odbcQuerySchemes": [{"name": "hr-queries", "queries": ["SELECT name FROM staff", "", "", "",
      "", "", "", "", "", "", "", "", "", "", ""]}],
    "userDirectories": [{"name": "staff-ldap", "type": "LDAP:", "strings": ["ldap://staff.example",
      "ou=staff", "(uid=", ")", "", "", "", "", "", "", "", "", ""]},
      {"name": "hr-db", "type": "ODBC:", "queryScheme": "hr-queries"}],
    "schemes": [{"name": "staff-password", "integers": [1, 0], "strings": ["basic", "", ""]}],
    "agents": [{"name": "intranet-gateway", "agentType": "HTTP Agent", "integer": 2},
      {"name": "backup-gateway", "agentType": "HTTP Agent"}],
    "agentGroups": [{"name": "gateways", "agentType": "HTTP Agent",
      "members": ["intranet-gateway", "backup-gateway"]}],
    "administrators": [{"name": "alice", "flags": 2, "password": "alice-pw"}]},
  "domains": [{"name": "Intranet", "description": "the company intranet",
    "userDirectories": ["staff-ldap", "hr-db"], "administrators": ["alice"],
    "realms": [{"name": "payroll", "agent": "intranet-gateway", "scheme": "staff-password",
      "parent": "portal", "flags": [true, false, false, false]}, {"name": "portal",
      "description": "every page", "text": "/", "agent": "gateways", "scheme": "staff-password"}],
    "rules": [{"realm": "portal", "name": "read-pages", "texts": ["GET", "/", ""]},
      {"realm": "portal", "name": "post-forms", "texts": ["POST", "/forms", ""]},
      {"realm": "payroll", "name": "read-payslips", "flags": [true, false, false]}],
    "ruleGroups": [{"name": "everyday-use", "agentType": "HTTP Agent", "members": [
      {"realm": "portal", "rule": "read-pages"}, {"realm": "payroll", "rule": "read-payslips"}]},
      {"name": "everything", "agentType": "HTTP Agent", "members": [{"group": "everyday-use"},
      {"realm": "portal", "rule": "post-forms"}]}],
    "responses": [{"name": "welcome", "agentType": "HTTP Agent", "attributes": [
      {"attribute": "HTTP-Header-Fixed", "value": "X-Portal-User: employee"},
      {"attribute": "HTTP-Cookie-Fixed", "value": "portal-lang=en", "integers": [1, 0]}]}],
    "responseGroups": [{"name": "greetings", "agentType": "HTTP Agent", "members": ["welcome"]}],
    "policies": [{"name": "employees", "flag": true, "links": [
      {"group": "everyday-use", "response": "greetings"},
      {"realm": "portal", "rule": "post-forms"}]}]}]})doc");

// Users of policy D/p from the directory "people".
const bool kUsers = AddDocument("USERS", R"({"version": 1, "domains": [{"name": "D", "policies": [
  {"name": "p", "users": [{"directory": "people", "entry": "users/alice"},
  {"directory": "people", "entry": "groups/staff", "resolution": "nested-group"}]}]}]})");

const std::string kPortal = R"(
    domain add D ; agent add gw --agent-type 'HTTP Agent'
    realm add portal --domain D --agent gw --scheme Basic
)";

const Case kApplyCases[] = {
    {"DryRunPlansParentsFirstAndASecondApplyChangesNothing", R"(
    apply - --dry-run | < @INTRANET | unchanged | + agent intranet-gateway\n \
      | + realm Intranet/portal\n | + rule Intranet/payroll/read-payslips\n \
      | Plan: 19 to create, 0 to change, 0 to delete.\n \
      | re:\+ realm Intranet/portal[\s\S]*\+ realm Intranet/payroll \
      | re:\+ agent group gateways[\s\S]*\+ realm Intranet/portal
    apply - | < @INTRANET
    XO_ADMIN=alice XO_PASSWORD=alice-pw policy list --domain Intranet | employees
    apply - | < @INTRANET | unchanged | =no changes\n
    apply - | unchanged | =no changes\n | < {"version": 1, "domains": [{"name": "Intranet", \
      "realms": [{"name": "portal"}], "rules": [{"realm": "portal", "name": "read-pages"}]}]})"},
    {"ExportNamesEveryReferenceAndCarriesTheStoreWhole", R"(
    apply - | < @INTRANET
    export | !re:[0-9a-fA-F]{2}-[0-9a-fA-F]{8}- | !$argon2id$ \
      | /domains/0/userDirectories=["staff-ldap", "hr-db"] | /domains/0/realms/0/parent=portal \
      | /domains/0/realms/1/parent= | /domains/0/realms/1/agent=gateways \
      | /domains/0/ruleGroups/1/members=[{"group": "everyday-use"}, \
          {"realm": "portal", "rule": "post-forms"}] \
      | /domains/0/policies/0/links=[{"group": "everyday-use", "response": "greetings"}, \
          {"realm": "portal", "rule": "post-forms", "response": ""}] \
      | /system/userDirectories/0/queryScheme=hr-queries
    export --domain Intranet | !/system | /domains/0/name=Intranet | !/domains/1
    export --domain Extranet => 1 | Extranet)",
     true, "--include-password-hashes"},
    // An export is written as it is read: one that fails is never taken for
    // a whole document, and a file it was to replace stays as it was.
    {"AFailedExportSaysSoAndKeepsTheFileItWasToReplace", R"(
    apply - | < @INTRANET ; export --output @DIR/policy.json
    export --output /dev/full => 1 | cannot write /dev/full
    XO_PASSWORD=wrong export --output @DIR/policy.json => 4
    export --domain Extranet --output @DIR/policy.json => 1 | there is no domain
    apply @DIR/policy.json | =no changes\n)"},
    {"ChangedFieldsAreUpdatedInPlace", R"(
    apply - | < @INTRANET
    realm update portal --domain Intranet --description 'all pages'
    domain search-order Intranet hr-db staff-ldap
    attr update HTTP-Cookie-Fixed --domain Intranet --response welcome --value x=y
    group remove-member gateways backup-gateway --type agent
    apply - | < @INTRANET | Plan: 0 to create, 4 to change, 0 to delete.\n \
      | ~ realm Intranet/portal (description: "all pages" -> "every page")\n \
      | ~ agent group gateways (members: +"backup-gateway")\n
    audit --object portal --json | #3
    export | /domains/0/realms/1/description=every page | portal-lang=en | !x=y \
      | /domains/0/userDirectories=["staff-ldap", "hr-db"] | /domains/0/rules/2 \
      | !/domains/0/rules/3
    apply - | < @INTRANET | unchanged | =no changes\n)"},
    {"PruneDeletesWhatTheFileLeavesOutOnlyWhenAsked", R"(
    apply - | < @INTRANET ; domain add Extranet
    apply - --prune | unchanged | =no changes\n \
      | < {"version": 1, "domains": [{"name": "Extranet"}]}
    rule add extra --domain Intranet --realm portal ; agent add spare --agent-type 'HTTP Agent'
    apply - | < @INTRANET | !re:(^|\n)-
    apply - --prune | < @INTRANET | - rule Intranet/portal/extra\n | - agent spare\n \
      | !root | !Basic
    export | !extra | !spare | /system/administrators/1 | !/system/administrators/2
    apply - --prune | < @INTRANET | unchanged | =no changes\n
    apply - --prune | re:- realm Intranet/payroll[\s\S]*- realm Intranet/portal \
      | re:- rule [\s\S]*- realm | < {"version": 1, "domains": [{"name": "Intranet", \
      "realms": [], "rules": [], "ruleGroups": [], "policies": []}]}
    export | /domains/0/realms=[] | /domains/0/responses/0/name=welcome)"},
    {"RefusedDocumentsChangeNothing", R"(
    apply - | < @INTRANET
    apply - => 1 | out:+ domain Extranet\n | rule Extranet/no-such-realm/last-rule \
      | nothing was changed | < {"version": 1, "domains": [{"name": "Intranet", \
      "description": "changed first"}, {"name": "Extranet", "rules": [{"realm": "no-such-realm", \
      "name": "last-rule"}]}]}
    XO_PASSWORD=wrong apply - => 4 | password | < @INTRANET
    apply - => 1 | "bob" | password \
      | < {"version": 1, "system": {"administrators": [{"name": "bob", "flags": 1}]}}
    apply - => 1 | out:+ rule group Intranet/g\n | rule group Intranet/g \
      | takes "read" for the rule group | < {"version": 1, "domains": [{"name": "Intranet", \
      "rules": [{"realm": "portal", "name": "read"}], "ruleGroups": [{"name": "read", \
      "agentType": "HTTP Agent"}, {"name": "g", "agentType": "HTTP Agent", \
      "members": [{"realm": "portal", "rule": "read"}]}]}]})"},
    {"MalformedDocumentsAreRefusedSayingWhere", R"(
    apply - => 1 | is not valid JSON | < {"version": 1, "domains": [
    apply - => 1 | must be a JSON object | < [1, 2]
    apply - => 1 | "version" must be 1 | < {"domains": []}
    apply - => 1 | unknown key "domainz" | < {"version": 1, "domainz": []}
    apply - => 1 | domains[0]: unknown key "realmz" \
      | < {"version": 1, "domains": [{"name": "D", "realmz": []}]}
    apply - => 1 | system: unknown key "agentz" | < {"version": 1, "system": {"agentz": []}}
    apply - => 1 | domains[0].rules[0].flags: must be a JSON array \
      | < {"version": 1, "domains": [{"name": "D", "rules": [{"realm": "r", "name": "x", \
      "flags": "yes"}]}]}
    apply - => 1 | system.agents[0].strings: must hold exactly 2 values \
      | < {"version": 1, "system": {"agents": [{"name": "a", "strings": ["x"]}]}}
    apply - => 1 | system.agents[0].strings[1]: must be a text \
      | < {"version": 1, "system": {"agents": [{"name": "a", "strings": ["x", 2]}]}}
    apply - => 1 | system.schemes[0]: needs "name" \
      | < {"version": 1, "system": {"schemes": [{"description": "x"}]}}
    apply - => 1 | domain "D" appears twice \
      | < {"version": 1, "domains": [{"name": "D"}, {"name": "D"}]}
    apply - => 1 | users[0].resolution: must be one of default, user, group \
      | < {"version": 1, "domains": [{"name": "D", "policies": [{"name": "p", "users": [ \
      {"directory": "d", "entry": "e", "resolution": "everyone"}]}]}]}
    apply - => 1 | takes the system right from administrator "root" \
      | < {"version": 1, "system": {"administrators": [{"name": "root", "flags": 2}]}}
    apply - => 1 | must name either a "group" or a "rule" \
      | < {"version": 1, "domains": [{"name": "D", "ruleGroups": [{"name": "g", \
      "members": [{"group": "h", "rule": "r"}]}]}]})"},
    {"BindPasswordIsShownOnlyWhenAskedFor", R"(
    userdir add corp --type LDAP: --server ldap://localhost --bind-password bind-secret-42
    userdir get corp | !bind-secret-42 ; userdir get corp --json | !bind-secret-42 | (set)
    userdir list --json | !bind-secret-42 ; audit | !bind-secret-42
    userdir get corp --json --show-secrets | bind-secret-42
    export > PLAIN | !bind-secret-42
    apply @DIR/PLAIN | unchanged | =no changes\n
    export --include-secrets | /system/userDirectories/0/bindPassword=bind-secret-42)",
     true, "--include-secrets"},
    {"FirstAdministratorComesToAnotherStoreOnlyWithItsHash", R"(
    export > PLAIN ; export --include-password-hashes > HASHED
    init --hash-cost minimum --store @OTHER --admin ops --password pw
    XO_ADMIN=ops apply @DIR/PLAIN --store @OTHER => 1 \
      | administrator "root" is not in the store yet | --include-secrets
    XO_ADMIN=ops apply @DIR/HASHED --store @OTHER
    export --store @OTHER | /system/administrators/1 | !/system/administrators/2)"},
    // Changes made with the tool are undone by applying the file again.
    {"PolicyUsersComeFromTheirDirectory", R"(
    odbcquery add people-queries --enumerate @Q1 --lookup-entry @Q2 --entry-kind @Q3
    userdir add people --type ODBC: --server @ODBC --query-scheme people-queries
    domain add D ; policy add p --domain D ; apply - | < @USERS
    export | /domains/0/policies/0/users=[ \
        {"directory": "people", "entry": "groups/staff", "resolution": "nested-group"}, \
        {"directory": "people", "entry": "users/alice", "resolution": "default"}]
    policy remove-user p --domain D --userdir people --entry users/alice
    policy add-user p --domain D --userdir people --entry users/alice --resolution default
    apply - | < @USERS | unchanged | =no changes\n
    policy remove-user p --domain D --userdir people --entry groups/staff
    policy add-user p --domain D --userdir people --entry groups/staff --resolution group
    policy add-user p --domain D --userdir people --entry users/bob
    apply - | < @USERS | -{"directory":"people","entry":"users/bob" \
      | (users: +{"directory":"people","entry":"groups/staff","resolution":"nested-group"}
    export | /domains/0/policies/0/users/0/resolution=nested-group \
      | !/domains/0/policies/0/users/2)",
     true, "--include-password-hashes"},
    // Stores an export must carry whole that random stores do not make. This
    // link was bound while the realm held no rule of the group's name.
    {"LinksToGroupsNamedLikeARule", kPortal + R"(
    group add admin --type rule --domain D --agent-type 'HTTP Agent'
    response add welcome --domain D --agent-type 'HTTP Agent'
    attr add HTTP-Header-Fixed --domain D --response welcome --value 'X-User: staff'
    group add greetings --type response --domain D --agent-type 'HTTP Agent'
    group add-member greetings welcome --type response --domain D ; policy add p --domain D
    link add --domain D --policy p --rule admin --realm portal --response greetings
    rule add admin --domain D --realm portal
    export | /domains/0/policies/0/links=[{"group": "admin", "response": "greetings"}])",
     true, "--include-password-hashes"},
    // A copy is the store itself, hashes, identifiers and audit trail
    // included, and goes only where no store is.
    {"ACopyExportsTheSameAndNeverOverwrites", R"(
    $random 4 > CALLS ; export --include-password-hashes > ORIGINAL ; audit > TRAIL
    store copy @STORE @OTHER | =Copied the store at @STORE to @OTHER.\n
    export --include-password-hashes --store @OTHER | =@ORIGINAL
    audit --store @OTHER | =@TRAIL
    store copy @STORE @OTHER => 1 | already exists
    store copy @DIR/none.db @DIR/copy.db => 1 | no policy store at)"},
    {"LinkToAGroupOfADomainWithoutRealms", kPortal + R"(
    group add g --type rule --domain D --agent-type 'HTTP Agent' ; policy add p --domain D
    link add --domain D --policy p --rule g --realm portal ; realm delete portal --domain D
    export | /domains/0/realms=[] | /domains/0/policies/0/links=[{"group": "g", "response": ""}])",
     true, "--include-password-hashes"},
};
INSTANTIATE_TEST_SUITE_P(PolicyAsCode, Xopolicy, ::testing::ValuesIn(kApplyCases), CaseName);

// Policy as code over random stores. A store is built at random through the
// API from a seed (support/RandomStore.h), exported with `xopolicy export`,
// applied with `xopolicy apply` to a new store made with `xopolicy init`, and
// that store is exported again. The two exports must be equal byte for byte,
// a second apply must find nothing to do, and the two stores must hold the
// same objects (support/StoreModel.h).
//
// Both stores are made with the same first administrator, and the exports
// include the password hashes: an administrator the file creates needs one,
// and the first administrator's hash is taken over from the file as well, so
// that nothing in the second export comes from the second store's own init.
//
// ctest runs the seeds 1 to 5, one test each
// (RandomStores/Xopolicy.CommandLines/seed_3). For more seeds, run the suite
// by hand with XO_ROUNDTRIP_SEEDS set to a count ("100": the seeds 1 to 100)
// or to a list of seeds and ranges ("7,20-29"):
//
//   export XO_CLI=build/cli/xopolicy XO_ROUNDTRIP_SEEDS=100
//   build/tests/cli_tests --gtest_filter='RandomStores/*'
//
// With XO_KEEP=DIR, each seed's directory is left in DIR/seed_N: the calls
// that built the store (CALLS) and both exports (EXPORTED, AGAIN).
std::vector<Case> RandomStores() {
  const char* given = std::getenv("XO_ROUNDTRIP_SEEDS");
  std::string text = given && *given ? given : "5";
  if (text.find_first_of(",-") == std::string::npos) text = "1-" + text;
  std::vector<Case> cases;
  std::istringstream items(text);
  for (std::string item; std::getline(items, item, ',');) {
    // "7" is 7 to 7 (npos + 1 is 0), "20-29" is 20 to 29.
    for (unsigned long seed = std::stoul(item), last = std::stoul(item.substr(item.find('-') + 1));
         seed <= last; ++seed) {
      const std::string n = std::to_string(seed);
      cases.push_back(
          {"seed_" + n, "$random " + n + " > CALLS", true, "--include-password-hashes"});
    }
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(RandomStores, Xopolicy, ::testing::ValuesIn(RandomStores()), CaseName);

}  // namespace
}  // namespace xo::test
