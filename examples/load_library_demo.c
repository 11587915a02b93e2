/*
 * load_library_demo: how a Windows program uses XoPolicyApi.dll without its
 * import library. The DLL is loaded with LoadLibrary, every function is found
 * by its undecorated name with GetProcAddress and called through a __stdcall
 * pointer, as callers written in other languages do.
 *
 * It logs in, adds one object of every kind to a domain of its own, reads
 * each back, removes them again and logs out.
 *
 *   load_library_demo ADMIN PASSWORD
 *
 * The store is the one XO_POLICY_STORE names (or the default store). Exits 0
 * when every call gave what it should.
 */
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "XoPolicyApi.h"

typedef PolicyApiSession* S;

/* Each function: its pointer type, its pointer, and its name in the DLL. */
#define XO_FUNCTIONS(X)                                                                            \
  X(Login, PolicyApiSession**, void*, const char*, const char*, const char*, const char*, int32_t) \
  X(Logout, S)                                                                                     \
  X(FreeMemory, void*)                                                                             \
  X(FreeStringArray, char**)                                                                       \
  X(AddDomain, S, DomainRecord*, uint8_t)                                                          \
  X(GetDomain, S, const char*, DomainRecord**)                                                     \
  X(DeleteDomain, S, const char*)                                                                  \
  X(GetDomainObjectNames, S, const char*, uint32_t, char***)                                       \
  X(AddAgent, S, AgentRecord*, uint8_t)                                                            \
  X(GetAgent, S, const char*, AgentRecord**)                                                       \
  X(DeleteAgent, S, const char*)                                                                   \
  X(AddScheme, S, SchemeRecord*, uint8_t)                                                          \
  X(GetScheme, S, const char*, SchemeRecord**)                                                     \
  X(DeleteScheme, S, const char*)                                                                  \
  X(CreateODBCQueryScheme, S, OdbcQuerySchemeRecord*, uint8_t)                                     \
  X(GetODBCQueryScheme, S, const char*, OdbcQuerySchemeRecord**)                                   \
  X(DeleteODBCQueryScheme, S, const char*)                                                         \
  X(CreateUserDir, S, UserDirRecord*, uint8_t)                                                     \
  X(GetUserDir, S, const char*, UserDirRecord**)                                                   \
  X(DeleteUserDir, S, const char*)                                                                 \
  X(AddAdmin, S, AdminRecord*, uint8_t)                                                            \
  X(GetAdmin, S, const char*, AdminRecord**)                                                       \
  X(DeleteAdmin, S, const char*)                                                                   \
  X(AddRealm, S, const char*, RealmRecord*, uint8_t)                                               \
  X(GetRealm, S, const char*, const char*, RealmRecord**)                                          \
  X(AddRule, S, const char*, RuleRecord*, uint8_t)                                                 \
  X(GetRule, S, const char*, const char*, const char*, RuleRecord**)                               \
  X(AddResponse, S, const char*, ResponseRecord*, uint8_t)                                         \
  X(GetResponse, S, const char*, const char*, ResponseRecord**)                                    \
  X(AddResponseAttr, S, const char*, const char*, ResponseAttrRecord*)                             \
  X(GetResponseAttrs, S, const char*, const char*, ResponseAttrRecord**)                           \
  X(AddPolicy, S, const char*, PolicyRecord*, uint8_t)                                             \
  X(GetPolicy, S, const char*, const char*, PolicyRecord**)                                        \
  X(AddPolicyLink, S, const char*, const char*, PolicyLinkRecord*)                                 \
  X(GetPolicyLinks, S, const char*, const char*, PolicyLinkRecord**)                               \
  X(AddGroup, S, int32_t, const char*, GroupRecord*, uint8_t)                                      \
  X(GetGroup, S, int32_t, const char*, const char*, GroupRecord**)

