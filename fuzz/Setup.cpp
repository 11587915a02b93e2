#include "Setup.h"

#include <string>

namespace xo::fuzz {

namespace {

template <class Record>
Record Blank() {
  Record record;
  std::memset(&record, 0, sizeof record);
  return record;
}

class Builder {
 public:
  // A strict builder fails the run on any refused step; the others take
  // what they get (the objects may be there already, or half of them).
  Builder(Driver& d, bool strict) : d_(d), h_(d.Main()), strict_(strict) {}

  int32_t Must(int32_t rc, const std::string& what) {
    if (strict_ && rc != XO_OK) d_.Fail("setup: " + what + " gave " + std::to_string(rc));
    return rc;
  }

  void System() {
    for (const char* name : {"gw", "proxy"}) {
      auto agent = Blank<AgentRecord>();
      d_.Put(agent.name, name);
      d_.Put(agent.agentTypeName, "HTTP Agent");
      Must(Xo_PolicyApi_AddAgent(h_, &agent, 0), name);
    }
    auto edge = Blank<GroupRecord>();
    d_.Put(edge.name, "edge");
    d_.Put(edge.vendorName, "HTTP Agent");
    Must(Xo_PolicyApi_AddGroup(h_, XO_GROUP_AGENT, nullptr, &edge, 0), "edge");
    Must(Xo_PolicyApi_AddToGroup(h_, XO_GROUP_AGENT, "edge", "gw", nullptr, nullptr), "edge gw");

    auto forms = Blank<SchemeRecord>();
    d_.Put(forms.name, "forms");
    d_.Put(forms.schemeString1, "forms");
    forms.schemeInt1 = 5;
    Must(Xo_PolicyApi_AddScheme(h_, &forms, 0), "forms");

    auto queries = Blank<OdbcQuerySchemeRecord>();
    d_.Put(queries.name, "hr queries");
    Must(Xo_PolicyApi_CreateODBCQueryScheme(h_, &queries, 0), "hr queries");
    // Directories whose servers refuse at once.
    Directory("corp", "LDAP:", "ldap://127.0.0.1:1", "");
    Directory("db", "ODBC:", "DSN=xo-fuzz-absent", "hr queries");

    auto ann = Blank<AdminRecord>();
    d_.Put(ann.name, "ann");
    d_.Put(ann.adminText, "ann's password");
    ann.adminFlags = XO_ADMIN_DOMAIN;
    Must(Xo_PolicyApi_AddAdmin(h_, &ann, 0), "ann");
  }

  void Domain(const char* domain) {
    auto record = Blank<DomainRecord>();
    d_.Put(record.name, domain);
    Must(Xo_PolicyApi_AddDomain(h_, &record, 0), domain);
    Must(Xo_PolicyApi_AddUserDirToDomain(h_, "corp", domain), "corp in domain");
    Must(Xo_PolicyApi_AddAdminToDomain(h_, "ann", domain), "ann in domain");
    Realm(domain, "web", "", "gw");
    Realm(domain, "api", "web", "edge");
    for (const char* realm : {"web", "api"}) {
      for (const char* rule : {"get", "post"}) Rule(domain, realm, rule);
    }
    for (const char* name : {"hello", "deny"}) {
      auto response = Blank<ResponseRecord>();
      d_.Put(response.name, name);
      d_.Put(response.agentTypeName, "HTTP Agent");
      Must(Xo_PolicyApi_AddResponse(h_, domain, &response, 0), name);
    }
    auto attr = Blank<ResponseAttrRecord>();
    d_.Put(attr.attrName, "HTTP-Header-Fixed");
    d_.Put(attr.value, "X-Fuzz: 1");
    Must(Xo_PolicyApi_AddResponseAttr(h_, "hello", domain, &attr), "attribute");
    Group(domain, XO_GROUP_RULE, "gA", "get", "web");
    Group(domain, XO_GROUP_RESPONSE, "gB", "hello", nullptr);
    Policy(domain, "staff", "web", "get", "hello");
    Policy(domain, "guests", "api", "gA", "gB");
    // The entry is looked up in the directory, which is not there: this one
    // is made only when the run's random calls reach it.
    Xo_PolicyApi_AddUsersToPolicy(h_, domain, "staff", "corp", "uid=ann,ou=people",
                                  Xo_PolicyResolution_User);
  }

 private:
  void Directory(const char* name, const char* type, const char* server, const char* queries) {
    auto directory = Blank<UserDirRecord>();
    d_.Put(directory.name, name);
    d_.Put(directory.directoryType, type);
    d_.Put(directory.string1, server);
    d_.Put(directory.querySchemeName, queries);
    directory.int2 = 1;
    Must(Xo_PolicyApi_CreateUserDir(h_, &directory, 0), name);
  }

  void Realm(const char* domain, const char* name, const char* parent, const char* agent) {
    auto realm = Blank<RealmRecord>();
    d_.Put(realm.name, name);
    d_.Put(realm.parentName, parent);
    d_.Put(realm.agentName, agent);
    d_.Put(realm.schemeName, "Basic");
    Must(Xo_PolicyApi_AddRealm(h_, domain, &realm, 0), name);
  }

  void Rule(const char* domain, const char* realm, const char* name) {
    auto rule = Blank<RuleRecord>();
    d_.Put(rule.name, name);
    d_.Put(rule.realmName, realm);
    d_.Put(rule.ruleText1, "GET");
    d_.Put(rule.ruleText2, "/index.html");
    rule.ruleFlag1 = 1;
    Must(Xo_PolicyApi_AddRule(h_, domain, &rule, 0), name);
  }

  void Group(const char* domain, int32_t type, const char* name, const char* member,
             const char* realm) {
    auto group = Blank<GroupRecord>();
    d_.Put(group.name, name);
    d_.Put(group.vendorName, "HTTP Agent");
    Must(Xo_PolicyApi_AddGroup(h_, type, domain, &group, 0), name);
    Must(Xo_PolicyApi_AddToGroup(h_, type, name, member, domain, realm), member);
  }

  void Policy(const char* domain, const char* name, const char* realm, const char* rule,
              const char* response) {
    auto policy = Blank<PolicyRecord>();
    d_.Put(policy.name, name);
    Must(Xo_PolicyApi_AddPolicy(h_, domain, &policy, 0), name);
    auto link = Blank<PolicyLinkRecord>();
    d_.Put(link.realmName, realm);
    d_.Put(link.ruleName, rule);
    d_.Put(link.responseName, response);
    Must(Xo_PolicyApi_AddPolicyLink(h_, domain, name, &link), "link");
  }

  Driver& d_;
  PolicyApiSession* h_;
  bool strict_;
};

}  // namespace

void BuildStartingObjects(Driver& d) {
  Builder builder(d, true);
  builder.System();
  for (const char* domain : {"sales", "hr"}) builder.Domain(domain);
}

int32_t Rebuild(Driver& d) {
  Builder builder(d, false);
  if (d.Chance(30)) builder.System();
  builder.Domain(d.PoolName(Kind::Domain));
  return XO_OK;
}

}  // namespace xo::fuzz
