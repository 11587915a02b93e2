// A realistic domain built through the flat interface alone (an agent, an
// agent group and a scheme; a realm tree three deep holding 200 rules; nested
// rule and response groups; responses with attributes; policies binding
// rules and rule groups to responses and response groups), read back whole,
// and deleted again.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"

namespace xo::test {
namespace {

constexpr const char* kDomain = "intranet";
constexpr const char* kAgent = "web-gateway";
constexpr const char* kAgentGroup = "edge";
constexpr const char* kScheme = "corporate-password";
constexpr const char* kHttp = "HTTP Agent";
constexpr int kRulesPerRealm = 50;

struct RealmPlan {
  const char* name;
  const char* parent;  // empty for a realm directly under the domain
  const char* agent;
};
// site > apps > hr, and site > docs; hr is served by an agent group.
constexpr RealmPlan kRealms[] = {{"site", "", kAgent},
                                 {"apps", "site", kAgent},
                                 {"hr", "apps", kAgentGroup},
                                 {"docs", "site", kAgent}};

std::string PageName(int i) {
  char name[16];
  std::snprintf(name, sizeof name, "page-%02d", i);
  return name;
}

// Reads one object back through `get`, which must find exactly one, and
// compares it with the expected record.
template <class Record, class Get>
void ExpectOne(Get&& get, const Record& expected, XoObjId_Class cls, const std::string& what) {
  Record* list = nullptr;
  ASSERT_EQ(get(&list), 0) << what;
  const std::vector<Record> found = Collect(list);
  ASSERT_EQ(found.size(), 1u) << what;
  ExpectRecord(found[0], expected, cls, what);
}

class EndToEndTest : public ApiTest {
 protected:
  AgentRecord agent_ = Zeroed<AgentRecord>();
  SchemeRecord scheme_ = Zeroed<SchemeRecord>();
  std::vector<RealmRecord> realms_;
  std::map<std::pair<std::string, std::string>, RuleRecord> rules_;  // (realm, rule)
  std::vector<GroupRecord> ruleGroups_, responseGroups_;
  std::vector<ResponseRecord> responses_;
  std::map<std::string, std::vector<ResponseAttrRecord>> attributes_;  // by response
  std::vector<PolicyRecord> policies_;
  std::map<std::string, std::vector<PolicyLinkRecord>> links_;  // by policy

  void AddAgentAndScheme() {
    Put(agent_.name, kAgent);
    Put(agent_.description, "reverse proxy in front of the intranet");
    Put(agent_.agentString1, "gateway.example.com");
    Put(agent_.agentString2, "10.0.0.7");
    Put(agent_.agentTypeName, kHttp);
    agent_.agentInt = 443;
    ASSERT_EQ(Xo_PolicyApi_AddAgent(handle_, &agent_, 0), 0);
    agent_.recordType = AgentRecordType;

    GroupRecord edge = Zeroed<GroupRecord>();
    Put(edge.name, kAgentGroup);
    Put(edge.vendorName, kHttp);
    ASSERT_EQ(Xo_PolicyApi_AddGroup(handle_, XO_GROUP_AGENT, nullptr, &edge, 0), 0);
    ASSERT_EQ(
        Xo_PolicyApi_AddToGroup(handle_, XO_GROUP_AGENT, kAgentGroup, kAgent, nullptr, nullptr), 0);

    Put(scheme_.name, kScheme);
    Put(scheme_.description, "passwords from the company directory");
    scheme_.schemeInt1 = 5;
    Put(scheme_.schemeString1, "basic");
    Put(scheme_.schemeString2, "ldap://directory.example.com");
    scheme_.schemeFlag1 = 1;
    scheme_.schemeInt2 = 30;
    scheme_.schemeFlag4 = 1;
    ASSERT_EQ(Xo_PolicyApi_AddScheme(handle_, &scheme_, 0), 0);
    scheme_.recordType = SchemeRecordType;
  }

