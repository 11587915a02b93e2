// The objects of a store managed through the tool: the six verbs of every
// named kind, links and attribute values, memberships, the store's own
// records, and the users of directories and policies.
#include <iterator>

#include "CommandTable.h"

namespace xo::test {
namespace {

const std::string kRealm = R"(
    domain add D ; agent add gw --agent-type 'HTTP Agent'
    realm add portal --domain D --agent gw --scheme Basic
)";

// An ODBC user directory "people" over the users database.
const std::string kPeople = R"(
    odbcquery add people-queries --enumerate @Q1 --lookup-entry @Q2 --entry-kind @Q3 \
      --authenticate @Q4 --get-password @Q5 --set-password @Q6 --get-disabled @Q7 \
      --set-disabled @Q8 --user-groups @Q9 --group-members @Q10 --lookup-user @Q11
    userdir add people --type ODBC: --server @ODBC --query-scheme people-queries
)";

// add, get, list, update, rename and delete of one kind of named object:
// NOUN is followed by the verb, SCOPE says where its objects live, NEEDED is
// what add takes besides the name, UPDATE changes a typed field, and UPDATED
// checks the object afterwards (the field changed and one kept).
const std::string kVerbs = R"(
    NOUN add thing --description first NEEDED SCOPE
    NOUN add thing NEEDED SCOPE => 1 | cannot add | already taken (result -101)
    NOUN get thing --json SCOPE > ID /0/objectId | #1 | /0/name=thing | !/0/objectId= \
      | /0/description=first
    NOUN list SCOPE | NAME | thing ; NOUN list --json SCOPE | "objectId": "@ID"
    NOUN update thing --description second UPDATE SCOPE
    NOUN get thing --json SCOPE | #1 | /0/description=second UPDATED
    NOUN rename thing other SCOPE ; NOUN get other --json SCOPE | /0/objectId=@ID
    NOUN get thing SCOPE => 3 | there is no ; NOUN delete other SCOPE
    NOUN get other SCOPE => 3 | there is no | "other"
    NOUN delete nothing SCOPE => 3 | there is no
    NOUN update nothing --description x SCOPE => 3 | there is no
    NOUN rename nothing new SCOPE => 3 | there is no)";

Case Verbs(const std::string& kind, const std::string& noun, const std::string& scope,
           const std::string& needed, const std::string& update, const std::string& updated) {
  std::string script = (scope.find("--domain") != std::string::npos ? kRealm : "") + kVerbs;
  const std::string from[] = {"NOUN", "SCOPE", "NEEDED", "UPDATED", "UPDATE "};
  const std::string to[] = {noun, scope, needed, updated, update + " "};
  for (size_t i = 0; i < std::size(from); ++i) {
    for (size_t at; (at = script.find(from[i])) != std::string::npos;) {
      script.replace(at, from[i].size(), to[i]);
    }
  }
  return {kind + "AddGetListUpdateRenameDelete", script};
}

const Case kVerbCases[] = {
    Verbs("Domain", "domain", "", "", "", ""),
    Verbs("Realm", "realm", " --domain D", "--agent gw --scheme Basic", "--flag1 yes",
          "| /0/realmFlag1=true | /0/agentName=gw"),
    Verbs("Rule", "rule", " --domain D --realm portal", "--text1 GET", "--flag3 true",
          "| /0/ruleFlag3=true | /0/ruleText1=GET"),
    Verbs("Policy", "policy", " --domain D", "", "--flag on", "| /0/policyFlag=true"),
    Verbs("Response", "response", " --domain D", "--agent-type 'HTTP Agent'",
          "--agent-type 'RADIUS Agent'", "| /0/agentTypeName=RADIUS Agent"),
    Verbs("Agent", "agent", "", "--agent-type 'HTTP Agent' --string1 s", "--int -7",
          "| /0/agentInt=-7 | /0/agentString1=s"),
    Verbs("Scheme", "scheme", "", "--int1 3", "--int2 0x10",
          "| /0/schemeInt2=16 | /0/schemeInt1=3"),
    Verbs("UserDir", "userdir", "", "--type LDAP: --server ldap://h", "--max-results 50",
          "| /0/int1=50 | /0/string1=ldap://h"),
    Verbs("OdbcQuery", "odbcquery", "", "--enumerate 'SELECT 1'", "--lookup-user 'SELECT 2'",
          "| /0/query11=SELECT 2 | /0/query1=SELECT 1"),
    Verbs("Admin", "admin", "", "--new-password pw", "--flags 0x2",
          "| /0/adminFlags=2 | /0/adminText=(set)"),
    Verbs("RuleGroup", "group", " --type rule --domain D", "--agent-type 'HTTP Agent'", "",
          "| /0/vendorName=HTTP Agent"),
    Verbs("ResponseGroup", "group", " --type response --domain D", "--agent-type 'HTTP Agent'", "",
          "| /0/vendorName=HTTP Agent"),
    Verbs("AgentGroup", "group", " --type agent", "--agent-type 'HTTP Agent'", "",
          "| /0/vendorName=HTTP Agent"),
};
INSTANTIATE_TEST_SUITE_P(Verbs, Xopolicy, ::testing::ValuesIn(kVerbCases), CaseName);

