#include "support/ApiCatalog.h"

namespace xo::test {
namespace {

template <class Record>
Record Named(const char* name) {
  Record record{};
  Put(record.name, name);
  return record;
}

RuleRecord Rule(const char* name) {
  RuleRecord record = Named<RuleRecord>(name);
  Put(record.realmName, "web");
  return record;
}
RealmRecord Realm(const char* name) {
  RealmRecord record = Named<RealmRecord>(name);
  Put(record.agentName, "gateway");
  Put(record.schemeName, "Basic");
  return record;
}
ResponseRecord Response(const char* name) {
  ResponseRecord record = Named<ResponseRecord>(name);
  Put(record.agentTypeName, "HTTP Agent");
  return record;
}
ResponseAttrRecord Attr(const char* value) {
  ResponseAttrRecord record{};
  Put(record.attrName, "HTTP-Header-Fixed");
  Put(record.value, value);
  return record;
}
GroupRecord Group(const char* name) {
  GroupRecord record = Named<GroupRecord>(name);
  Put(record.vendorName, "HTTP Agent");
  return record;
}
AgentRecord Agent(const char* name) {
  AgentRecord record = Named<AgentRecord>(name);
  Put(record.agentTypeName, "HTTP Agent");
  return record;
}
AdminRecord Admin(const char* name) {
  AdminRecord record = Named<AdminRecord>(name);
  Put(record.adminText, "pw");
  record.adminFlags = XO_ADMIN_DOMAIN;
  return record;
}
PolicyLinkRecord Link(const char* rule, const char* response) {
  PolicyLinkRecord record{};
  Put(record.realmName, "web");
  Put(record.ruleName, rule);
  Put(record.responseName, response);
  return record;
}

void Made(int32_t rc, const char* what) { ASSERT_EQ(rc, XO_OK) << "preparing " << what; }

// Identifiers of the catalog store made last, for the rename calls.
std::string ruleOid, domainOid;

using S = PolicyApiSession*;
using A = Args&;
using K = Kind;
using Clears = Args::Clears;
constexpr RightsScope kSystem = RightsScope::System;
constexpr RightsScope kDomain = RightsScope::Domain;
constexpr RightsScope kUsers = RightsScope::DirectoryUsers;

// The names most calls use.
const char* Own(A a) { return a.Name(K::Domain, "own"); }
const char* Staff(A a) { return a.Name(K::Policy, "staff"); }
const char* Welcome(A a) { return a.Name(K::Response, "welcome"); }
const char* Hr(A a) { return a.Name(K::UserDir, "hr"); }
const char* Bob(A a) { return a.Name(K::Entry, "users/bob"); }
const char* Eve(A a) { return a.Name(K::Admin, "eve"); }
const char* Everyday(A a) { return a.Name(K::Group, "everyday"); }
int32_t RuleType(A a) { return a.Number(XO_GROUP_RULE); }

UserDirRecord LdapDirectory(const char* name) {
  UserDirRecord record = Named<UserDirRecord>(name);
  Put(record.directoryType, "LDAP:");
  return record;
}

// An add that takes a record and an update flag, into the domain "own".
template <class R, class Add>
int32_t AddInOwn(S h, A a, R record, int32_t update, Add&& add) {
  return a.With(record, [&](R* r) { return add(h, Own(a), r, a.Number(update)); });
}
int32_t AddRuleGroup(S h, A a, GroupRecord record) {
  return a.With(record, [&](GroupRecord* r) {
    return Xo_PolicyApi_AddGroup(h, RuleType(a), Own(a), r, a.Number(1));
  });
}
template <class R, class Add>
int32_t AddGlobal(S h, A a, R record, Add&& add) {
  return a.With(record, [&](R* r) { return add(h, r, a.Number(1)); });
}

// Made on first use: the test suites instantiate their cases from it while
// the program starts.
std::vector<CatalogCall> MakeCalls() {
  constexpr int32_t kNoSession = XO_ERR_GENERAL, kBad = XO_ERR_BAD_HANDLE;
  constexpr StoreOp kNotice = StoreOp::InvalidateCache;
  // clang-format off
  return {
    {"AddRule", kDomain, [](S h, A a) { return AddInOwn(h, a, Rule("new-rule"), 1, Xo_PolicyApi_AddRule); }},
    {"DeleteRule", kDomain, [](S h, A a) { return Xo_PolicyApi_DeleteRule(h, a.Name(K::Rule, "put"), a.Name(K::Realm, "web"), Own(a)); }},
    {"GetRule", kDomain, [](S h, A a) { return a.List<RuleRecord>([&](auto l) { return Xo_PolicyApi_GetRule(h, a.Name(K::Rule, "get"), a.Name(K::Realm, "web"), Own(a), l); }); }, kBad},
    {"AddPolicy", kDomain, [](S h, A a) { return AddInOwn(h, a, Named<PolicyRecord>("new-policy"), 1, Xo_PolicyApi_AddPolicy); }},
    {"DeletePolicy", kDomain, [](S h, A a) { return Xo_PolicyApi_DeletePolicy(h, a.Name(K::Policy, "old-policy"), Own(a)); }},
    {"GetPolicy", kDomain, [](S h, A a) { return a.List<PolicyRecord>([&](auto l) { return Xo_PolicyApi_GetPolicy(h, Staff(a), Own(a), l); }); }},
    {"AddPolicyLink", kDomain, [](S h, A a) { return a.With(Link("put", ""), [&](auto r) { return Xo_PolicyApi_AddPolicyLink(h, Own(a), Staff(a), r); }); }},
    {"RemoveRuleFromPolicy", kDomain, [](S h, A a) { return Xo_PolicyApi_RemoveRuleFromPolicy(h, Own(a), Staff(a), a.Name(K::Realm, "web"), a.Name(K::Rule, "get")); }},
    {"GetPolicyLinks", kDomain, [](S h, A a) { return a.List<PolicyLinkRecord>([&](auto l) { return Xo_PolicyApi_GetPolicyLinks(h, Own(a), Staff(a), l); }); }},
    {"SetResponseInPolicyLink", kDomain, [](S h, A a) { return a.With(Link("get", "welcome"), [&](auto r) { return Xo_PolicyApi_SetResponseInPolicyLink(h, Own(a), Staff(a), r); }); }},
    {"AddUsersToPolicy", kDomain, [](S h, A a) { return Xo_PolicyApi_AddUsersToPolicy(h, Own(a), Staff(a), Hr(a), a.Name(K::Entry, "users/bob"), a.Number(Xo_PolicyResolution_User)); }, kNoSession, kNotice},
    {"RemoveUsersFromPolicy", kDomain, [](S h, A a) { return Xo_PolicyApi_RemoveUsersFromPolicy(h, Own(a), Staff(a), Hr(a), a.Name(K::Entry, "users/alice")); }, kNoSession, kNotice},
    {"GetPolicyUsers", kDomain, [](S h, A a) { return a.List<UserEntryRecord>([&](auto l) { return Xo_PolicyApi_GetPolicyUsers(h, Own(a), Staff(a), Hr(a), l); }); }},
    {"AddDomain", kSystem, [](S h, A a) { return AddGlobal(h, a, Named<DomainRecord>("new-domain"), Xo_PolicyApi_AddDomain); }},
    {"DeleteDomain", kSystem, [](S h, A a) { return Xo_PolicyApi_DeleteDomain(h, a.Name(K::Domain, "old-domain")); }},
    {"GetDomain", kSystem, [](S h, A a) { return a.List<DomainRecord>([&](auto l) { return Xo_PolicyApi_GetDomain(h, Own(a), l); }); }},
    {"GetDomainObjectNames", kDomain, [](S h, A a) { return a.Names([&](auto n) { return Xo_PolicyApi_GetDomainObjectNames(h, Own(a), a.Number(XO_DOMAIN_RULES), n); }, Clears::HandsOutPart); }},
    {"AddRealm", kDomain, [](S h, A a) { return AddInOwn(h, a, Realm("new-realm"), 0, Xo_PolicyApi_AddRealm); }},
    {"DeleteRealm", kDomain, [](S h, A a) { return Xo_PolicyApi_DeleteRealm(h, a.Name(K::Realm, "old-realm"), Own(a)); }},
    {"GetRealm", kDomain, [](S h, A a) { return a.List<RealmRecord>([&](auto l) { return Xo_PolicyApi_GetRealm(h, a.Name(K::Realm, "web"), Own(a), l); }); }},
    // Without a domain every domain is searched, on the system's rights.
    {"GetRealm_EveryDomain", kSystem, [](S h, A a) { return a.List<RealmRecord>([&](auto l) { return Xo_PolicyApi_GetRealm(h, a.Name(K::Realm, "web"), a.Name(K::Domain, ""), l); }); }},
    {"FlushRealm", kDomain, [](S h, A a) { return Xo_PolicyApi_FlushRealm(h, a.Name(K::Realm, "web"), Own(a)); }},
    {"AddResponse", kDomain, [](S h, A a) { return AddInOwn(h, a, Response("new-response"), 0, Xo_PolicyApi_AddResponse); }},
    {"DeleteResponse", kDomain, [](S h, A a) { return Xo_PolicyApi_DeleteResponse(h, a.Name(K::Response, "old-response"), Own(a)); }},
    {"GetResponse", kDomain, [](S h, A a) { return a.List<ResponseRecord>([&](auto l) { return Xo_PolicyApi_GetResponse(h, Welcome(a), Own(a), l); }); }},
    {"AddResponseAttr", kDomain, [](S h, A a) { return a.With(Attr("X-New: 1"), [&](auto r) { return Xo_PolicyApi_AddResponseAttr(h, Welcome(a), Own(a), r); }); }, kNoSession, kNotice},
    {"RemoveResponseAttr", kDomain, [](S h, A a) { return a.With(Attr("X-Staff: 1"), [&](auto r) { return Xo_PolicyApi_RemoveResponseAttr(h, Welcome(a), Own(a), r); }); }, kNoSession, kNotice},
    {"GetResponseAttrs", kDomain, [](S h, A a) { return a.List<ResponseAttrRecord>([&](auto l) { return Xo_PolicyApi_GetResponseAttrs(h, Welcome(a), Own(a), l); }); }},
    {"CreateUserDir", kSystem, [](S h, A a) { return AddGlobal(h, a, LdapDirectory("new-dir"), Xo_PolicyApi_CreateUserDir); }},
    {"DeleteUserDir", kSystem, [](S h, A a) { return Xo_PolicyApi_DeleteUserDir(h, a.Name(K::UserDir, "old-dir")); }},
    {"GetUserDir", kSystem, [](S h, A a) { return a.List<UserDirRecord>([&](auto l) { return Xo_PolicyApi_GetUserDir(h, Hr(a), l); }); }},
    {"AddUserDirToDomain", kSystem, [](S h, A a) { return Xo_PolicyApi_AddUserDirToDomain(h, a.Name(K::UserDir, "spare"), Own(a)); }},
    {"RemoveUserDirFromDomain", kSystem, [](S h, A a) { return Xo_PolicyApi_RemoveUserDirFromDomain(h, Hr(a), Own(a)); }},
    {"GetUserDirSearchOrder", kSystem, [](S h, A a) { return a.Names([&](auto n) { return Xo_PolicyApi_GetUserDirSearchOrder(h, Own(a), n); }); }},
    {"SetUserDirSearchOrder", kSystem, [](S h, A a) { const char* order[] = {Hr(a), nullptr}; return Xo_PolicyApi_SetUserDirSearchOrder(h, Own(a), a.Out(const_cast<char**>(order))); }},
    {"CreateODBCQueryScheme", kSystem, [](S h, A a) { return AddGlobal(h, a, Named<OdbcQuerySchemeRecord>("new-queries"), Xo_PolicyApi_CreateODBCQueryScheme); }},
    {"DeleteODBCQueryScheme", kSystem, [](S h, A a) { return Xo_PolicyApi_DeleteODBCQueryScheme(h, a.Name(K::OdbcQuery, "old-queries")); }},
    {"GetODBCQueryScheme", kSystem, [](S h, A a) { return a.List<OdbcQuerySchemeRecord>([&](auto l) { return Xo_PolicyApi_GetODBCQueryScheme(h, a.Name(K::OdbcQuery, "queries"), l); }); }},
    {"GetDirectoryContents", kSystem, [](S h, A a) { return a.List<UserEntryRecord>([&](auto l) { return Xo_PolicyApi_GetDirectoryContents(h, Hr(a), l); }); }},
    {"SetDisableUserState", kUsers, [](S h, A a) { return Xo_PolicyApi_SetDisableUserState(h, Hr(a), Bob(a), a.Number(Xo_Api_NotDisabled), nullptr); }},
    {"GetDisableUserState", kUsers, [](S h, A a) { Xo_Api_DisabledReason_t reason{}; return Xo_PolicyApi_GetDisableUserState(h, Hr(a), Bob(a), a.Out(&reason), nullptr); }},
    {"SetPassword", kUsers, [](S h, A a) { return Xo_PolicyApi_SetPassword(h, Hr(a), Bob(a), a.Name(K::Text, "bob-pw"), nullptr); }},
    {"FlushUser", kUsers, [](S h, A a) { return Xo_PolicyApi_FlushUser(h, Hr(a), Bob(a)); }},
    {"AddAgent", kSystem, [](S h, A a) { return AddGlobal(h, a, Agent("new-agent"), Xo_PolicyApi_AddAgent); }},
    {"DeleteAgent", kSystem, [](S h, A a) { return Xo_PolicyApi_DeleteAgent(h, a.Name(K::Agent, "old-agent")); }},
    {"GetAgent", kSystem, [](S h, A a) { return a.List<AgentRecord>([&](auto l) { return Xo_PolicyApi_GetAgent(h, a.Name(K::Agent, "gateway"), l); }); }},
    {"AddScheme", kSystem, [](S h, A a) { return AddGlobal(h, a, Named<SchemeRecord>("new-scheme"), Xo_PolicyApi_AddScheme); }},
    {"DeleteScheme", kSystem, [](S h, A a) { return Xo_PolicyApi_DeleteScheme(h, a.Name(K::Scheme, "old-scheme")); }},
    {"GetScheme", kSystem, [](S h, A a) { return a.List<SchemeRecord>([&](auto l) { return Xo_PolicyApi_GetScheme(h, a.Name(K::Scheme, "tokens"), l); }); }},
    {"AddAdmin", kSystem, [](S h, A a) { return AddGlobal(h, a, Admin("new-admin"), Xo_PolicyApi_AddAdmin); }},
    {"DeleteAdmin", kSystem, [](S h, A a) { return Xo_PolicyApi_DeleteAdmin(h, a.Name(K::Admin, "old-admin")); }},
    {"GetAdmin", kSystem, [](S h, A a) { return a.List<AdminRecord>([&](auto l) { return Xo_PolicyApi_GetAdmin(h, Eve(a), l); }); }},
    {"AddAdminToDomain", kSystem, [](S h, A a) { return Xo_PolicyApi_AddAdminToDomain(h, Eve(a), Own(a)); }},
    {"RemoveAdminFromDomain", kSystem, [](S h, A a) { return Xo_PolicyApi_RemoveAdminFromDomain(h, Eve(a), a.Name(K::Domain, "other")); }},
    {"AddGroup", kDomain, [](S h, A a) { return AddRuleGroup(h, a, Group("new-group")); }},
    {"GetGroup", kDomain, [](S h, A a) { return a.List<GroupRecord>([&](auto l) { return Xo_PolicyApi_GetGroup(h, RuleType(a), Everyday(a), Own(a), l); }); }},
    {"GetGroupNames", kDomain, [](S h, A a) { return a.Names([&](auto n) { return Xo_PolicyApi_GetGroupNames(h, RuleType(a), Everyday(a), Own(a), n); }, Clears::OnFailure); }},
    {"AddToGroup", kDomain, [](S h, A a) { return Xo_PolicyApi_AddToGroup(h, RuleType(a), Everyday(a), a.Name(K::Rule, "put"), Own(a), a.Name(K::Realm, "web")); }, kBad},
    {"AddToGroup_AgentGroup", kSystem, [](S h, A a) { return Xo_PolicyApi_AddToGroup(h, a.Number(XO_GROUP_AGENT), a.Name(K::Group, "edge"), a.Name(K::Agent, "gateway"), a.Name(K::Domain, ""), a.Name(K::Realm, "")); }, kBad},
    {"RemoveFromGroup", kDomain, [](S h, A a) { return Xo_PolicyApi_RemoveFromGroup(h, RuleType(a), Everyday(a), a.Name(K::Rule, "get"), Own(a), a.Name(K::Realm, "web")); }, kBad},
    {"IsGroup", kDomain, [](S h, A a) { uint8_t isGroup = 0; return Xo_PolicyApi_IsGroup(h, RuleType(a), Everyday(a), Own(a), a.Out(&isGroup)); }, kBad},
    {"DeleteGroup", kDomain, [](S h, A a) { return Xo_PolicyApi_DeleteGroup(h, RuleType(a), Own(a), a.Name(K::Group, "old-group")); }, kBad},
    {"GetGlobalObjectNames", kSystem, [](S h, A a) { return a.Names([&](auto n) { return Xo_PolicyApi_GetGlobalObjectNames(h, a.Number(XO_GLOBAL_DOMAINS), n); }, Clears::OnFailure); }},
    {"RenameObject", kDomain, [](S h, A a) { return Xo_PolicyApi_RenameObject(h, a.Name(K::Text, ruleOid.c_str()), a.Name(K::Rule, "got")); }},
    // A domain belongs to the root: its own administrators may not rename it.
    {"RenameObject_Domain", kSystem, [](S h, A a) { return Xo_PolicyApi_RenameObject(h, a.Name(K::Text, domainOid.c_str()), a.Name(K::Domain, "ours")); }},
    {"ManagementCommand", RightsScope::Command, [](S h, A a) { return a.With(ManagementCommandRecord{1, "all"}, [&](auto p) { return Xo_PolicyApi_ManagementCommand(h, p); }); }},
    // Adds with the update flag that rewrite the object of the name.
    {"AddRule_Rewrite", kDomain, [](S h, A a) { return AddInOwn(h, a, Rule("get"), 1, Xo_PolicyApi_AddRule); }},
    {"AddPolicy_Rewrite", kDomain, [](S h, A a) { return AddInOwn(h, a, Named<PolicyRecord>("staff"), 1, Xo_PolicyApi_AddPolicy); }},
    {"AddRealm_Rewrite", kDomain, [](S h, A a) { return AddInOwn(h, a, Realm("web"), 1, Xo_PolicyApi_AddRealm); }},
    {"AddResponse_Rewrite", kDomain, [](S h, A a) { return AddInOwn(h, a, Response("welcome"), 1, Xo_PolicyApi_AddResponse); }},
    {"AddGroup_Rewrite", kDomain, [](S h, A a) { return AddRuleGroup(h, a, Group("everyday")); }},
    {"AddDomain_Rewrite", kSystem, [](S h, A a) { return AddGlobal(h, a, Named<DomainRecord>("own"), Xo_PolicyApi_AddDomain); }},
    {"AddAgent_Rewrite", kSystem, [](S h, A a) { return AddGlobal(h, a, Agent("gateway"), Xo_PolicyApi_AddAgent); }},
    {"AddScheme_Rewrite", kSystem, [](S h, A a) { return AddGlobal(h, a, Named<SchemeRecord>("tokens"), Xo_PolicyApi_AddScheme); }},
    {"AddAdmin_Rewrite", kSystem, [](S h, A a) { return AddGlobal(h, a, Admin("eve"), Xo_PolicyApi_AddAdmin); }},
    {"CreateODBCQueryScheme_Rewrite", kSystem, [](S h, A a) { return AddGlobal(h, a, Named<OdbcQuerySchemeRecord>("queries"), Xo_PolicyApi_CreateODBCQueryScheme); }},
  };
  // clang-format on
}

}  // namespace

const std::vector<CatalogCall>& CatalogCalls() {
  static const std::vector<CatalogCall> calls = MakeCalls();
  return calls;
}

void Args::WalkAndFree(char** names) {
  long count = 0;
  for (char** slot = names; *slot != nullptr; ++slot) {
    if (++count > 1000000) return Fail("a returned array does not end");
    volatile size_t length = std::strlen(*slot);  // reads every byte
    (void)length;
  }
  if (Xo_PolicyApi_FreeStringArray(names) != XO_OK) Fail("FreeStringArray refused an array");
}

CatalogStore::CatalogStore(DirectStore& store, PolicyApiSession* h) {
  for (const char* name : {"own", "other", "old-domain"}) {
    DomainRecord r = Named<DomainRecord>(name);
    Made(Xo_PolicyApi_AddDomain(h, &r, 0), name);
    if (std::strcmp(name, "own") == 0) domainOid = r.objectId;
  }
  for (const char* name : {"gateway", "old-agent"}) {
    AgentRecord r = Agent(name);
    Made(Xo_PolicyApi_AddAgent(h, &r, 0), name);
  }
  GroupRecord edge = Group("edge");
  Made(Xo_PolicyApi_AddGroup(h, XO_GROUP_AGENT, "", &edge, 0), "edge");
  for (const char* name : {"tokens", "old-scheme"}) {
    SchemeRecord r = Named<SchemeRecord>(name);
    Made(Xo_PolicyApi_AddScheme(h, &r, 0), name);
  }
  CXoObjODBCQuery queries = odbc_.QueryScheme("queries");
  const CXoObjId scheme = store.Save(queries);
  CXoObjODBCQuery old = odbc_.QueryScheme("old-queries");
  store.Save(old);
  for (const char* name : {"hr", "spare", "old-dir"}) {
    CXoObjUserDirectory directory = odbc_.Directory(scheme, name);
    store.Save(directory);
  }
  Made(Xo_PolicyApi_AddUserDirToDomain(h, "hr", "own"), "search order");
  for (const char* name : {"eve", "old-admin"}) {
    AdminRecord r = Admin(name);
    Made(Xo_PolicyApi_AddAdmin(h, &r, 0), name);
  }
  Made(Xo_PolicyApi_AddAdminToDomain(h, "eve", "other"), "eve in other");
  for (const char* name : {"web", "old-realm"}) {
    RealmRecord r = Realm(name);
    Made(Xo_PolicyApi_AddRealm(h, "own", &r, 0), name);
  }
  RuleRecord get = Rule("get");
  Made(Xo_PolicyApi_AddRule(h, "own", &get, 0), "get");
  ruleOid = get.objectId;
  RuleRecord put = Rule("put");
  Made(Xo_PolicyApi_AddRule(h, "own", &put, 0), "put");
  for (const char* name : {"staff", "old-policy"}) {
    PolicyRecord r = Named<PolicyRecord>(name);
    Made(Xo_PolicyApi_AddPolicy(h, "own", &r, 0), name);
  }
  for (const char* name : {"welcome", "old-response"}) {
    ResponseRecord r = Response(name);
    Made(Xo_PolicyApi_AddResponse(h, "own", &r, 0), name);
  }
  ResponseAttrRecord attr = Attr("X-Staff: 1");
  Made(Xo_PolicyApi_AddResponseAttr(h, "welcome", "own", &attr), "attribute");
  for (const char* name : {"everyday", "old-group"}) {
    GroupRecord r = Group(name);
    Made(Xo_PolicyApi_AddGroup(h, XO_GROUP_RULE, "own", &r, 0), name);
  }
  Made(Xo_PolicyApi_AddToGroup(h, XO_GROUP_RULE, "everyday", "get", "own", "web"), "member");
  PolicyLinkRecord link = Link("get", "welcome");
  Made(Xo_PolicyApi_AddPolicyLink(h, "own", "staff", &link), "link");
  Made(Xo_PolicyApi_AddUsersToPolicy(h, "own", "staff", "hr", "users/alice",
                                     Xo_PolicyResolution_User),
       "policy user");
}

int32_t CatalogStore::Expected(const CatalogCall& call, int32_t flags, bool listedInOwn) {
  if (flags & XO_ADMIN_SYSTEM) return XO_OK;
  switch (call.scope) {
    case RightsScope::Domain:
    case RightsScope::DirectoryUsers:
      return (flags & XO_ADMIN_DOMAIN) && listedInOwn ? XO_OK : XO_ERR_GENERAL;
    case RightsScope::Command:
      return (flags & XO_ADMIN_COMMAND(1)) ? XO_OK : XO_ERR_GENERAL;
    default:
      return XO_ERR_GENERAL;
  }
}

}  // namespace xo::test