  void AddDomainAndRealms() {
    DomainRecord domain = Zeroed<DomainRecord>();
    Put(domain.name, kDomain);
    Put(domain.description, "the company intranet");
    ASSERT_EQ(Xo_PolicyApi_AddDomain(handle_, &domain, 0), 0);

    for (const RealmPlan& plan : kRealms) {
      RealmRecord realm = Zeroed<RealmRecord>();
      Put(realm.name, plan.name);
      Put(realm.description, std::string("the ") + plan.name + " area");
      Put(realm.realmText, std::string("/") + plan.name);
      Put(realm.agentName, plan.agent);
      Put(realm.schemeName, kScheme);
      Put(realm.parentName, plan.parent);
      realm.realmFlag1 = 1;
      realm.realmFlag3 = 1;
      realm.realmInt1 = 3600;
      realm.realmInt2 = 900;
      realm.realmFlag4 = 1;
      ASSERT_EQ(Xo_PolicyApi_AddRealm(handle_, kDomain, &realm, 0), 0) << plan.name;
      // Read back, a realm directly under the domain names the domain as parent.
      realm.recordType = RealmRecordType;
      if (plan.parent[0] == '\0') Put(realm.parentName, kDomain);
      realms_.push_back(realm);
    }
  }

  void AddRules() {
    for (const RealmPlan& plan : kRealms) {
      for (int i = 0; i < kRulesPerRealm; ++i) {
        RuleRecord rule = Zeroed<RuleRecord>();
        Put(rule.name, PageName(i));
        Put(rule.description, "page " + std::to_string(i) + " of " + plan.name);
        Put(rule.realmName, plan.name);
        Put(rule.ruleText1, i % 2 ? "GET,POST" : "GET");
        Put(rule.ruleText2, std::string("/") + plan.name + "/" + PageName(i));
        Put(rule.ruleText3, i % 7 ? "" : "audit");
        Put(rule.timeText, "ignored by the library");
        rule.ruleFlag1 = i % 2;
        rule.ruleFlag2 = i % 3 == 0;
        rule.ruleFlag3 = i % 5 == 0;
        ASSERT_EQ(Xo_PolicyApi_AddRule(handle_, kDomain, &rule, 0), 0) << plan.name << i;
        rule.recordType = RuleRecordType;
        std::memset(rule.timeText, 0, sizeof rule.timeText);
        rules_[{plan.name, PageName(i)}] = rule;
      }
    }
  }

  void AddGroup(int32_t type, const std::string& name, std::vector<GroupRecord>& added) {
    GroupRecord group = Zeroed<GroupRecord>();
    Put(group.name, name);
    Put(group.description, name + " of the intranet");
    Put(group.vendorName, kHttp);
    ASSERT_EQ(Xo_PolicyApi_AddGroup(handle_, type, kDomain, &group, 0), 0) << name;
    group.recordType = GroupRecordType;
    added.push_back(group);
  }

  void AddMember(int32_t type, const std::string& group, const std::string& member,
                 const char* realm = nullptr) {
    ASSERT_EQ(Xo_PolicyApi_AddToGroup(handle_, type, group.c_str(), member.c_str(), kDomain, realm),
              0)
        << group << " <- " << member;
  }

  // all-pages > hr-pages > hr-core, three deep.
  void AddRuleGroups() {
    for (const char* name : {"hr-core", "hr-pages", "all-pages"}) {
      AddGroup(XO_GROUP_RULE, name, ruleGroups_);
    }
    for (int i = 0; i < 10; ++i) AddMember(XO_GROUP_RULE, "hr-core", PageName(i), "hr");
    AddMember(XO_GROUP_RULE, "hr-pages", "hr-core");
    for (int i = 10; i < kRulesPerRealm; ++i) {
      AddMember(XO_GROUP_RULE, "hr-pages", PageName(i), "hr");
    }
    AddMember(XO_GROUP_RULE, "all-pages", "hr-pages");
    for (int i = 0; i < 5; ++i) AddMember(XO_GROUP_RULE, "all-pages", PageName(i), "docs");
  }

