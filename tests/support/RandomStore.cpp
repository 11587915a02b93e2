#include "support/RandomStore.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "support/DirectoryFixtures.h"
#include "support/Records.h"

namespace xo::test {
namespace {

using NameList = std::vector<std::string>;

NameList Split(const std::string& text) {
  NameList items;
  std::istringstream in(text + "|");
  for (std::string item; std::getline(in, item, '|');) items.push_back(item);
  return items;
}

const NameList kQueryNames = Split("people-queries|staff|q|gw");
const NameList kDirectoryNames = Split("staff|people|ldap|Intranet|gw");
const NameList kSchemeNames = Split("forms|staff|gw|certs|basic");
const NameList kAgentNames = Split("gw|edge|nas|portal|Intranet");
const NameList kAgentGroupNames = Split("edge|gateways|gw|all agents");
const NameList kAdminNames = Split("alice|bob|gw|staff|Root");
const NameList kDomainNames = Split("Intranet|Extranet|portal|gw|a/b");
const NameList kRealmNames = Split("portal|payroll|forms|a|a/b|read|edge");
const NameList kRuleNames = Split("read|write|c|b/c|portal|Read");
const NameList kRuleGroupNames = Split("everyday|read|staff|portal|all rules");
const NameList kResponseNames = Split("welcome|deny|staff|read|Welcome");
const NameList kResponseGroupNames = Split("greetings|welcome|all responses|deny");
const NameList kPolicyNames = Split("employees|guests|read|staff|portal");
const NameList kAgentTypes = Split("HTTP Agent|HTTP Agent|HTTP Agent|RADIUS Agent");
const NameList kHttpAttributes =
    Split("HTTP-Header-Fixed|HTTP-Header-Variable|HTTP-Cookie-Fixed|HTTP-Cookie-Variable");
const NameList kRadiusAttributes = Split("Session-Timeout|Idle-Timeout|Reply-Message|Class");
const NameList kAttributeValues = Split(
    "X-Portal-User: employee|portal-lang=en|Portal-Lang=EN|3600|Welcome, \"friend\"||a\\b|"
    "https://intranet.example/home?a=1&b=2");
const NameList kEntries = Split("users/alice|users/bob|users/carol|groups/staff|groups/operators");
// Texts a document has to carry unchanged.
const NameList kTexts = Split(
    "every page|say \"hello\"|C:\\policies\\|two\nlines|tab\there|caf\xc3\xa9 \xc3\xbc"
    "ber|/|/forms/*|{\"json\": [1, 2]}|  padded  |" +
    std::string(300, 'L'));

// A rule in its realm, or (with no realm) any other member of a group.
struct Leaf {
  std::string realm, name;
  bool operator==(const Leaf&) const = default;
};

struct DomainObjects {
  std::string name;
  NameList realms, ruleGroups, responses, responseGroups, policies;
  std::vector<Leaf> rules;
};

// Calls a function of the API with the session, recording the call.
#define XO_CALL(function, ...) Call(function(h_, __VA_ARGS__), Shown(#function, __VA_ARGS__))

class Generator {
 public:
  Generator(PolicyApiSession* handle, uint32_t seed, std::string odbcConnection)
      : h_(handle), random_(seed), odbc_(std::move(odbcConnection)) {}

  std::vector<std::string> Build() {
    // The administrators the store was made with may manage domains too.
    char** names = nullptr;
    XO_CALL(Xo_PolicyApi_GetGlobalObjectNames, XO_GLOBAL_ADMINISTRATORS, &names);
    admins_ = Names(names);
    QuerySchemesAndDirectories();
    SchemesAgentsAndAdministrators();
    for (size_t n = 1 + Below(3); n > 0; --n) Domain();
    return std::move(calls_);
  }

 private:
  // The engine's sequence is fixed by the standard, the distributions' are
  // not: draws are taken from the engine directly.
  size_t Below(size_t n) { return random_() % n; }
  bool Chance(unsigned percent) { return random_() % 100 < percent; }
  std::string Text() { return Chance(40) ? "" : Pick(kTexts); }
  // Each field a text, drawn in turn.
  template <size_t... N>
  void Texts(char (&... fields)[N]) {
    (Put(fields, Text()), ...);
  }
  // Each field a number below `bound`, drawn in turn.
  template <class... Field>
  void Draw(unsigned bound, Field&... fields) {
    ((fields = static_cast<Field>(Below(bound))), ...);
  }
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
  // A name of the pool not taken yet, now taken; empty when the pool is used up.
  std::string Fresh(const NameList& pool, NameList& taken) {
    NameList free;
    std::ranges::copy_if(pool, std::back_inserter(free),
                         [&](const std::string& name) { return !std::ranges::count(taken, name); });
    return free.empty() ? "" : taken.emplace_back(Pick(free));
  }
  // A record named from the pool, with a description.
  template <class Record>
  Record Named(const NameList& pool, NameList& taken) {
    auto r = Zeroed<Record>();
    Put(r.name, Fresh(pool, taken));
    Texts(r.description);
    return r;
  }

