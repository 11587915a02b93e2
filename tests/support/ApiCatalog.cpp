#include "support/ApiCatalog.h"

#include <gtest/gtest.h>

#include <cstring>

namespace xo::test {
namespace {

template <size_t N>
void Put(char (&field)[N], const char* text) {
  std::strncpy(field, text, N - 1);
}

template <class Record>
Record Named(const char* name) {
  Record record{};
  Put(record.name, name);
  return record;
}

// A Get call: whatever it hands out goes back.
template <class Record, class Get>
int32_t Freed(Get&& get) {
  Record* list = nullptr;
  const int32_t rc = get(&list);
  if (rc == XO_OK) Xo_PolicyApi_FreeMemory(list);
  return rc;
}
template <class Get>
int32_t FreedNames(Get&& get) {
  char** names = nullptr;
  const int32_t rc = get(&names);
  if (rc == XO_OK) Xo_PolicyApi_FreeStringArray(names);
  return rc;
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

std::vector<CatalogCall> MakeCalls(const std::string& ruleOid, const std::string& domainOid) {
  using S = PolicyApiSession*;
  constexpr RightsScope kSystem = RightsScope::System;
  constexpr RightsScope kDomain = RightsScope::Domain;
  constexpr RightsScope kUsers = RightsScope::DirectoryUsers;
  return {
      {"Xo_PolicyApi_AddRule", kDomain,
       [](S h) {
         RuleRecord r = Rule("new-rule");
         return Xo_PolicyApi_AddRule(h, "own", &r, 1);
       }},
      {"Xo_PolicyApi_DeleteRule", kDomain,
       [](S h) { return Xo_PolicyApi_DeleteRule(h, "put", "web", "own"); }},
      {"Xo_PolicyApi_GetRule", kDomain,
       [](S h) {
         return Freed<RuleRecord>(
             [&](RuleRecord** list) { return Xo_PolicyApi_GetRule(h, "get", "web", "own", list); });
       }},
      {"Xo_PolicyApi_AddPolicy", kDomain,
       [](S h) {
         PolicyRecord r = Named<PolicyRecord>("new-policy");
         return Xo_PolicyApi_AddPolicy(h, "own", &r, 1);
       }},
      {"Xo_PolicyApi_DeletePolicy", kDomain,
       [](S h) { return Xo_PolicyApi_DeletePolicy(h, "old-policy", "own"); }},
      {"Xo_PolicyApi_GetPolicy", kDomain,
       [](S h) {
         return Freed<PolicyRecord>(
             [&](PolicyRecord** list) { return Xo_PolicyApi_GetPolicy(h, "staff", "own", list); });
       }},
      {"Xo_PolicyApi_AddPolicyLink", kDomain,
       [](S h) {
         PolicyLinkRecord r = Link("put", "");
         return Xo_PolicyApi_AddPolicyLink(h, "own", "staff", &r);
       }},
      {"Xo_PolicyApi_RemoveRuleFromPolicy", kDomain,
       [](S h) { return Xo_PolicyApi_RemoveRuleFromPolicy(h, "own", "staff", "web", "get"); }},
      {"Xo_PolicyApi_GetPolicyLinks", kDomain,
       [](S h) {
         return Freed<PolicyLinkRecord>([&](PolicyLinkRecord** list) {
           return Xo_PolicyApi_GetPolicyLinks(h, "own", "staff", list);
         });
       }},
      {"Xo_PolicyApi_SetResponseInPolicyLink", kDomain,
       [](S h) {
         PolicyLinkRecord r = Link("get", "welcome");
         return Xo_PolicyApi_SetResponseInPolicyLink(h, "own", "staff", &r);
       }},
      {"Xo_PolicyApi_AddUsersToPolicy", kDomain,
       [](S h) {
         return Xo_PolicyApi_AddUsersToPolicy(h, "own", "staff", "hr", "users/bob",
                                              Xo_PolicyResolution_User);
       }},
      {"Xo_PolicyApi_RemoveUsersFromPolicy", kDomain,
       [](S h) {
         return Xo_PolicyApi_RemoveUsersFromPolicy(h, "own", "staff", "hr", "users/alice");
       }},
      {"Xo_PolicyApi_GetPolicyUsers", kDomain,
       [](S h) {
         return Freed<UserEntryRecord>([&](UserEntryRecord** list) {
           return Xo_PolicyApi_GetPolicyUsers(h, "own", "staff", "hr", list);
         });
       }},
      {"Xo_PolicyApi_AddDomain", kSystem,
       [](S h) {
         DomainRecord r = Named<DomainRecord>("new-domain");
         return Xo_PolicyApi_AddDomain(h, &r, 1);
       }},
      {"Xo_PolicyApi_DeleteDomain", kSystem,
       [](S h) { return Xo_PolicyApi_DeleteDomain(h, "old-domain"); }},
      {"Xo_PolicyApi_GetDomain", kSystem,
       [](S h) {
         return Freed<DomainRecord>(
             [&](DomainRecord** list) { return Xo_PolicyApi_GetDomain(h, "own", list); });
       }},
      {"Xo_PolicyApi_GetDomainObjectNames", kDomain,
       [](S h) {
         return FreedNames([&](char*** names) {
           return Xo_PolicyApi_GetDomainObjectNames(h, "own", XO_DOMAIN_RULES, names);
         });
       }},
      {"Xo_PolicyApi_AddRealm", kDomain,
       [](S h) {
         RealmRecord r = Realm("new-realm");
         return Xo_PolicyApi_AddRealm(h, "own", &r, 0);
       }},
      {"Xo_PolicyApi_DeleteRealm", kDomain,
       [](S h) { return Xo_PolicyApi_DeleteRealm(h, "old-realm", "own"); }},
      {"Xo_PolicyApi_GetRealm", kDomain,
       [](S h) {
         return Freed<RealmRecord>(
             [&](RealmRecord** list) { return Xo_PolicyApi_GetRealm(h, "web", "own", list); });
       }},
      {"Xo_PolicyApi_FlushRealm", kDomain,
       [](S h) { return Xo_PolicyApi_FlushRealm(h, "web", "own"); }},
      {"Xo_PolicyApi_AddResponse", kDomain,
       [](S h) {
         ResponseRecord r = Response("new-response");
         return Xo_PolicyApi_AddResponse(h, "own", &r, 0);
       }},
      {"Xo_PolicyApi_DeleteResponse", kDomain,
       [](S h) { return Xo_PolicyApi_DeleteResponse(h, "old-response", "own"); }},
      {"Xo_PolicyApi_GetResponse", kDomain,
       [](S h) {
         return Freed<ResponseRecord>([&](ResponseRecord** list) {
           return Xo_PolicyApi_GetResponse(h, "welcome", "own", list);
         });
       }},
      {"Xo_PolicyApi_AddResponseAttr", kDomain,
       [](S h) {
         ResponseAttrRecord r = Attr("X-New: 1");
         return Xo_PolicyApi_AddResponseAttr(h, "welcome", "own", &r);
       }},
      {"Xo_PolicyApi_RemoveResponseAttr", kDomain,
       [](S h) {
         ResponseAttrRecord r = Attr("X-Staff: 1");
         return Xo_PolicyApi_RemoveResponseAttr(h, "welcome", "own", &r);
       }},
      {"Xo_PolicyApi_GetResponseAttrs", kDomain,
       [](S h) {
         return Freed<ResponseAttrRecord>([&](ResponseAttrRecord** list) {
           return Xo_PolicyApi_GetResponseAttrs(h, "welcome", "own", list);
         });
       }},
      {"Xo_PolicyApi_CreateUserDir", kSystem,
       [](S h) {
         UserDirRecord r = Named<UserDirRecord>("new-dir");
         Put(r.directoryType, "LDAP:");
         return Xo_PolicyApi_CreateUserDir(h, &r, 1);
       }},
      {"Xo_PolicyApi_DeleteUserDir", kSystem,
       [](S h) { return Xo_PolicyApi_DeleteUserDir(h, "old-dir"); }},
      {"Xo_PolicyApi_GetUserDir", kSystem,
       [](S h) {
         return Freed<UserDirRecord>(
             [&](UserDirRecord** list) { return Xo_PolicyApi_GetUserDir(h, "hr", list); });
       }},
      {"Xo_PolicyApi_AddUserDirToDomain", kSystem,
       [](S h) { return Xo_PolicyApi_AddUserDirToDomain(h, "spare", "own"); }},
      {"Xo_PolicyApi_RemoveUserDirFromDomain", kSystem,
       [](S h) { return Xo_PolicyApi_RemoveUserDirFromDomain(h, "hr", "own"); }},
      {"Xo_PolicyApi_GetUserDirSearchOrder", kSystem,
       [](S h) {
         return FreedNames(
             [&](char*** names) { return Xo_PolicyApi_GetUserDirSearchOrder(h, "own", names); });
       }},
      {"Xo_PolicyApi_SetUserDirSearchOrder", kSystem,
       [](S h) {
         char hr[] = "hr";
         char* order[] = {hr, nullptr};
         return Xo_PolicyApi_SetUserDirSearchOrder(h, "own", order);
       }},
      {"Xo_PolicyApi_CreateODBCQueryScheme", kSystem,
       [](S h) {
         OdbcQuerySchemeRecord r = Named<OdbcQuerySchemeRecord>("new-queries");
         return Xo_PolicyApi_CreateODBCQueryScheme(h, &r, 1);
       }},
      {"Xo_PolicyApi_DeleteODBCQueryScheme", kSystem,
       [](S h) { return Xo_PolicyApi_DeleteODBCQueryScheme(h, "old-queries"); }},
      {"Xo_PolicyApi_GetODBCQueryScheme", kSystem,
       [](S h) {
         return Freed<OdbcQuerySchemeRecord>([&](OdbcQuerySchemeRecord** list) {
           return Xo_PolicyApi_GetODBCQueryScheme(h, "queries", list);
         });
       }},
      {"Xo_PolicyApi_GetDirectoryContents", kSystem,
       [](S h) {
         return Freed<UserEntryRecord>([&](UserEntryRecord** list) {
           return Xo_PolicyApi_GetDirectoryContents(h, "hr", list);
         });
       }},
      {"Xo_PolicyApi_SetDisableUserState", kUsers,
       [](S h) {
         return Xo_PolicyApi_SetDisableUserState(h, "hr", "users/bob", Xo_Api_NotDisabled, nullptr);
       }},
      {"Xo_PolicyApi_GetDisableUserState", kUsers,
       [](S h) {
         Xo_Api_DisabledReason_t reason = Xo_Api_NotDisabled;
         return Xo_PolicyApi_GetDisableUserState(h, "hr", "users/bob", &reason, nullptr);
       }},
      {"Xo_PolicyApi_SetPassword", kUsers,
       [](S h) { return Xo_PolicyApi_SetPassword(h, "hr", "users/bob", "bob-pw", nullptr); }},
      {"Xo_PolicyApi_FlushUser", kUsers,
       [](S h) { return Xo_PolicyApi_FlushUser(h, "hr", "users/bob"); }},
      {"Xo_PolicyApi_AddAgent", kSystem,
       [](S h) {
         AgentRecord r = Agent("new-agent");
         return Xo_PolicyApi_AddAgent(h, &r, 1);
       }},
      {"Xo_PolicyApi_DeleteAgent", kSystem,
       [](S h) { return Xo_PolicyApi_DeleteAgent(h, "old-agent"); }},
      {"Xo_PolicyApi_GetAgent", kSystem,
       [](S h) {
         return Freed<AgentRecord>(
             [&](AgentRecord** list) { return Xo_PolicyApi_GetAgent(h, "gateway", list); });
       }},
      {"Xo_PolicyApi_AddScheme", kSystem,
       [](S h) {
         SchemeRecord r = Named<SchemeRecord>("new-scheme");
         return Xo_PolicyApi_AddScheme(h, &r, 1);
       }},
      {"Xo_PolicyApi_DeleteScheme", kSystem,
       [](S h) { return Xo_PolicyApi_DeleteScheme(h, "old-scheme"); }},
      {"Xo_PolicyApi_GetScheme", kSystem,
       [](S h) {
         return Freed<SchemeRecord>(
             [&](SchemeRecord** list) { return Xo_PolicyApi_GetScheme(h, "tokens", list); });
       }},
      {"Xo_PolicyApi_AddAdmin", kSystem,
       [](S h) {
         AdminRecord r = Admin("new-admin");
         return Xo_PolicyApi_AddAdmin(h, &r, 1);
       }},
      {"Xo_PolicyApi_DeleteAdmin", kSystem,
       [](S h) { return Xo_PolicyApi_DeleteAdmin(h, "old-admin"); }},
      {"Xo_PolicyApi_GetAdmin", kSystem,
       [](S h) {
         return Freed<AdminRecord>(
             [&](AdminRecord** list) { return Xo_PolicyApi_GetAdmin(h, "eve", list); });
       }},
      {"Xo_PolicyApi_AddAdminToDomain", kSystem,
       [](S h) { return Xo_PolicyApi_AddAdminToDomain(h, "eve", "own"); }},
      {"Xo_PolicyApi_RemoveAdminFromDomain", kSystem,
       [](S h) { return Xo_PolicyApi_RemoveAdminFromDomain(h, "eve", "other"); }},
      {"Xo_PolicyApi_AddGroup", kDomain,
       [](S h) {
         GroupRecord r = Group("new-group");
         return Xo_PolicyApi_AddGroup(h, XO_GROUP_RULE, "own", &r, 1);
       }},
      {"Xo_PolicyApi_GetGroup", kDomain,
       [](S h) {
         return Freed<GroupRecord>([&](GroupRecord** list) {
           return Xo_PolicyApi_GetGroup(h, XO_GROUP_RULE, "everyday", "own", list);
         });
       }},
      {"Xo_PolicyApi_GetGroupNames", kDomain,
       [](S h) {
         return FreedNames([&](char*** names) {
           return Xo_PolicyApi_GetGroupNames(h, XO_GROUP_RULE, "everyday", "own", names);
         });
       }},
      {"Xo_PolicyApi_AddToGroup", kDomain,
       [](S h) {
         return Xo_PolicyApi_AddToGroup(h, XO_GROUP_RULE, "everyday", "put", "own", "web");
       }},
      {"Xo_PolicyApi_AddToGroup (agent group)", kSystem,
       [](S h) { return Xo_PolicyApi_AddToGroup(h, XO_GROUP_AGENT, "edge", "gateway", "", ""); }},
      {"Xo_PolicyApi_RemoveFromGroup", kDomain,
       [](S h) {
         return Xo_PolicyApi_RemoveFromGroup(h, XO_GROUP_RULE, "everyday", "get", "own", "web");
       }},
      {"Xo_PolicyApi_IsGroup", kDomain,
       [](S h) {
         uint8_t isGroup = 0;
         return Xo_PolicyApi_IsGroup(h, XO_GROUP_RULE, "everyday", "own", &isGroup);
       }},
      {"Xo_PolicyApi_DeleteGroup", kDomain,
       [](S h) { return Xo_PolicyApi_DeleteGroup(h, XO_GROUP_RULE, "own", "old-group"); }},
      {"Xo_PolicyApi_GetGlobalObjectNames", kSystem,
       [](S h) {
         return FreedNames([&](char*** names) {
           return Xo_PolicyApi_GetGlobalObjectNames(h, XO_GLOBAL_DOMAINS, names);
         });
       }},
      {"Xo_PolicyApi_RenameObject", kDomain,
       [ruleOid](S h) { return Xo_PolicyApi_RenameObject(h, ruleOid.c_str(), "got"); }},
      // A domain belongs to the root: its own administrators may not rename it.
      {"Xo_PolicyApi_RenameObject (domain)", kSystem,
       [domainOid](S h) { return Xo_PolicyApi_RenameObject(h, domainOid.c_str(), "ours"); }},
      {"Xo_PolicyApi_ManagementCommand", RightsScope::Command,
       [](S h) {
         ManagementCommandRecord r{1, "all"};
         return Xo_PolicyApi_ManagementCommand(h, &r);
       }},
  };
}

}  // namespace

CatalogStore::CatalogStore(DirectStore& store, PolicyApiSession* h) {
  for (const char* name : {"own", "other", "old-domain"}) {
    DomainRecord r = Named<DomainRecord>(name);
    Made(Xo_PolicyApi_AddDomain(h, &r, 0), name);
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
  DomainRecord* own = nullptr;
  Made(Xo_PolicyApi_GetDomain(h, "own", &own), "own read back");
  calls_ = MakeCalls(std::string(get.objectId), own ? std::string(own->objectId) : "");
  Xo_PolicyApi_FreeMemory(own);
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