  void AddResponse(const std::string& name,
                   const std::vector<std::pair<std::string, std::string>>& attributes) {
    ResponseRecord response = Zeroed<ResponseRecord>();
    Put(response.name, name);
    Put(response.description, "sent with " + name);
    Put(response.agentTypeName, kHttp);
    ASSERT_EQ(Xo_PolicyApi_AddResponse(handle_, kDomain, &response, 0), 0) << name;
    response.recordType = ResponseRecordType;
    responses_.push_back(response);
    for (const auto& [attribute, value] : attributes) {
      ResponseAttrRecord record = Zeroed<ResponseAttrRecord>();
      Put(record.attrName, attribute);
      Put(record.value, value);
      record.attrInt1 = static_cast<int32_t>(attributes_[name].size());
      record.attrInt2 = 7;
      ASSERT_EQ(Xo_PolicyApi_AddResponseAttr(handle_, name.c_str(), kDomain, &record), 0);
      record.recordType = ResponseAttrRecordType;
      attributes_[name].push_back(record);
    }
  }

  // greetings > tracking, two deep.
  void AddResponses() {
    AddResponse("welcome", {{"HTTP-Header-Fixed", "X-Portal: intranet"},
                            {"HTTP-Cookie-Fixed", "lang=en"},
                            {"HTTP-Redirect-URL", "https://intranet.example.com/home"}});
    AddResponse("denied", {{"HTTP-Redirect-URL", "https://intranet.example.com/denied"}});
    AddResponse("audit-header", {{"HTTP-Header-Variable", "X-User: uid"}});
    AddGroup(XO_GROUP_RESPONSE, "tracking", responseGroups_);
    AddGroup(XO_GROUP_RESPONSE, "greetings", responseGroups_);
    AddMember(XO_GROUP_RESPONSE, "tracking", "audit-header");
    AddMember(XO_GROUP_RESPONSE, "greetings", "welcome");
    AddMember(XO_GROUP_RESPONSE, "greetings", "tracking");
  }

  void AddPolicy(const std::string& name, const std::string& text1, uint8_t flag) {
    PolicyRecord policy = Zeroed<PolicyRecord>();
    Put(policy.name, name);
    Put(policy.description, "who may see what: " + name);
    Put(policy.policyText1, text1);
    policy.policyFlag = flag;
    Put(policy.policyText2, "weekdays");
    ASSERT_EQ(Xo_PolicyApi_AddPolicy(handle_, kDomain, &policy, 0), 0) << name;
    policy.recordType = PolicyRecordType;
    policies_.push_back(policy);
  }

  // A rule group is bound with a realm name too (the binding looks for a rule
  // first), but reads back without one.
  void Bind(const std::string& policy, const std::string& realm, const std::string& rule,
            const std::string& response, bool isGroup = false) {
    PolicyLinkRecord link = Zeroed<PolicyLinkRecord>();
    Put(link.realmName, realm);
    Put(link.ruleName, rule);
    Put(link.responseName, response);
    ASSERT_EQ(Xo_PolicyApi_AddPolicyLink(handle_, kDomain, policy.c_str(), &link), 0)
        << policy << " " << rule;
    link.recordType = PolicyLinkRecordType;
    if (isGroup) std::memset(link.realmName, 0, sizeof link.realmName);
    links_[policy].push_back(link);
  }

  void AddPolicies() {
    AddPolicy("employees", "everyone on the payroll", 1);
    AddPolicy("visitors", "guests with a day pass", 0);
    Bind("employees", "site", "all-pages", "greetings", true);
    Bind("employees", "site", PageName(0), "welcome");
    Bind("employees", "apps", PageName(1), "");
    Bind("visitors", "docs", PageName(0), "denied");
    Bind("visitors", "hr", "hr-core", "denied", true);
  }

  std::vector<std::string> DomainNames(uint32_t kind) {
    char** names = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetDomainObjectNames(handle_, kDomain, kind, &names), 0) << kind;
    return Names(names);
  }

  std::vector<std::string> Members(int32_t type, const char* group, const char* domain = kDomain) {
    char** names = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetGroupNames(handle_, type, group, domain, &names), 0) << group;
    return Names(names);
  }