  // Records the call; throws when the library refused it.
  void Call(int32_t rc, const std::string& call) {
    calls_.push_back(call);
    if (rc != XO_OK) throw std::runtime_error(call + " gave " + std::to_string(rc));
  }
  template <class T>
  static std::string Show(const T& value) {
    if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
      return std::to_string(value);
    } else if constexpr (std::is_convertible_v<T, const char*>) {
      const char* text = value;
      return text ? text : "(null)";
    } else if constexpr (requires { value->name; }) {
      return value->name;
    }
    return "...";
  }
  template <class... Args>
  static std::string Shown(const char* function, const Args&... args) {
    return (std::string(function) + ... + (" " + Show(args)));
  }

  // Query schemes, most of them with an ODBC directory that names them; the
  // first pair reads the users database.
  void QuerySchemesAndDirectories() {
    const auto users = OdbcUsers::Queries();
    for (size_t i = 0, n = 2 + Below(2); i < n; ++i) {
      auto r = Named<OdbcQuerySchemeRecord>(kQueryNames, queries_);
      for (size_t q = 0; q < users.size(); ++q) Put(r.query[q], i == 0 ? users[q] : Text());
      XO_CALL(Xo_PolicyApi_CreateODBCQueryScheme, &r, 0);
      if (i == 0 || Chance(60)) Directory(i == 0 ? odbc_ : "DSN=xo-absent", r.name);
    }
    userDirectory_ = directories_.front();
    for (size_t n = Below(3); n > 0; --n) Directory("ldap://127.0.0.1:1", "");
  }

  // An ODBC directory when `queries` names a query scheme, else LDAP.
  void Directory(const std::string& server, const std::string& queries) {
    auto r = Named<UserDirRecord>(kDirectoryNames, directories_);
    Put(r.directoryType, queries.empty() ? "LDAP:" : "ODBC:");
    Put(r.string1, server);
    Put(r.querySchemeName, queries);
    r.int2 = 5;
    r.int3 = 2;
    if (server != odbc_) {
      Put(r.string2, "ou=people,dc=example,dc=org");
      Put(r.string3, "(uid=");
      Put(r.string4, ")");
      Texts(r.string7, r.string13);
      Draw(4, r.int1);
      Draw(2, r.flag1, r.flag2);
    }
    XO_CALL(Xo_PolicyApi_CreateUserDir, &r, 0);
  }

  void SchemesAgentsAndAdministrators() {
    for (size_t n = 1 + Below(2); n > 0; --n) {
      auto r = Named<SchemeRecord>(kSchemeNames, schemes_);
      Put(r.schemeString1, Pick(Split("basic|forms|cert")));
      Texts(r.schemeString2, r.schemeString3);
      Draw(4, r.schemeInt1, r.schemeInt2);
      Draw(2, r.schemeFlag1, r.schemeFlag3, r.schemeFlag5);
      XO_CALL(Xo_PolicyApi_AddScheme, &r, 0);
    }
    if (Chance(25)) {
      // The scheme every store is made with, changed.
      SchemeRecord* basic = nullptr;
      XO_CALL(Xo_PolicyApi_GetScheme, schemes_[0].c_str(), &basic);
      std::vector<SchemeRecord> records = Collect(basic);
      Put(records.at(0).description, "changed: " + Text());
      records[0].schemeInt2 = 7;
      XO_CALL(Xo_PolicyApi_AddScheme, &records[0], 1);
    }
    std::vector<Leaf> agents;
    for (size_t n = 2 + Below(3); n > 0; --n) {
      auto r = Named<AgentRecord>(kAgentNames, agents_);
      Put(r.agentTypeName, Pick(kAgentTypes));
      Texts(r.agentString1, r.agentString2);
      Draw(4, r.agentInt);
      XO_CALL(Xo_PolicyApi_AddAgent, &r, 0);
      agents.push_back({"", r.name});
    }
    Groups(XO_GROUP_AGENT, "", Below(3), kAgentGroupNames, agentGroups_, agents);
    for (size_t n = 1 + Below(3); n > 0; --n) {
      auto r = Named<AdminRecord>(kAdminNames, admins_);
      const size_t rights = Below(10);
      r.adminFlags = rights < 7   ? XO_ADMIN_DOMAIN
                     : rights < 9 ? XO_ADMIN_DOMAIN | XO_ADMIN_COMMAND(1 + Below(5))
                                  : XO_ADMIN_SYSTEM;
      if (Chance(20)) {
        // Authenticated by a directory instead of a password.
        Put(r.userDirName, Pick(directories_));
        Put(r.schemeName, Pick(schemes_));
      } else {
        Put(r.adminText, std::string(r.name) + " password");
      }
      XO_CALL(Xo_PolicyApi_AddAdmin, &r, 0);
    }
  }

