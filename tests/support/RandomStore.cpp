#include "support/RandomStore.h"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>
#include <utility>

#include "support/DirectoryFixtures.h"
#include "support/Records.h"

namespace xo::test {
namespace {

using NameList = std::vector<std::string>;

const NameList kQueryNames{"people-queries", "staff", "q", "gw"};
const NameList kDirectoryNames{"staff", "people", "ldap", "Intranet", "gw"};
const NameList kSchemeNames{"forms", "staff", "gw", "certs", "basic"};
const NameList kAgentNames{"gw", "edge", "nas", "portal", "Intranet"};
const NameList kAgentGroupNames{"edge", "gateways", "gw", "all agents"};
const NameList kAdminNames{"alice", "bob", "gw", "staff", "Root"};
const NameList kDomainNames{"Intranet", "Extranet", "portal", "gw", "a/b"};
const NameList kRealmNames{"portal", "payroll", "forms", "a", "a/b", "read", "edge"};
const NameList kRuleNames{"read", "write", "c", "b/c", "portal", "Read"};
const NameList kRuleGroupNames{"everyday", "read", "staff", "portal", "all rules"};
const NameList kResponseNames{"welcome", "deny", "staff", "read", "Welcome"};
const NameList kResponseGroupNames{"greetings", "welcome", "all responses", "deny"};
const NameList kPolicyNames{"employees", "guests", "read", "staff", "portal"};

constexpr const char* kHttp = "HTTP Agent";
constexpr const char* kRadius = "RADIUS Agent";
const NameList kHttpAttributes{"HTTP-Header-Fixed", "HTTP-Header-Variable", "HTTP-Cookie-Fixed",
                               "HTTP-Cookie-Variable", "HTTP-Redirect-URL"};
const NameList kRadiusAttributes{"Session-Timeout", "Idle-Timeout", "Reply-Message", "Filter-Id",
                                 "Class"};
const NameList kAttributeValues{"X-Portal-User: employee",
                                "portal-lang=en",
                                "Portal-Lang=EN",
                                "3600",
                                "Welcome, \"friend\"",
                                "https://intranet.example/home?a=1&b=2",
                                "",
                                "a\\b"};
const NameList kEntries{"users/alice", "users/bob", "users/carol", "groups/staff",
                        "groups/operators"};

// Texts a document has to carry unchanged.
const NameList kTexts{"every page",
                      "say \"hello\"",
                      "C:\\policies\\",
                      "two\nlines",
                      "tab\there",
                      "caf\xc3\xa9 \xc3\xbc"
                      "ber",
                      "/",
                      "/forms/*",
                      "{\"json\": [1, 2]}",
                      "  padded  ",
                      std::string(300, 'L')};

std::string Quote(const std::string& text) {
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c == '\n' ? std::string("\\n") : std::string(1, c);
  }
  return quoted + "\"";
}

bool Holds(const NameList& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// A rule is named within its realm.
struct RuleName {
  std::string realm;
  std::string name;
  bool operator==(const RuleName&) const = default;
};

struct DomainObjects {
  std::string name;
  NameList realms;
  std::vector<RuleName> rules;
  NameList ruleGroups;
  NameList responses;
  NameList responseGroups;
  NameList policies;

  bool HasRule(const std::string& realm, const std::string& rule) const {
    return std::find(rules.begin(), rules.end(), RuleName{realm, rule}) != rules.end();
  }
};

class Generator {
 public:
  Generator(PolicyApiSession* handle, uint32_t seed, std::string odbcConnection)
      : h_(handle), random_(seed), odbc_(std::move(odbcConnection)) {}

  std::vector<std::string> Build() {
    // The administrators the store was made with may manage domains too.
    char** names = nullptr;
    Call(Xo_PolicyApi_GetGlobalObjectNames(h_, XO_GLOBAL_ADMINISTRATORS, &names),
         "GetGlobalObjectNames administrators");
    storeAdmins_ = Names(names);
    QuerySchemesAndDirectories();
    Schemes();
    Agents();
    Administrators();
    for (size_t n = 1 + Below(3); n > 0; --n) Domain();
    return std::move(calls_);
  }

 private:
  // The engine's sequence is fixed by the standard, the distributions' are
  // not: draws are taken from the engine directly.
  size_t Below(size_t n) { return random_() % n; }
  bool Chance(unsigned percent) { return random_() % 100 < percent; }
  uint8_t Flag() { return Chance(50) ? 1 : 0; }
  int32_t Small() { return static_cast<int32_t>(Below(4)); }
  std::string Text() { return Chance(40) ? "" : Pick(kTexts); }

  template <class T>
  T Pick(const std::vector<T>& from) {
    return from[Below(from.size())];
  }
  template <class T>
  std::vector<T> Shuffled(std::vector<T> items) {
    for (size_t i = items.size(); i > 1; --i) std::swap(items[i - 1], items[Below(i)]);
    return items;
  }
  // Up to `most` distinct items of `from`, in random order.
  template <class T>
  std::vector<T> Some(const std::vector<T>& from, size_t most) {
    std::vector<T> some = Shuffled(from);
    some.resize(std::min(some.size(), Below(most + 1)));
    return some;
  }
  // A name of the pool that is not taken yet, now taken; empty when the
  // pool is used up.
  std::string Fresh(const NameList& pool, NameList& taken) {
    NameList free;
    for (const std::string& name : pool) {
      if (!Holds(taken, name)) free.push_back(name);
    }
    if (free.empty()) return "";
    taken.push_back(Pick(free));
    return taken.back();
  }

  void Call(int32_t rc, const std::string& call) {
    calls_.push_back(call);
    if (rc != XO_OK) throw std::runtime_error(call + " gave " + std::to_string(rc));
  }

  // Query schemes, most of them with an ODBC directory that names them; the
  // first pair reads the users database.
  void QuerySchemesAndDirectories() {
    const std::array<std::string, 15> users = OdbcUsers::Queries();
    for (size_t i = 0, n = 2 + Below(2); i < n; ++i) {
      auto r = Zeroed<OdbcQuerySchemeRecord>();
      const std::string name = Fresh(kQueryNames, queries_);
      Put(r.name, name);
      Put(r.description, Text());
      for (size_t q = 0; q < users.size(); ++q) Put(r.query[q], i == 0 ? users[q] : Text());
      Call(Xo_PolicyApi_CreateODBCQueryScheme(h_, &r, 0), "CreateODBCQueryScheme " + Quote(name));
      if (i == 0 || Chance(60)) Directory(i == 0 ? odbc_ : "DSN=xo-absent", name);
    }
    userDirectory_ = directories_.front();
    for (size_t n = Below(3); n > 0; --n) Directory("ldap://127.0.0.1:1", "");
  }

  // An ODBC directory when `queries` names a query scheme, else LDAP.
  void Directory(const std::string& server, const std::string& queries) {
    const std::string name = Fresh(kDirectoryNames, directories_);
    auto r = Zeroed<UserDirRecord>();
    Put(r.name, name);
    Put(r.description, Text());
    Put(r.directoryType, queries.empty() ? "LDAP:" : "ODBC:");
    Put(r.string1, server);
    Put(r.querySchemeName, queries);
    r.int2 = 5;
    r.int3 = 2;
    if (server != odbc_) {
      Put(r.string2, "ou=people,dc=example,dc=org");
      Put(r.string3, "(uid=");
      Put(r.string4, ")");
      Put(r.string7, Text());
      Put(r.string13, Text());
      r.int1 = Small();
      r.flag1 = Flag();
      r.flag2 = Flag();
    }
    Call(Xo_PolicyApi_CreateUserDir(h_, &r, 0),
         "CreateUserDir " + Quote(name) + " type " + Quote(r.directoryType));
  }

  void Schemes() {
    for (size_t n = 1 + Below(2); n > 0; --n) {
      const std::string name = Fresh(kSchemeNames, schemes_);
      auto r = Zeroed<SchemeRecord>();
      Put(r.name, name);
      Put(r.description, Text());
      r.schemeInt1 = Small();
      r.schemeInt2 = Small();
      Put(r.schemeString1, Pick(NameList{"basic", "forms", "cert"}));
      Put(r.schemeString2, Text());
      Put(r.schemeString3, Text());
      r.schemeFlag1 = Flag();
      r.schemeFlag3 = Flag();
      r.schemeFlag5 = Flag();
      Call(Xo_PolicyApi_AddScheme(h_, &r, 0), "AddScheme " + Quote(name));
    }
    if (Chance(25)) {
      // The scheme every store is made with, changed.
      SchemeRecord* basic = nullptr;
      Call(Xo_PolicyApi_GetScheme(h_, "Basic", &basic), "GetScheme \"Basic\"");
      std::vector<SchemeRecord> records = Collect(basic);
      if (records.size() != 1) throw std::runtime_error("no single scheme \"Basic\"");
      Put(records[0].description, "changed: " + Text());
      records[0].schemeInt2 = 7;
      Call(Xo_PolicyApi_AddScheme(h_, &records[0], 1), "AddScheme \"Basic\" update");
    }
  }

  void Agents() {
    for (size_t n = 2 + Below(3); n > 0; --n) {
      const std::string name = Fresh(kAgentNames, agents_);
      auto r = Zeroed<AgentRecord>();
      Put(r.name, name);
      Put(r.description, Text());
      Put(r.agentTypeName, Chance(75) ? kHttp : kRadius);
      Put(r.agentString1, Text());
      Put(r.agentString2, Text());
      r.agentInt = Small();
      Call(Xo_PolicyApi_AddAgent(h_, &r, 0), "AddAgent " + Quote(name));
    }
    for (size_t n = Below(3); n > 0; --n) {
      const std::string name = Fresh(kAgentGroupNames, agentGroups_);
      Group(XO_GROUP_AGENT, nullptr, name);
    }
    for (size_t g = 0; g < agentGroups_.size(); ++g) {
      // A member name that is also a group's is taken as the group.
      for (const std::string& agent : Some(agents_, 3)) {
        if (!Holds(agentGroups_, agent)) Member(XO_GROUP_AGENT, nullptr, agentGroups_[g], agent);
      }
      if (g > 0 && Chance(50)) {
        Member(XO_GROUP_AGENT, nullptr, agentGroups_[g], agentGroups_[Below(g)]);
      }
    }
  }

  void Administrators() {
    for (size_t n = 1 + Below(3); n > 0; --n) {
      const std::string name = Fresh(kAdminNames, admins_);
      auto r = Zeroed<AdminRecord>();
      Put(r.name, name);
      Put(r.description, Text());
      const size_t rights = Below(10);
      r.adminFlags = rights < 7   ? XO_ADMIN_DOMAIN
                     : rights < 9 ? XO_ADMIN_DOMAIN | XO_ADMIN_COMMAND(1 + Below(5))
                                  : XO_ADMIN_SYSTEM;
      if (Chance(20)) {
        // Authenticated by a directory instead of a password.
        Put(r.userDirName, Pick(directories_));
        Put(r.schemeName, Pick(schemes_));
      } else {
        Put(r.adminText, name + " password");
      }
      Call(Xo_PolicyApi_AddAdmin(h_, &r, 0), "AddAdmin " + Quote(name));
    }
  }

  void Domain() {
    DomainObjects d;
    d.name = Fresh(kDomainNames, domains_);
    auto r = Zeroed<DomainRecord>();
    Put(r.name, d.name);
    Put(r.description, Text());
    Call(Xo_PolicyApi_AddDomain(h_, &r, 0), "AddDomain " + Quote(d.name));
    const NameList directories = Some(directories_, 3);
    for (const std::string& directory : directories) {
      Call(Xo_PolicyApi_AddUserDirToDomain(h_, directory.c_str(), d.name.c_str()),
           "AddUserDirToDomain " + Quote(directory) + " " + Quote(d.name));
    }
    if (directories.size() > 1 && Chance(50)) {
      NameList order = Shuffled(directories);
      std::vector<char*> array;
      std::string listed;
      for (std::string& name : order) {
        array.push_back(name.data());
        listed += " " + Quote(name);
      }
      array.push_back(nullptr);
      Call(Xo_PolicyApi_SetUserDirSearchOrder(h_, d.name.c_str(), array.data()),
           "SetUserDirSearchOrder " + Quote(d.name) + listed);
    }
    NameList admins = admins_;
    admins.insert(admins.end(), storeAdmins_.begin(), storeAdmins_.end());
    for (const std::string& admin : Some(admins, 2)) {
      Call(Xo_PolicyApi_AddAdminToDomain(h_, admin.c_str(), d.name.c_str()),
           "AddAdminToDomain " + Quote(admin) + " " + Quote(d.name));
    }
    Realms(d);
    Rules(d);
    RuleGroups(d);
    Responses(d);
    ResponseGroups(d);
    Policies(d);
  }

  void Realms(DomainObjects& d) {
    NameList pool = kRealmNames;
    if (Chance(15)) pool.push_back(d.name);
    for (size_t n = 2 + Below(4); n > 0; --n) {
      const std::string parent = d.realms.empty() || Chance(40) ? "" : Pick(d.realms);
      const std::string name = Fresh(pool, d.realms);
      auto r = Zeroed<RealmRecord>();
      Put(r.name, name);
      Put(r.description, Text());
      Put(r.realmText, Text());
      Put(r.agentName, !agentGroups_.empty() && Chance(25) ? Pick(agentGroups_) : Pick(agents_));
      Put(r.schemeName, Pick(schemes_));
      Put(r.parentName, parent);
      r.realmFlag1 = Flag();
      r.realmFlag2 = Flag();
      r.realmFlag4 = Flag();
      r.realmInt1 = Small() * 900;
      r.realmInt2 = Small();
      Call(Xo_PolicyApi_AddRealm(h_, d.name.c_str(), &r, 0),
           "AddRealm " + Quote(d.name) + " " + Quote(name) + " parent " + Quote(parent));
    }
  }

  void Rule(DomainObjects& d, const std::string& realm, const std::string& name) {
    if (d.HasRule(realm, name)) return;
    auto r = Zeroed<RuleRecord>();
    Put(r.name, name);
    Put(r.description, Text());
    Put(r.realmName, realm);
    Put(r.ruleText1, Pick(NameList{"GET", "POST", "GET,POST", ""}));
    Put(r.ruleText2, Chance(70) ? Pick(NameList{"/", "/forms/*", "/payroll"}) : Text());
    Put(r.ruleText3, Text());
    r.ruleFlag1 = Flag();
    r.ruleFlag2 = Flag();
    r.ruleFlag3 = Flag();
    Call(Xo_PolicyApi_AddRule(h_, d.name.c_str(), &r, 0),
         "AddRule " + Quote(d.name) + " realm " + Quote(realm) + " " + Quote(name));
    d.rules.push_back({realm, name});
  }

  void Rules(DomainObjects& d) {
    for (size_t n = 3 + Below(5); n > 0; --n) Rule(d, Pick(d.realms), Pick(kRuleNames));
    if (d.realms.size() > 1 && Chance(60)) {
      // The same name in a second realm.
      const RuleName rule = Pick(d.rules);
      NameList others;
      for (const std::string& realm : d.realms) {
        if (realm != rule.realm) others.push_back(realm);
      }
      Rule(d, Pick(others), rule.name);
    }
    if (Holds(d.realms, "a") && Holds(d.realms, "a/b") && Chance(50)) {
      // Realm and rule names that read the same when joined by a slash.
      Rule(d, "a", "b/c");
      Rule(d, "a/b", "c");
    }
  }

  void Group(int32_t type, const char* domain, const std::string& name) {
    auto r = Zeroed<GroupRecord>();
    Put(r.name, name);
    Put(r.description, Text());
    Put(r.vendorName, Chance(75) ? kHttp : kRadius);
    Call(
        Xo_PolicyApi_AddGroup(h_, type, domain, &r, 0),
        "AddGroup " + std::to_string(type) + " " + Quote(domain ? domain : "") + " " + Quote(name));
  }

  void Member(int32_t type, const char* domain, const std::string& group, const std::string& member,
              const std::string& realm = "") {
    Call(Xo_PolicyApi_AddToGroup(h_, type, group.c_str(), member.c_str(), domain, realm.c_str()),
         "AddToGroup " + std::to_string(type) + " " + Quote(domain ? domain : "") + " " +
             Quote(group) + " member " + Quote(member) + " realm " + Quote(realm));
  }

  void RuleGroups(DomainObjects& d) {
    for (size_t n = Below(4); n > 0; --n) {
      Group(XO_GROUP_RULE, d.name.c_str(), Fresh(kRuleGroupNames, d.ruleGroups));
    }
    for (size_t g = 0; g < d.ruleGroups.size(); ++g) {
      std::vector<RuleName> members = Some(d.rules, 3);
      if (Chance(50)) {
        // Every rule of one name, from the realms it is in.
        const std::string name = Pick(d.rules).name;
        for (const RuleName& rule : d.rules) {
          if (rule.name == name &&
              std::find(members.begin(), members.end(), rule) == members.end()) {
            members.push_back(rule);
          }
        }
      }
      for (const RuleName& rule : members) {
        // A member name that is also a group's is taken as the group.
        if (Holds(d.ruleGroups, rule.name)) continue;
        Member(XO_GROUP_RULE, d.name.c_str(), d.ruleGroups[g], rule.name, rule.realm);
      }
      if (g > 0 && Chance(50)) {
        Member(XO_GROUP_RULE, d.name.c_str(), d.ruleGroups[g], d.ruleGroups[Below(g)]);
      }
    }
  }

  void Responses(DomainObjects& d) {
    for (size_t n = 1 + Below(3); n > 0; --n) {
      const std::string name = Fresh(kResponseNames, d.responses);
      const bool http = Chance(70);
      auto r = Zeroed<ResponseRecord>();
      Put(r.name, name);
      Put(r.description, Text());
      Put(r.agentTypeName, http ? kHttp : kRadius);
      Call(Xo_PolicyApi_AddResponse(h_, d.name.c_str(), &r, 0),
           "AddResponse " + Quote(d.name) + " " + Quote(name));
      for (size_t a = Below(4); a > 0; --a) {
        auto attr = Zeroed<ResponseAttrRecord>();
        Put(attr.attrName, Pick(http ? kHttpAttributes : kRadiusAttributes));
        Put(attr.value, Pick(kAttributeValues));
        attr.attrInt1 = Small();
        attr.attrInt2 = Small();
        Call(Xo_PolicyApi_AddResponseAttr(h_, name.c_str(), d.name.c_str(), &attr),
             "AddResponseAttr " + Quote(d.name) + " " + Quote(name) + " " + Quote(attr.attrName) +
                 " " + Quote(attr.value));
      }
    }
  }

  void ResponseGroups(DomainObjects& d) {
    for (size_t n = Below(3); n > 0; --n) {
      Group(XO_GROUP_RESPONSE, d.name.c_str(), Fresh(kResponseGroupNames, d.responseGroups));
    }
    for (size_t g = 0; g < d.responseGroups.size(); ++g) {
      for (const std::string& response : Some(d.responses, 3)) {
        if (Holds(d.responseGroups, response)) continue;
        Member(XO_GROUP_RESPONSE, d.name.c_str(), d.responseGroups[g], response);
      }
      if (g > 0 && Chance(50)) {
        Member(XO_GROUP_RESPONSE, d.name.c_str(), d.responseGroups[g], d.responseGroups[Below(g)]);
      }
    }
  }

  void Policies(DomainObjects& d) {
    for (size_t n = 1 + Below(3); n > 0; --n) {
      const std::string name = Fresh(kPolicyNames, d.policies);
      auto r = Zeroed<PolicyRecord>();
      Put(r.name, name);
      Put(r.description, Text());
      Put(r.policyText1, Text());
      Put(r.policyText2, Text());
      r.policyFlag = Flag();
      Call(Xo_PolicyApi_AddPolicy(h_, d.name.c_str(), &r, 0),
           "AddPolicy " + Quote(d.name) + " " + Quote(name));
      for (size_t l = Below(5); l > 0; --l) Link(d, name);
      for (size_t u = Below(4); u > 0; --u) {
        const std::string entry = Pick(kEntries);
        const auto resolution = static_cast<Xo_PolicyResolution_t>(Chance(50) ? 0 : Below(5));
        Call(Xo_PolicyApi_AddUsersToPolicy(h_, d.name.c_str(), name.c_str(), userDirectory_.c_str(),
                                           entry.c_str(), resolution),
             "AddUsersToPolicy " + Quote(d.name) + " " + Quote(name) + " " + Quote(userDirectory_) +
                 " " + Quote(entry) + " resolution " + std::to_string(resolution));
      }
    }
  }

  void Link(const DomainObjects& d, const std::string& policy) {
    auto r = Zeroed<PolicyLinkRecord>();
    if (!d.ruleGroups.empty() && Chance(30)) {
      // A group is bound through any realm of the domain, but a realm with a
      // rule of the group's name binds that rule.
      const std::string group = Pick(d.ruleGroups);
      NameList realms;
      for (const std::string& realm : d.realms) {
        if (!d.HasRule(realm, group)) realms.push_back(realm);
      }
      if (realms.empty()) return;
      Put(r.realmName, Pick(realms));
      Put(r.ruleName, group);
    } else {
      const RuleName rule = Pick(d.rules);
      Put(r.realmName, rule.realm);
      Put(r.ruleName, rule.name);
    }
    const size_t response = Below(10);
    if (response >= 4 && response < 8) Put(r.responseName, Pick(d.responses));
    if (response >= 8 && !d.responseGroups.empty()) Put(r.responseName, Pick(d.responseGroups));
    const std::string call = "AddPolicyLink " + Quote(d.name) + " " + Quote(policy) + " realm " +
                             Quote(r.realmName) + " " + Quote(r.ruleName) + " response " +
                             Quote(r.responseName);
    Call(Xo_PolicyApi_AddPolicyLink(h_, d.name.c_str(), policy.c_str(), &r), call);
    // The same link twice is two links.
    if (Chance(10)) Call(Xo_PolicyApi_AddPolicyLink(h_, d.name.c_str(), policy.c_str(), &r), call);
  }

  PolicyApiSession* h_;
  std::mt19937 random_;
  std::string odbc_;
  std::vector<std::string> calls_;
  NameList queries_;
  NameList directories_;
  std::string userDirectory_;
  NameList schemes_{"Basic"};
  NameList agents_;
  NameList agentGroups_;
  NameList admins_;
  NameList storeAdmins_;
  NameList domains_;
};

}  // namespace

std::vector<std::string> BuildRandomStore(PolicyApiSession* handle, uint32_t seed,
                                          const std::string& odbcConnection) {
  return Generator(handle, seed, odbcConnection).Build();
}

}  // namespace xo::test