  void CheckSystemObjects() {
    ExpectOne([&](AgentRecord** l) { return Xo_PolicyApi_GetAgent(handle_, kAgent, l); }, agent_,
              XoObjId_Device, "agent");
    ExpectOne([&](SchemeRecord** l) { return Xo_PolicyApi_GetScheme(handle_, kScheme, l); },
              scheme_, XoObjId_Scheme, "scheme");
    EXPECT_EQ(Members(XO_GROUP_AGENT, kAgentGroup, nullptr), std::vector<std::string>{kAgent});
  }

  void CheckRealmsAndRules() {
    std::vector<std::string> realmNames, ruleNames;
    for (const RealmRecord& expected : realms_) {
      realmNames.push_back(expected.name);
      ExpectOne(
          [&](RealmRecord** l) {
            return Xo_PolicyApi_GetRealm(handle_, expected.name, kDomain, l);
          },
          expected, XoObjId_Realm, expected.name);
    }
    EXPECT_EQ(DomainNames(XO_DOMAIN_REALMS), realmNames);

    for (const RealmPlan& plan : kRealms) {
      for (int i = 0; i < kRulesPerRealm; ++i) {
        const std::string rule = PageName(i);
        ruleNames.push_back(rule);
        ExpectOne(
            [&](RuleRecord** l) {
              return Xo_PolicyApi_GetRule(handle_, rule.c_str(), plan.name, kDomain, l);
            },
            rules_[{plan.name, rule}], XoObjId_Rule, plan.name + (" " + rule));
      }
    }
    EXPECT_EQ(DomainNames(XO_DOMAIN_RULES), ruleNames);
  }

  void CheckGroups(int32_t type, const std::vector<GroupRecord>& groups, uint32_t kind,
                   XoObjId_Class cls) {
    std::vector<std::string> names;
    for (const GroupRecord& expected : groups) {
      names.push_back(expected.name);
      ExpectOne(
          [&](GroupRecord** l) {
            return Xo_PolicyApi_GetGroup(handle_, type, expected.name, kDomain, l);
          },
          expected, cls, expected.name);
      uint8_t isGroup = 0;
      EXPECT_EQ(Xo_PolicyApi_IsGroup(handle_, type, expected.name, kDomain, &isGroup), 0);
      EXPECT_EQ(isGroup, 1);
    }
    EXPECT_EQ(DomainNames(kind), names);
  }

  void CheckGroupMembers() {
    std::vector<std::string> hrPages = {"hr-core"};
    for (int i = 10; i < kRulesPerRealm; ++i) hrPages.push_back(PageName(i));
    std::vector<std::string> hrCore;
    for (int i = 0; i < 10; ++i) hrCore.push_back(PageName(i));
    EXPECT_EQ(Members(XO_GROUP_RULE, "hr-core"), hrCore);
    EXPECT_EQ(Members(XO_GROUP_RULE, "hr-pages"), hrPages);
    EXPECT_EQ(Members(XO_GROUP_RULE, "all-pages"),
              (std::vector<std::string>{"hr-pages", "page-00", "page-01", "page-02", "page-03",
                                        "page-04"}));
    EXPECT_EQ(Members(XO_GROUP_RESPONSE, "greetings"),
              (std::vector<std::string>{"welcome", "tracking"}));
    EXPECT_EQ(Members(XO_GROUP_RESPONSE, "tracking"), std::vector<std::string>{"audit-header"});
  }

  // Each parent read back, and the list of its children, record by record.
  template <class Parent, class Child, class GetParent, class GetChildren>
  void CheckParents(const std::vector<Parent>& parents,
                    std::map<std::string, std::vector<Child>>& children, GetParent&& getParent,
                    GetChildren&& getChildren, XoObjId_Class parentClass, XoObjId_Class childClass,
                    uint32_t kind) {
    std::vector<std::string> names;
    for (const Parent& expected : parents) {
      names.push_back(expected.name);
      ExpectOne([&](Parent** l) { return getParent(expected.name, l); }, expected, parentClass,
                expected.name);
      Child* list = nullptr;
      ASSERT_EQ(getChildren(expected.name, &list), 0);
      const std::vector<Child> found = Collect(list);
      const std::vector<Child>& wanted = children[expected.name];
      ASSERT_EQ(found.size(), wanted.size()) << expected.name;
      for (size_t i = 0; i < found.size(); ++i) {
        ExpectRecord(found[i], wanted[i], childClass, expected.name + (" " + std::to_string(i)));
      }
    }
    EXPECT_EQ(DomainNames(kind), names);
  }