  void Domain() {
    auto r = Named<DomainRecord>(kDomainNames, domains_);
    DomainObjects d;
    d.name = r.name;
    const char* name = r.name;
    XO_CALL(Xo_PolicyApi_AddDomain, &r, 0);
    const NameList directories = Some(directories_, 3);
    for (const std::string& directory : directories) {
      XO_CALL(Xo_PolicyApi_AddUserDirToDomain, directory.c_str(), name);
    }
    if (directories.size() > 1 && Chance(50)) {
      NameList shuffled = Shuffled(directories);
      std::vector<char*> order;
      for (std::string& directory : shuffled) order.push_back(directory.data());
      order.push_back(nullptr);
      XO_CALL(Xo_PolicyApi_SetUserDirSearchOrder, name, order.data());
    }
    for (const std::string& admin : Some(admins_, 2)) {
      XO_CALL(Xo_PolicyApi_AddAdminToDomain, admin.c_str(), name);
    }
    NameList pool = kRealmNames;
    if (Chance(15)) pool.push_back(d.name);
    for (size_t n = 2 + Below(4); n > 0; --n) {
      const std::string parent = d.realms.empty() || Chance(40) ? "" : Pick(d.realms);
      auto realm = Named<RealmRecord>(pool, d.realms);
      Put(realm.parentName, parent);
      Put(realm.agentName,
          !agentGroups_.empty() && Chance(25) ? Pick(agentGroups_) : Pick(agents_));
      Put(realm.schemeName, Pick(schemes_));
      Texts(realm.realmText);
      Draw(2, realm.realmFlag1, realm.realmFlag2, realm.realmFlag4);
      Draw(4, realm.realmInt1, realm.realmInt2);
      XO_CALL(Xo_PolicyApi_AddRealm, name, &realm, 0);
    }
    Rules(d);
    Groups(XO_GROUP_RULE, d.name, Below(4), kRuleGroupNames, d.ruleGroups, d.rules);
    std::vector<Leaf> responses;
    for (size_t n = 1 + Below(3); n > 0; --n) {
      auto response = Named<ResponseRecord>(kResponseNames, d.responses);
      Put(response.agentTypeName, Pick(kAgentTypes));
      XO_CALL(Xo_PolicyApi_AddResponse, name, &response, 0);
      responses.push_back({"", response.name});
      const bool http = std::string(response.agentTypeName) == "HTTP Agent";
      for (size_t a = Below(4); a > 0; --a) {
        auto attr = Zeroed<ResponseAttrRecord>();
        Put(attr.attrName, Pick(http ? kHttpAttributes : kRadiusAttributes));
        Put(attr.value, Pick(kAttributeValues));
        Draw(4, attr.attrInt1, attr.attrInt2);
        XO_CALL(Xo_PolicyApi_AddResponseAttr, response.name, name, &attr);
      }
    }
    Groups(XO_GROUP_RESPONSE, d.name, Below(3), kResponseGroupNames, d.responseGroups, responses);
    Policies(d);
  }

  void Rule(DomainObjects& d, const std::string& realm, const std::string& name) {
    if (std::ranges::count(d.rules, Leaf{realm, name})) return;
    auto r = Zeroed<RuleRecord>();
    Put(r.name, name);
    Put(r.realmName, realm);
    Put(r.ruleText1, Pick(Split("GET|POST|GET,POST|")));
    Put(r.ruleText2, Chance(70) ? Pick(Split("/|/forms/*|/payroll")) : Text());
    Texts(r.description, r.ruleText3);
    Draw(2, r.ruleFlag1, r.ruleFlag2, r.ruleFlag3);
    XO_CALL(Xo_PolicyApi_AddRule, d.name.c_str(), &r, 0);
    d.rules.push_back({realm, name});
  }

