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

// An add that takes a record and an update flag, into the domain "own".
template <class R, class Add>
int32_t AddInOwn(S h, A a, R record, int32_t update, Add&& add) {
  return a.With(record,
                [&](R* r) { return add(h, a.Name(K::Domain, "own"), r, a.Number(update)); });
}
int32_t AddRuleGroup(S h, A a, GroupRecord record) {
  return a.With(record, [&](GroupRecord* r) {
    return Xo_PolicyApi_AddGroup(h, a.Number(XO_GROUP_RULE), a.Name(K::Domain, "own"), r,
                                 a.Number(1));
  });
}
template <class R, class Add>
int32_t AddGlobal(S h, A a, R record, Add&& add) {
  return a.With(record, [&](R* r) { return add(h, r, a.Number(1)); });
}

// Made on first use: the test suites instantiate their cases from it while
// the program starts.
std::vector<CatalogCall> MakeCalls() {
  return {
      {"AddRule", kDomain,
       [](S h, A a) { return AddInOwn(h, a, Rule("new-rule"), 1, Xo_PolicyApi_AddRule); }},
      {"DeleteRule", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_DeleteRule(h, a.Name(K::Rule, "put"), a.Name(K::Realm, "web"),
                                        a.Name(K::Domain, "own"));
       }},
      {"GetRule", kDomain,
       [](S h, A a) {
         return a.List<RuleRecord>([&](RuleRecord** l) {
           return Xo_PolicyApi_GetRule(h, a.Name(K::Rule, "get"), a.Name(K::Realm, "web"),
                                       a.Name(K::Domain, "own"), l);
         });
       },
       XO_ERR_BAD_HANDLE},
      {"AddPolicy", kDomain,
       [](S h, A a) {
         return AddInOwn(h, a, Named<PolicyRecord>("new-policy"), 1, Xo_PolicyApi_AddPolicy);
       }},
      {"DeletePolicy", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_DeletePolicy(h, a.Name(K::Policy, "old-policy"),
                                          a.Name(K::Domain, "own"));
       }},
      {"GetPolicy", kDomain,
       [](S h, A a) {
         return a.List<PolicyRecord>([&](PolicyRecord** l) {
           return Xo_PolicyApi_GetPolicy(h, a.Name(K::Policy, "staff"), a.Name(K::Domain, "own"),
                                         l);
         });
       }},
      {"AddPolicyLink", kDomain,
       [](S h, A a) {
         PolicyLinkRecord r = Link("put", "");
         return a.With(r, [&](PolicyLinkRecord* p) {
           return Xo_PolicyApi_AddPolicyLink(h, a.Name(K::Domain, "own"),
                                             a.Name(K::Policy, "staff"), p);
         });
       }},
      {"RemoveRuleFromPolicy", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_RemoveRuleFromPolicy(h, a.Name(K::Domain, "own"),
                                                  a.Name(K::Policy, "staff"),
                                                  a.Name(K::Realm, "web"), a.Name(K::Rule, "get"));
       }},
      {"GetPolicyLinks", kDomain,
       [](S h, A a) {
         return a.List<PolicyLinkRecord>([&](PolicyLinkRecord** l) {
           return Xo_PolicyApi_GetPolicyLinks(h, a.Name(K::Domain, "own"),
                                              a.Name(K::Policy, "staff"), l);
         });
       }},
      {"SetResponseInPolicyLink", kDomain,
       [](S h, A a) {
         PolicyLinkRecord r = Link("get", "welcome");
         return a.With(r, [&](PolicyLinkRecord* p) {
           return Xo_PolicyApi_SetResponseInPolicyLink(h, a.Name(K::Domain, "own"),
                                                       a.Name(K::Policy, "staff"), p);
         });
       }},
      {"AddUsersToPolicy", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_AddUsersToPolicy(
             h, a.Name(K::Domain, "own"), a.Name(K::Policy, "staff"), a.Name(K::UserDir, "hr"),
             a.Name(K::Entry, "users/bob"), a.Number(Xo_PolicyResolution_User));
       },
       XO_ERR_GENERAL, StoreOp::InvalidateCache},
      {"RemoveUsersFromPolicy", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_RemoveUsersFromPolicy(
             h, a.Name(K::Domain, "own"), a.Name(K::Policy, "staff"), a.Name(K::UserDir, "hr"),
             a.Name(K::Entry, "users/alice"));
       },
       XO_ERR_GENERAL, StoreOp::InvalidateCache},
      {"GetPolicyUsers", kDomain,
       [](S h, A a) {
         return a.List<UserEntryRecord>([&](UserEntryRecord** l) {
           return Xo_PolicyApi_GetPolicyUsers(h, a.Name(K::Domain, "own"),
                                              a.Name(K::Policy, "staff"), a.Name(K::UserDir, "hr"),
                                              l);
         });
       }},
      {"AddDomain", kSystem,
       [](S h, A a) {
         return AddGlobal(h, a, Named<DomainRecord>("new-domain"), Xo_PolicyApi_AddDomain);
       }},
      {"DeleteDomain", kSystem,
       [](S h, A a) { return Xo_PolicyApi_DeleteDomain(h, a.Name(K::Domain, "old-domain")); }},
      {"GetDomain", kSystem,
       [](S h, A a) {
         return a.List<DomainRecord>([&](DomainRecord** l) {
           return Xo_PolicyApi_GetDomain(h, a.Name(K::Domain, "own"), l);
         });
       }},
      {"GetDomainObjectNames", kDomain,
       [](S h, A a) {
         return a.Names(
             [&](char*** n) {
               return Xo_PolicyApi_GetDomainObjectNames(h, a.Name(K::Domain, "own"),
                                                        a.Number(XO_DOMAIN_RULES), n);
             },
             Clears::HandsOutPart);
       }},
      {"AddRealm", kDomain,
       [](S h, A a) { return AddInOwn(h, a, Realm("new-realm"), 0, Xo_PolicyApi_AddRealm); }},
      {"DeleteRealm", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_DeleteRealm(h, a.Name(K::Realm, "old-realm"),
                                         a.Name(K::Domain, "own"));
       }},
      {"GetRealm", kDomain,
       [](S h, A a) {
         return a.List<RealmRecord>([&](RealmRecord** l) {
           return Xo_PolicyApi_GetRealm(h, a.Name(K::Realm, "web"), a.Name(K::Domain, "own"), l);
         });
       }},
      {"FlushRealm", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_FlushRealm(h, a.Name(K::Realm, "web"), a.Name(K::Domain, "own"));
       }},
      {"AddResponse", kDomain,
       [](S h, A a) {
         return AddInOwn(h, a, Response("new-response"), 0, Xo_PolicyApi_AddResponse);
       }},
      {"DeleteResponse", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_DeleteResponse(h, a.Name(K::Response, "old-response"),
                                            a.Name(K::Domain, "own"));
       }},
      {"GetResponse", kDomain,
       [](S h, A a) {
         return a.List<ResponseRecord>([&](ResponseRecord** l) {
           return Xo_PolicyApi_GetResponse(h, a.Name(K::Response, "welcome"),
                                           a.Name(K::Domain, "own"), l);
         });
       }},
      {"AddResponseAttr", kDomain,
       [](S h, A a) {
         ResponseAttrRecord r = Attr("X-New: 1");
         return a.With(r, [&](ResponseAttrRecord* p) {
           return Xo_PolicyApi_AddResponseAttr(h, a.Name(K::Response, "welcome"),
                                               a.Name(K::Domain, "own"), p);
         });
       },
       XO_ERR_GENERAL, StoreOp::InvalidateCache},
      {"RemoveResponseAttr", kDomain,
       [](S h, A a) {
         ResponseAttrRecord r = Attr("X-Staff: 1");
         return a.With(r, [&](ResponseAttrRecord* p) {
           return Xo_PolicyApi_RemoveResponseAttr(h, a.Name(K::Response, "welcome"),
                                                  a.Name(K::Domain, "own"), p);
         });
       },
       XO_ERR_GENERAL, StoreOp::InvalidateCache},
      {"GetResponseAttrs", kDomain,
       [](S h, A a) {
         return a.List<ResponseAttrRecord>([&](ResponseAttrRecord** l) {
           return Xo_PolicyApi_GetResponseAttrs(h, a.Name(K::Response, "welcome"),
                                                a.Name(K::Domain, "own"), l);
         });
       }},
      {"CreateUserDir", kSystem,
       [](S h, A a) {
         UserDirRecord r = Named<UserDirRecord>("new-dir");
         Put(r.directoryType, "LDAP:");
         return AddGlobal(h, a, r, Xo_PolicyApi_CreateUserDir);
       }},
      {"DeleteUserDir", kSystem,
       [](S h, A a) { return Xo_PolicyApi_DeleteUserDir(h, a.Name(K::UserDir, "old-dir")); }},
      {"GetUserDir", kSystem,
       [](S h, A a) {
         return a.List<UserDirRecord>([&](UserDirRecord** l) {
           return Xo_PolicyApi_GetUserDir(h, a.Name(K::UserDir, "hr"), l);
         });
       }},
      {"AddUserDirToDomain", kSystem,
       [](S h, A a) {
         return Xo_PolicyApi_AddUserDirToDomain(h, a.Name(K::UserDir, "spare"),
                                                a.Name(K::Domain, "own"));
       }},
      {"RemoveUserDirFromDomain", kSystem,
       [](S h, A a) {
         return Xo_PolicyApi_RemoveUserDirFromDomain(h, a.Name(K::UserDir, "hr"),
                                                     a.Name(K::Domain, "own"));
       }},
      {"GetUserDirSearchOrder", kSystem,
       [](S h, A a) {
         return a.Names([&](char*** n) {
           return Xo_PolicyApi_GetUserDirSearchOrder(h, a.Name(K::Domain, "own"), n);
         });
       }},
      {"SetUserDirSearchOrder", kSystem,
       [](S h, A a) {
         const char* order[] = {a.Name(K::UserDir, "hr"), nullptr};
         return Xo_PolicyApi_SetUserDirSearchOrder(h, a.Name(K::Domain, "own"),
                                                   a.Out(const_cast<char**>(order)));
       }},
      {"CreateODBCQueryScheme", kSystem,
       [](S h, A a) {
         return AddGlobal(h, a, Named<OdbcQuerySchemeRecord>("new-queries"),
                          Xo_PolicyApi_CreateODBCQueryScheme);
       }},
      {"DeleteODBCQueryScheme", kSystem,
       [](S h, A a) {
         return Xo_PolicyApi_DeleteODBCQueryScheme(h, a.Name(K::OdbcQuery, "old-queries"));
       }},
      {"GetODBCQueryScheme", kSystem,
       [](S h, A a) {
         return a.List<OdbcQuerySchemeRecord>([&](OdbcQuerySchemeRecord** l) {
           return Xo_PolicyApi_GetODBCQueryScheme(h, a.Name(K::OdbcQuery, "queries"), l);
         });
       }},
      {"GetDirectoryContents", kSystem,
       [](S h, A a) {
         return a.List<UserEntryRecord>([&](UserEntryRecord** l) {
           return Xo_PolicyApi_GetDirectoryContents(h, a.Name(K::UserDir, "hr"), l);
         });
       }},
      {"SetDisableUserState", kUsers,
       [](S h, A a) {
         return Xo_PolicyApi_SetDisableUserState(h, a.Name(K::UserDir, "hr"),
                                                 a.Name(K::Entry, "users/bob"),
                                                 a.Number(Xo_Api_NotDisabled), nullptr);
       }},
      {"GetDisableUserState", kUsers,
       [](S h, A a) {
         Xo_Api_DisabledReason_t reason = Xo_Api_NotDisabled;
         return Xo_PolicyApi_GetDisableUserState(
             h, a.Name(K::UserDir, "hr"), a.Name(K::Entry, "users/bob"), a.Out(&reason), nullptr);
       }},
      {"SetPassword", kUsers,
       [](S h, A a) {
         return Xo_PolicyApi_SetPassword(h, a.Name(K::UserDir, "hr"), a.Name(K::Entry, "users/bob"),
                                         a.Name(K::Text, "bob-pw"), nullptr);
       }},
      {"FlushUser", kUsers,
       [](S h, A a) {
         return Xo_PolicyApi_FlushUser(h, a.Name(K::UserDir, "hr"), a.Name(K::Entry, "users/bob"));
       }},
      {"AddAgent", kSystem,
       [](S h, A a) { return AddGlobal(h, a, Agent("new-agent"), Xo_PolicyApi_AddAgent); }},
      {"DeleteAgent", kSystem,
       [](S h, A a) { return Xo_PolicyApi_DeleteAgent(h, a.Name(K::Agent, "old-agent")); }},
      {"GetAgent", kSystem,
       [](S h, A a) {
         return a.List<AgentRecord>([&](AgentRecord** l) {
           return Xo_PolicyApi_GetAgent(h, a.Name(K::Agent, "gateway"), l);
         });
       }},
      {"AddScheme", kSystem,
       [](S h, A a) {
         return AddGlobal(h, a, Named<SchemeRecord>("new-scheme"), Xo_PolicyApi_AddScheme);
       }},
      {"DeleteScheme", kSystem,
       [](S h, A a) { return Xo_PolicyApi_DeleteScheme(h, a.Name(K::Scheme, "old-scheme")); }},
      {"GetScheme", kSystem,
       [](S h, A a) {
         return a.List<SchemeRecord>([&](SchemeRecord** l) {
           return Xo_PolicyApi_GetScheme(h, a.Name(K::Scheme, "tokens"), l);
         });
       }},
      {"AddAdmin", kSystem,
       [](S h, A a) { return AddGlobal(h, a, Admin("new-admin"), Xo_PolicyApi_AddAdmin); }},
      {"DeleteAdmin", kSystem,
       [](S h, A a) { return Xo_PolicyApi_DeleteAdmin(h, a.Name(K::Admin, "old-admin")); }},
      {"GetAdmin", kSystem,
       [](S h, A a) {
         return a.List<AdminRecord>(
             [&](AdminRecord** l) { return Xo_PolicyApi_GetAdmin(h, a.Name(K::Admin, "eve"), l); });
       }},
      {"AddAdminToDomain", kSystem,
       [](S h, A a) {
         return Xo_PolicyApi_AddAdminToDomain(h, a.Name(K::Admin, "eve"), a.Name(K::Domain, "own"));
       }},
      {"RemoveAdminFromDomain", kSystem,
       [](S h, A a) {
         return Xo_PolicyApi_RemoveAdminFromDomain(h, a.Name(K::Admin, "eve"),
                                                   a.Name(K::Domain, "other"));
       }},
      {"AddGroup", kDomain, [](S h, A a) { return AddRuleGroup(h, a, Group("new-group")); }},
      {"GetGroup", kDomain,
       [](S h, A a) {
         return a.List<GroupRecord>([&](GroupRecord** l) {
           return Xo_PolicyApi_GetGroup(h, a.Number(XO_GROUP_RULE), a.Name(K::Group, "everyday"),
                                        a.Name(K::Domain, "own"), l);
         });
       }},
      {"GetGroupNames", kDomain,
       [](S h, A a) {
         return a.Names(
             [&](char*** n) {
               return Xo_PolicyApi_GetGroupNames(h, a.Number(XO_GROUP_RULE),
                                                 a.Name(K::Group, "everyday"),
                                                 a.Name(K::Domain, "own"), n);
             },
             Clears::OnFailure);
       }},
      {"AddToGroup", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_AddToGroup(h, a.Number(XO_GROUP_RULE), a.Name(K::Group, "everyday"),
                                        a.Name(K::Rule, "put"), a.Name(K::Domain, "own"),
                                        a.Name(K::Realm, "web"));
       },
       XO_ERR_BAD_HANDLE},
      {"AddToGroup_AgentGroup", kSystem,
       [](S h, A a) {
         return Xo_PolicyApi_AddToGroup(h, a.Number(XO_GROUP_AGENT), a.Name(K::Group, "edge"),
                                        a.Name(K::Agent, "gateway"), a.Name(K::Domain, ""),
                                        a.Name(K::Realm, ""));
       },
       XO_ERR_BAD_HANDLE},
      {"RemoveFromGroup", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_RemoveFromGroup(h, a.Number(XO_GROUP_RULE),
                                             a.Name(K::Group, "everyday"), a.Name(K::Rule, "get"),
                                             a.Name(K::Domain, "own"), a.Name(K::Realm, "web"));
       },
       XO_ERR_BAD_HANDLE},
      {"IsGroup", kDomain,
       [](S h, A a) {
         uint8_t isGroup = 0;
         return Xo_PolicyApi_IsGroup(h, a.Number(XO_GROUP_RULE), a.Name(K::Group, "everyday"),
                                     a.Name(K::Domain, "own"), a.Out(&isGroup));
       },
       XO_ERR_BAD_HANDLE},
      {"DeleteGroup", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_DeleteGroup(h, a.Number(XO_GROUP_RULE), a.Name(K::Domain, "own"),
                                         a.Name(K::Group, "old-group"));
       },
       XO_ERR_BAD_HANDLE},
      {"GetGlobalObjectNames", kSystem,
       [](S h, A a) {
         return a.Names(
             [&](char*** n) {
               return Xo_PolicyApi_GetGlobalObjectNames(h, a.Number(XO_GLOBAL_DOMAINS), n);
             },
             Clears::OnFailure);
       }},
      {"RenameObject", kDomain,
       [](S h, A a) {
         return Xo_PolicyApi_RenameObject(h, a.Name(K::Text, ruleOid.c_str()),
                                          a.Name(K::Rule, "got"));
       }},
      // Adds with the update flag that rewrite an object of the name.
      {"AddRule_Rewrite", kDomain,
       [](S h, A a) { return AddInOwn(h, a, Rule("get"), 1, Xo_PolicyApi_AddRule); }},
      {"AddPolicy_Rewrite", kDomain,
       [](S h, A a) {
         return AddInOwn(h, a, Named<PolicyRecord>("staff"), 1, Xo_PolicyApi_AddPolicy);
       }},
      {"AddRealm_Rewrite", kDomain,
       [](S h, A a) { return AddInOwn(h, a, Realm("web"), 1, Xo_PolicyApi_AddRealm); }},
      {"AddResponse_Rewrite", kDomain,
       [](S h, A a) { return AddInOwn(h, a, Response("welcome"), 1, Xo_PolicyApi_AddResponse); }},
      {"AddGroup_Rewrite", kDomain, [](S h, A a) { return AddRuleGroup(h, a, Group("everyday")); }},
      {"AddDomain_Rewrite", kSystem,
       [](S h, A a) {
         return AddGlobal(h, a, Named<DomainRecord>("own"), Xo_PolicyApi_AddDomain);
       }},
      {"AddAgent_Rewrite", kSystem,
       [](S h, A a) { return AddGlobal(h, a, Agent("gateway"), Xo_PolicyApi_AddAgent); }},
      {"AddScheme_Rewrite", kSystem,
       [](S h, A a) {
         return AddGlobal(h, a, Named<SchemeRecord>("tokens"), Xo_PolicyApi_AddScheme);
       }},
      {"AddAdmin_Rewrite", kSystem,
       [](S h, A a) { return AddGlobal(h, a, Admin("eve"), Xo_PolicyApi_AddAdmin); }},
      {"CreateODBCQueryScheme_Rewrite", kSystem,
       [](S h, A a) {
         return AddGlobal(h, a, Named<OdbcQuerySchemeRecord>("queries"),
                          Xo_PolicyApi_CreateODBCQueryScheme);
       }},
      // A domain belongs to the root: its own administrators may not rename it.
      {"RenameObject_Domain", kSystem,
       [](S h, A a) {
         return Xo_PolicyApi_RenameObject(h, a.Name(K::Text, domainOid.c_str()),
                                          a.Name(K::Domain, "ours"));
       }},
      {"ManagementCommand", RightsScope::Command,
       [](S h, A a) {
         ManagementCommandRecord r{1, "all"};
         return a.With(
             r, [&](ManagementCommandRecord* p) { return Xo_PolicyApi_ManagementCommand(h, p); });
       }},
  };
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