#define DECLARE(name, ...)                           \
  typedef int32_t(__stdcall* name##_f)(__VA_ARGS__); \
  static name##_f name;
XO_FUNCTIONS(DECLARE)

static int failures = 0;

static void check(int ok, const char* what) {
  if (!ok) {
    fprintf(stderr, "FAILED: %s\n", what);
    ++failures;
  }
}

#define CALL(call) check((call) == XO_OK, #call)

static void put(char* field, const char* text) { snprintf(field, XO_TEXT_FIELD, "%s", text); }

/* A list that came back holds one record of `type`, with `name` at `field`. */
static void read_back(int32_t rc, void* list, int32_t type, const char* field, const char* name,
                      const char* what) {
  check(rc == XO_OK && list != NULL, what);
  if (rc != XO_OK || list == NULL) return;
  check(*(const int32_t*)list == type, what);
  check(strcmp(field, name) == 0, what);
  CALL(FreeMemory(list));
  printf("read back %s\n", name);
}

/* The call, then its list: the list is read only after the call filled it. */
#define READ_BACK(call, list, type, member, expected)                          \
  do {                                                                         \
    int32_t rc_ = (call);                                                      \
    read_back(rc_, list, type, (list) ? (list)->member : "", expected, #call); \
  } while (0)

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: load_library_demo ADMIN PASSWORD\n");
    return 2;
  }
  HMODULE dll = LoadLibraryA("XoPolicyApi.dll");
  if (dll == NULL) {
    fprintf(stderr, "cannot load XoPolicyApi.dll (error %lu)\n", GetLastError());
    return 1;
  }
#define LOAD(name, ...)                                                        \
  name = (name##_f)(void (*)(void))GetProcAddress(dll, "Xo_PolicyApi_" #name); \
  check(name != NULL, "GetProcAddress Xo_PolicyApi_" #name);
  XO_FUNCTIONS(LOAD)
  if (failures) return 1;

  S h = NULL;
  if (Login(&h, NULL, argv[1], argv[2], "localhost", "", 0) != XO_OK) {
    fprintf(stderr, "cannot log in as %s\n", argv[1]);
    return 1;
  }
  const char* d = "demo-domain";

  DomainRecord domain = {0};
  put(domain.name, d);
  CALL(AddDomain(h, &domain, 0));
  check(strncmp(domain.objectId, "03-", 3) == 0, "AddDomain writes the identifier back");
  DomainRecord* domains = NULL;
  READ_BACK(GetDomain(h, d, &domains), domains, 7, name, d);

  AgentRecord agent = {0};
  put(agent.name, "demo-agent");
  put(agent.agentTypeName, "HTTP Agent");
  CALL(AddAgent(h, &agent, 0));
  AgentRecord* agents = NULL;
  READ_BACK(GetAgent(h, "demo-agent", &agents), agents, 6, name, "demo-agent");

  SchemeRecord scheme = {0};
  put(scheme.name, "demo-scheme");
  put(scheme.schemeString1, "basic");
  CALL(AddScheme(h, &scheme, 0));
  SchemeRecord* schemes = NULL;
  READ_BACK(GetScheme(h, "demo-scheme", &schemes), schemes, 11, name, "demo-scheme");

  OdbcQuerySchemeRecord queries = {0};
  put(queries.name, "demo-queries");
  put(queries.query[0], "SELECT name FROM users");
  CALL(CreateODBCQueryScheme(h, &queries, 0));
  OdbcQuerySchemeRecord* queryList = NULL;
  READ_BACK(GetODBCQueryScheme(h, "demo-queries", &queryList), queryList, 14, query[0],
            "SELECT name FROM users");

  UserDirRecord directory = {0};
  put(directory.name, "demo-directory");
  put(directory.directoryType, "LDAP:");
  put(directory.string1, "ldap://localhost");
  CALL(CreateUserDir(h, &directory, 0));
  UserDirRecord* directories = NULL;
  READ_BACK(GetUserDir(h, "demo-directory", &directories), directories, 5, string1,
            "ldap://localhost");

  AdminRecord admin = {0};
  put(admin.name, "demo-operator");
  put(admin.adminText, "demo-password");
  admin.adminFlags = XO_ADMIN_DOMAIN;
  CALL(AddAdmin(h, &admin, 0));
  AdminRecord* admins = NULL;
  READ_BACK(GetAdmin(h, "demo-operator", &admins), admins, 12, name, "demo-operator");

  RealmRecord realm = {0};
  put(realm.name, "demo-realm");
  put(realm.agentName, "demo-agent");
  put(realm.schemeName, "demo-scheme");
  CALL(AddRealm(h, d, &realm, 0));
  RealmRecord* realms = NULL;
  READ_BACK(GetRealm(h, "demo-realm", d, &realms), realms, 3, agentName, "demo-agent");

  RuleRecord rule = {0};
  put(rule.name, "demo-rule");
  put(rule.realmName, "demo-realm");
  put(rule.ruleText1, "GET");
  CALL(AddRule(h, d, &rule, 0));
  RuleRecord* rules = NULL;
  READ_BACK(GetRule(h, "demo-rule", "demo-realm", d, &rules), rules, 1, ruleText1, "GET");

  ResponseRecord response = {0};
  put(response.name, "demo-response");
  put(response.agentTypeName, "HTTP Agent");
  CALL(AddResponse(h, d, &response, 0));
  ResponseRecord* responses = NULL;
  READ_BACK(GetResponse(h, "demo-response", d, &responses), responses, 4, name, "demo-response");

  ResponseAttrRecord attr = {0};
  put(attr.attrName, "HTTP-Header-Fixed");
  put(attr.value, "X-Demo: 1");
  CALL(AddResponseAttr(h, "demo-response", d, &attr));
  ResponseAttrRecord* attrs = NULL;
  READ_BACK(GetResponseAttrs(h, "demo-response", d, &attrs), attrs, 9, value, "X-Demo: 1");

  PolicyRecord policy = {0};
  put(policy.name, "demo-policy");
  CALL(AddPolicy(h, d, &policy, 0));
  PolicyRecord* policies = NULL;
  READ_BACK(GetPolicy(h, "demo-policy", d, &policies), policies, 2, name, "demo-policy");

  PolicyLinkRecord link = {0};
  put(link.realmName, "demo-realm");
  put(link.ruleName, "demo-rule");
  put(link.responseName, "demo-response");
  CALL(AddPolicyLink(h, d, "demo-policy", &link));
  PolicyLinkRecord* links = NULL;
  READ_BACK(GetPolicyLinks(h, d, "demo-policy", &links), links, 8, responseName, "demo-response");

  GroupRecord group = {0};
  put(group.name, "demo-group");
  put(group.vendorName, "HTTP Agent");
  CALL(AddGroup(h, XO_GROUP_RULE, d, &group, 0));
  GroupRecord* groups = NULL;
  READ_BACK(GetGroup(h, XO_GROUP_RULE, "demo-group", d, &groups), groups, 13, name, "demo-group");

  char** names = NULL;
  CALL(GetDomainObjectNames(h, d, XO_DOMAIN_POLICIES, &names));
  check(names && names[0] && strcmp(names[0], "demo-policy") == 0 && !names[1],
        "GetDomainObjectNames lists the policy");
  if (names) CALL(FreeStringArray(names));

  CALL(DeleteDomain(h, d));
  CALL(DeleteAdmin(h, "demo-operator"));
  CALL(DeleteUserDir(h, "demo-directory"));
  CALL(DeleteODBCQueryScheme(h, "demo-queries"));
  CALL(DeleteAgent(h, "demo-agent"));
  CALL(DeleteScheme(h, "demo-scheme"));
  CALL(Logout(h));
  FreeLibrary(dll);
  if (failures) return 1;
  printf("Every call through a __stdcall pointer answered as it should.\n");
  return 0;
}