  void Rules(DomainObjects& d) {
    for (size_t n = 3 + Below(5); n > 0; --n) Rule(d, Pick(d.realms), Pick(kRuleNames));
    if (d.realms.size() > 1 && Chance(60)) {
      // The same name in a second realm.
      const Leaf rule = Pick(d.rules);
      NameList others = d.realms;
      others.erase(std::find(others.begin(), others.end(), rule.realm));
      Rule(d, Pick(others), rule.name);
    }
    if (std::ranges::count(d.realms, "a") && std::ranges::count(d.realms, "a/b") && Chance(50)) {
      // Realm and rule names that read the same when joined by a slash.
      Rule(d, "a", "b/c");
      Rule(d, "a/b", "c");
    }
  }

  // Groups of one kind. Members come from `leaves`, at times every leaf of
  // one name (a rule from each realm that has it), and now and then an
  // earlier group; a leaf named like a group is left out, as the library
  // would take the group.
  void Groups(int32_t type, const std::string& domain, size_t count, const NameList& pool,
              NameList& groups, const std::vector<Leaf>& leaves) {
    for (; count > 0; --count) {
      auto r = Named<GroupRecord>(pool, groups);
      Put(r.vendorName, Pick(kAgentTypes));
      XO_CALL(Xo_PolicyApi_AddGroup, type, domain.empty() ? nullptr : domain.c_str(), &r, 0);
    }
    for (size_t g = 0; g < groups.size(); ++g) {
      std::vector<Leaf> members = Some(leaves, 3);
      if (!leaves.empty() && Chance(50)) {
        const std::string name = Pick(leaves).name;
        for (const Leaf& leaf : leaves) {
          if (leaf.name == name && !std::ranges::count(members, leaf)) members.push_back(leaf);
        }
      }
      auto add = [&](const std::string& member, const std::string& realm) {
        XO_CALL(Xo_PolicyApi_AddToGroup, type, groups[g].c_str(), member.c_str(),
                domain.empty() ? nullptr : domain.c_str(), realm.c_str());
      };
      for (const auto& [realm, member] : members) {
        if (!std::ranges::count(groups, member)) add(member, realm);
      }
      if (g > 0 && Chance(75)) add(groups[Below(g)], "");
    }
  }

  void Policies(DomainObjects& d) {
    for (size_t n = 1 + Below(3); n > 0; --n) {
      auto r = Named<PolicyRecord>(kPolicyNames, d.policies);
      const std::string name = r.name;
      Texts(r.policyText1, r.policyText2);
      Draw(2, r.policyFlag);
      XO_CALL(Xo_PolicyApi_AddPolicy, d.name.c_str(), &r, 0);
      for (size_t l = Below(5); l > 0; --l) Link(d, name);
      for (size_t u = Below(4); u > 0; --u) {
        const std::string entry = Pick(kEntries);
        const auto resolution = static_cast<Xo_PolicyResolution_t>(Chance(50) ? 0 : Below(5));
        XO_CALL(Xo_PolicyApi_AddUsersToPolicy, d.name.c_str(), name.c_str(), userDirectory_.c_str(),
                entry.c_str(), resolution);
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
        if (!std::ranges::count(d.rules, Leaf{realm, group})) realms.push_back(realm);
      }
      if (realms.empty()) return;
      Put(r.realmName, Pick(realms));
      Put(r.ruleName, group);
    } else {
      const Leaf rule = Pick(d.rules);
      Put(r.realmName, rule.realm);
      Put(r.ruleName, rule.name);
    }
    const size_t response = Below(10);
    if (response >= 4 && response < 8) Put(r.responseName, Pick(d.responses));
    if (response >= 8 && !d.responseGroups.empty()) Put(r.responseName, Pick(d.responseGroups));
    // The same link twice is two links.
    for (int times = Chance(10) ? 2 : 1; times > 0; --times) {
      XO_CALL(Xo_PolicyApi_AddPolicyLink, d.name.c_str(), policy.c_str(), &r);
    }
  }

  PolicyApiSession* h_;
  std::mt19937 random_;
  std::string odbc_, userDirectory_;
  std::vector<std::string> calls_;
  NameList queries_, directories_, schemes_{"Basic"}, agents_, agentGroups_, admins_, domains_;
};

}  // namespace

std::vector<std::string> BuildRandomStore(PolicyApiSession* handle, uint32_t seed,
                                          const std::string& odbcConnection) {
  return Generator(handle, seed, odbcConnection).Build();
}

}  // namespace xo::test