  void CheckResponses() {
    CheckParents(
        responses_, attributes_,
        [&](const char* name, ResponseRecord** l) {
          return Xo_PolicyApi_GetResponse(handle_, name, kDomain, l);
        },
        [&](const char* name, ResponseAttrRecord** l) {
          return Xo_PolicyApi_GetResponseAttrs(handle_, name, kDomain, l);
        },
        XoObjId_Response, XoObjId_ResponseAttr, XO_DOMAIN_RESPONSES);
  }

  void CheckPolicies() {
    CheckParents(
        policies_, links_,
        [&](const char* name, PolicyRecord** l) {
          return Xo_PolicyApi_GetPolicy(handle_, name, kDomain, l);
        },
        [&](const char* name, PolicyLinkRecord** l) {
          return Xo_PolicyApi_GetPolicyLinks(handle_, kDomain, name, l);
        },
        XoObjId_Policy, XoObjId_PolicyLink, XO_DOMAIN_POLICIES);
  }
};

TEST_F(EndToEndTest, ADomainBuiltThroughTheInterfaceReadsBackAndDeletesWhole) {
  ASSERT_NO_FATAL_FAILURE(AddAgentAndScheme());
  ASSERT_NO_FATAL_FAILURE(AddDomainAndRealms());
  ASSERT_NO_FATAL_FAILURE(AddRules());
  ASSERT_NO_FATAL_FAILURE(AddRuleGroups());
  ASSERT_NO_FATAL_FAILURE(AddResponses());
  ASSERT_NO_FATAL_FAILURE(AddPolicies());

  CheckSystemObjects();
  CheckRealmsAndRules();
  CheckGroups(XO_GROUP_RULE, ruleGroups_, XO_DOMAIN_RULE_GROUPS, XoObjId_RuleGroup);
  CheckGroups(XO_GROUP_RESPONSE, responseGroups_, XO_DOMAIN_RESPONSE_GROUPS, XoObjId_ResponseGroup);
  CheckGroupMembers();
  CheckResponses();
  CheckPolicies();

  // The realms still use the agent and the scheme.
  const int32_t inUse = Mapped(xo::store::kInUse);
  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(handle_, kAgent), inUse);
  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(handle_, kScheme), inUse);

  ASSERT_EQ(Xo_PolicyApi_DeleteDomain(handle_, kDomain), 0);
  DomainRecord* domains = nullptr;
  EXPECT_EQ(Xo_PolicyApi_GetDomain(handle_, kDomain, &domains), 0);
  EXPECT_EQ(domains, nullptr);
  char** names = nullptr;
  EXPECT_EQ(Xo_PolicyApi_GetGlobalObjectNames(handle_, XO_GLOBAL_DOMAINS, &names), 0);
  EXPECT_TRUE(Names(names).empty());
  EXPECT_EQ(Xo_PolicyApi_GetDomainObjectNames(handle_, kDomain, XO_DOMAIN_RULES, &names),
            XO_ERR_GENERAL);
  // Without a domain name realms are sought in every domain: none is left.
  RealmRecord* realms = nullptr;
  EXPECT_EQ(Xo_PolicyApi_GetRealm(handle_, "site", "", &realms), 0);
  EXPECT_EQ(realms, nullptr);

  // What lives outside the domain stays, and is free to go now.
  CheckSystemObjects();
  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(handle_, kAgent), 0);
  EXPECT_TRUE(Members(XO_GROUP_AGENT, kAgentGroup, nullptr).empty());
  EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, XO_GROUP_AGENT, nullptr, kAgentGroup), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(handle_, kScheme), 0);
  for (uint32_t kind : {XO_GLOBAL_AGENTS, XO_GLOBAL_AGENT_GROUPS}) {
    EXPECT_EQ(Xo_PolicyApi_GetGlobalObjectNames(handle_, kind, &names), 0);
    EXPECT_TRUE(Names(names).empty()) << kind;
  }
}

}  // namespace
}  // namespace xo::test
