/*
 * Calls XoPolicyApi.dll the way its callers do: loaded with LoadLibrary,
 * every function found by its undecorated name with GetProcAddress and
 * called through a __stdcall pointer. Logs in, adds one object of every
 * kind, reads each back, removes them again and logs out.
 *
 * Usage: stdcall_caller ADMIN PASSWORD (the store from XO_POLICY_STORE).
 * Exits 0 when every call gave what it should.
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
}

/* The call, then its list: the list is read only after the call filled it. */
#define READ_BACK(call, list, type, member, expected)                          \
  do {                                                                         \
    int32_t rc_ = (call);                                                      \
    read_back(rc_, list, type, (list) ? (list)->member : "", expected, #call); \
  } while (0)

/*
 * True when a one-argument function removed its own argument from the stack,
 * as __stdcall asks: the argument is pushed and the function called here
 * directly, so that nothing of the compiler's stands between.
 */
static int callee_pops_its_argument(void* function) {
  uintptr_t left = 0;
  __asm__ volatile(
      "mov %%esp, %%esi\n\t"
      "pushl $0\n\t"
      "call *%1\n\t"
      "sub %%esp, %%esi\n\t"
      "add %%esi, %%esp\n\t"
      : "=&S"(left)
      : "r"(function)
      : "eax", "ecx", "edx", "memory", "cc");
  return left == 0;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: stdcall_caller ADMIN PASSWORD\n");
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
  check(callee_pops_its_argument((void*)Logout), "Xo_PolicyApi_Logout pops its argument");
  check(callee_pops_its_argument((void*)FreeMemory), "Xo_PolicyApi_FreeMemory pops its argument");

  S h = NULL;
  if (Login(&h, NULL, argv[1], argv[2], "localhost", "", 0) != XO_OK) {
    fprintf(stderr, "cannot log in as %s\n", argv[1]);
    return 1;
  }
  const char* d = "abi-domain";

  DomainRecord domain = {0};
  put(domain.name, d);
  CALL(AddDomain(h, &domain, 0));
  check(strncmp(domain.objectId, "03-", 3) == 0, "AddDomain writes the identifier back");
  DomainRecord* domains = NULL;
  READ_BACK(GetDomain(h, d, &domains), domains, 7, name, d);

  AgentRecord agent = {0};
  put(agent.name, "abi-agent");
  put(agent.agentTypeName, "HTTP Agent");
  CALL(AddAgent(h, &agent, 0));
  AgentRecord* agents = NULL;
  READ_BACK(GetAgent(h, "abi-agent", &agents), agents, 6, name, "abi-agent");

  SchemeRecord scheme = {0};
  put(scheme.name, "abi-scheme");
  put(scheme.schemeString1, "basic");
  CALL(AddScheme(h, &scheme, 0));
  SchemeRecord* schemes = NULL;
  READ_BACK(GetScheme(h, "abi-scheme", &schemes), schemes, 11, name, "abi-scheme");

  OdbcQuerySchemeRecord queries = {0};
  put(queries.name, "abi-queries");
  put(queries.query[0], "SELECT name FROM users");
  CALL(CreateODBCQueryScheme(h, &queries, 0));
  OdbcQuerySchemeRecord* queryList = NULL;
  READ_BACK(GetODBCQueryScheme(h, "abi-queries", &queryList), queryList, 14, query[0],
            "SELECT name FROM users");

  UserDirRecord directory = {0};
  put(directory.name, "abi-directory");
  put(directory.directoryType, "LDAP:");
  put(directory.string1, "ldap://localhost");
  CALL(CreateUserDir(h, &directory, 0));
  UserDirRecord* directories = NULL;
  READ_BACK(GetUserDir(h, "abi-directory", &directories), directories, 5, string1,
            "ldap://localhost");

  AdminRecord admin = {0};
  put(admin.name, "abi-admin");
  put(admin.adminText, "abi-password");
  admin.adminFlags = XO_ADMIN_DOMAIN;
  CALL(AddAdmin(h, &admin, 0));
  AdminRecord* admins = NULL;
  READ_BACK(GetAdmin(h, "abi-admin", &admins), admins, 12, name, "abi-admin");

  RealmRecord realm = {0};
  put(realm.name, "abi-realm");
  put(realm.agentName, "abi-agent");
  put(realm.schemeName, "abi-scheme");
  CALL(AddRealm(h, d, &realm, 0));
  RealmRecord* realms = NULL;
  READ_BACK(GetRealm(h, "abi-realm", d, &realms), realms, 3, agentName, "abi-agent");

  RuleRecord rule = {0};
  put(rule.name, "abi-rule");
  put(rule.realmName, "abi-realm");
  put(rule.ruleText1, "GET");
  CALL(AddRule(h, d, &rule, 0));
  RuleRecord* rules = NULL;
  READ_BACK(GetRule(h, "abi-rule", "abi-realm", d, &rules), rules, 1, ruleText1, "GET");

  ResponseRecord response = {0};
  put(response.name, "abi-response");
  put(response.agentTypeName, "HTTP Agent");
  CALL(AddResponse(h, d, &response, 0));
  ResponseRecord* responses = NULL;
  READ_BACK(GetResponse(h, "abi-response", d, &responses), responses, 4, name, "abi-response");

  ResponseAttrRecord attr = {0};
  put(attr.attrName, "HTTP-Header-Fixed");
  put(attr.value, "X-Abi: 1");
  CALL(AddResponseAttr(h, "abi-response", d, &attr));
  ResponseAttrRecord* attrs = NULL;
  READ_BACK(GetResponseAttrs(h, "abi-response", d, &attrs), attrs, 9, value, "X-Abi: 1");

  PolicyRecord policy = {0};
  put(policy.name, "abi-policy");
  CALL(AddPolicy(h, d, &policy, 0));
  PolicyRecord* policies = NULL;
  READ_BACK(GetPolicy(h, "abi-policy", d, &policies), policies, 2, name, "abi-policy");

  PolicyLinkRecord link = {0};
  put(link.realmName, "abi-realm");
  put(link.ruleName, "abi-rule");
  put(link.responseName, "abi-response");
  CALL(AddPolicyLink(h, d, "abi-policy", &link));
  PolicyLinkRecord* links = NULL;
  READ_BACK(GetPolicyLinks(h, d, "abi-policy", &links), links, 8, responseName, "abi-response");

  GroupRecord group = {0};
  put(group.name, "abi-group");
  put(group.vendorName, "HTTP Agent");
  CALL(AddGroup(h, XO_GROUP_RULE, d, &group, 0));
  GroupRecord* groups = NULL;
  READ_BACK(GetGroup(h, XO_GROUP_RULE, "abi-group", d, &groups), groups, 13, name, "abi-group");

  char** names = NULL;
  CALL(GetDomainObjectNames(h, d, XO_DOMAIN_POLICIES, &names));
  check(names && names[0] && strcmp(names[0], "abi-policy") == 0 && !names[1],
        "GetDomainObjectNames lists the policy");
  if (names) CALL(FreeStringArray(names));

  CALL(DeleteDomain(h, d));
  CALL(DeleteAdmin(h, "abi-admin"));
  CALL(DeleteUserDir(h, "abi-directory"));
  CALL(DeleteODBCQueryScheme(h, "abi-queries"));
  CALL(DeleteAgent(h, "abi-agent"));
  CALL(DeleteScheme(h, "abi-scheme"));
  CALL(Logout(h));
  FreeLibrary(dll);
  if (failures) return 1;
  printf("every call through __stdcall pointers answered as it should\n");
  return 0;
}