const Case kObjectCases[] = {
    {"PolicyLinksBindRulesAndGroupsWithResponses", kRealm + R"(
    rule add read --domain D --realm portal ; policy add staff --domain D
    group add everyday --type rule --domain D --agent-type 'HTTP Agent'
    response add welcome --domain D --agent-type 'HTTP Agent'
    group add answers --type response --domain D --agent-type 'HTTP Agent'
    link add --domain D --policy staff --rule read --realm portal --response welcome
    link add --domain D --policy staff --rule everyday --realm portal
    link list --domain D --policy staff --json | #2 | /0/ruleName=read | /0/realmName=portal \
      | /0/responseName=welcome | /1/ruleName=everyday | /1/realmName= | /1/responseName=
    link list --domain D --policy staff | RULE | everyday
    link update --domain D --policy staff --rule everyday --realm portal --response welcome
    link get --domain D --policy staff --rule everyday --json | /0/responseName=welcome
    link update --domain D --policy staff --rule read --realm portal --response answers => 1 \
      | only a response can be set
    link delete --domain D --policy staff --rule read --realm portal
    link list --domain D --policy staff --json | #1 | /0/ruleName=everyday
    link delete --domain D --policy staff --rule read --realm portal => 3
    link list --domain D --policy nobody => 3 | there is no policy "nobody" in domain "D"
    link add --domain D --policy staff --rule write --realm portal => 1 | cannot add a link)"},
    {"ResponseAttributeValuesAreChosenByValue", R"(
    domain add D ; response add welcome --domain D --agent-type 'HTTP Agent'
    attr add HTTP-Header-Fixed --domain D --response welcome --value 'X-One: 1' --int1 3
    attr add HTTP-Header-Fixed --domain D --response welcome --value 'X-Two: 2'
    attr add HTTP-Cookie-Fixed --domain D --response welcome --value lang=en
    attr get HTTP-Header-Fixed --domain D --response welcome --json | #2 \
      | /0/attrName=HTTP-Header-Fixed | /0/attrInt1=3
    attr update HTTP-Header-Fixed --domain D --response welcome --value c => 1 \
      | has 2 values; choose one with --old-value
    attr update HTTP-Header-Fixed --domain D --response welcome --old-value 'x-two: 2' --value X-2
    attr list --domain D --response welcome --json | #3 | /0/value=X-One: 1 | /1/value=lang=en \
      | /2/value=X-2
    attr delete HTTP-Header-Fixed --domain D --response welcome --value 'x-one: 1'
    attr delete HTTP-Cookie-Fixed --domain D --response welcome
    attr list --domain D --response welcome --json | #1
    attr delete HTTP-Header-Fixed --domain D --response welcome --value z => 3
    attr add No-Such-Attribute --domain D --response welcome --value x => 1
    attr list --domain D --response nothing => 3)"},
    {"DomainUserDirectoriesKeepTheirSearchOrder", R"(
    userdir add ldap-a --type LDAP: --server ldap://localhost ; domain add D
    userdir add ldap-b --type LDAP: --server ldap://localhost
    domain add-userdir D ldap-a ; domain add-userdir D ldap-b
    domain search-order D | =ldap-a\nldap-b\n
    domain search-order D ldap-b ldap-a ; domain search-order D --json | /0=ldap-b | /1=ldap-a | #2
    domain add-userdir D ldap-a => 1 | already a member (result -2)
    domain search-order D ldap-a => 1 | (result -20)
    domain remove-userdir D ldap-b ; domain search-order D | =ldap-a\n
    domain remove-userdir D ldap-b => 3 | "ldap-b" is not in domain "D"
    domain add-userdir E ldap-a => 3 | there is no domain named "E")"},
    {"DomainAdministratorsManageTheirDomainsAndNothingElse", R"(
    admin add dora --new-password pw --flags 2 ; domain add D ; domain add Other
    domain add-admin D dora ; domain admins D | =dora\n
    XO_ADMIN=dora policy add p --domain D
    XO_ADMIN=dora policy add p --domain Other => 1 | "dora" may not manage domain "Other"
    XO_ADMIN=dora agent add a --agent-type 'HTTP Agent' => 1 | outside the domains
    XO_ADMIN=dora audit => 1 | that takes the system right
    XO_ADMIN=dora commands => 1 | that takes the system right
    domain remove-admin D dora ; XO_ADMIN=dora policy list --domain D => 1)"},
    {"GroupMembersNestInOrderWithoutLoops", kRealm + R"(
    rule add read --domain D --realm portal
    group add outer --type rule --domain D --agent-type 'HTTP Agent'
    group add inner --type rule --domain D --agent-type 'HTTP Agent'
    group add-member outer read --realm portal --type rule --domain D
    group add-member outer inner --type rule --domain D
    group members outer --type rule --domain D | =read\ninner\n
    group add-member inner outer --type rule --domain D => 1 | loop
    group remove-member outer read --realm portal --type rule --domain D
    group members outer --type rule --domain D --json | #1 | /0=inner
    group remove-member inner outer --type rule --domain D => 1 | (result -4)
    group members nothing --type rule --domain D => 3 | no rule group "nothing" in domain "D")"},
    {"RealmsNameTheirParentAndRulesAreListedAcrossRealms", kRealm + R"(
    realm add payroll --domain D --agent gw --scheme Basic --parent portal
    realm list --domain D --json | #2 | /0/parentName= | /1/parentName=portal
    realm list --domain D | NAME     PARENT  AGENT  SCHEME | payroll  portal  gw     Basic\n
    rule add read --domain D --realm portal ; rule add read --domain D --realm payroll
    rule add write --domain D --realm payroll
    rule list --domain D --json | #3 | /0/realmName=portal
    rule list --domain D --realm payroll --json | #2 | /1/name=write
    realm flush nowhere --domain D => 1)"},
    {"AuditListsChangesByTimeAdministratorAndObject", R"(
    admin add sys --new-password pw --flags 1 ; domain add D
    XO_ADMIN=sys domain update D --description 'by sys'
    audit --by root --object D --json > DOMAIN /0/objectId | #1 | /0/operation=create \
      | /0/kind=domain | /0/name=D | re:"time": "\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"
    audit --by sys --json | #1 | /0/operation=update
    audit --object @DOMAIN --json | #2
    audit --since 2999-01-01 --json | #0 ; audit --since 32503680000 --json | #0
    audit --since 1970-01-01T00:00Z --json | !#0 ; audit | OPERATION)"},
    {"ServerCommandsAreRecordedAsTheAdministratorsRightsAllow", kRealm + R"(
    command 4 'reload all' ; realm flush portal --domain D
    realm get portal --domain D --json > REALM /0/objectId
    commands --json | #2 | /0/command=8 | /0/argument=reload all | /1/command=5 \
      | /1/argument=@REALM
    admin add ops --new-password pw --flags 131074 ; domain add-admin D ops
    XO_ADMIN=ops command 1 ; XO_ADMIN=ops command 2 => 1 | "ops" may not issue it)"},
    {"StoreInfoSaysWhereAndCountsObjectsAndRenameTakesAnyIdentifier", R"(
    agent add gw --agent-type 'HTTP Agent'
    store info --json | /backend=sqlite | /location=@STORE | !/schemaVersion=0 \
      | /objects/agent=1 | /objects/administrator=1 | /objects/agent type=2
    store info | schema version | @STORE
    agent get gw --json > AGENT /0/objectId ; rename @AGENT gateway
    agent get gateway --json | /0/objectId=@AGENT
    rename 01-00000000-0000-4000-8000-000000000000 x => 3 \
      | 01-00000000-0000-4000-8000-000000000000)"},
    {"DirectoryUsersAreListedDisabledFlushedAndGivenPasswords", kPeople + R"(
    user list --userdir people --json | #5 | /0/entry=users/alice | Alice Liddell
    user list --userdir people | groups/staff
    userdir update people --max-results 2
    user list --userdir people --json | #2 | err:the listing was cut after 2 entries
    userdir update people --max-results 5 ; user list --userdir people | groups/staff
    user disable users/bob --userdir nowhere => 3 | there is no user directory named "nowhere"
    $users SELECT disabled FROM users WHERE name = 'bob' | =
    user disable users/bob --reason failed-logins --userdir people
    $users SELECT disabled FROM users WHERE name = 'bob' | =4
    user get users/bob --userdir people --json | /0/disabled=failed-logins
    user enable users/bob --userdir people ; user get users/bob --userdir people --json \
      | /0/disabled=no
    ~XO_PASSWORD user set-password users/carol --userdir people --password-stdin \
      --new-password-stdin | < pw\nnew-secret\n
    $users SELECT password FROM users WHERE name = 'carol' | =new-secret
    user flush users/alice --userdir people ; commands --json | #1 | users/alice)"},
    {"PolicyUsersAreAttachedListedAndDetached", kPeople + R"(
    domain add D ; policy add staff-only --domain D
    policy add-user staff-only --domain D --userdir people --entry groups/staff --resolution group
    policy users staff-only --domain D --userdir people --json | #1 | /0/entry=groups/staff \
      | /0/kindName=User Group
    audit --json | "name": "groups/staff"
    policy remove-user staff-only --domain D --userdir people --entry groups/staff
    policy users staff-only --domain D --userdir people --json | #0
    policy remove-user staff-only --domain D --userdir people --entry groups/staff => 3
    policy add-user staff-only --domain D --userdir people --entry users/nobody => 1)"},
};
INSTANTIATE_TEST_SUITE_P(Objects, Xopolicy, ::testing::ValuesIn(kObjectCases), CaseName);

}  // namespace
}  // namespace xo::test
