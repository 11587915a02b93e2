/*
 * policy_demo: sets up a small but complete access policy through the flat C
 * interface, then reads it back out of the store and tells it in plain words.
 *
 * What it sets up: a web agent and a password scheme; the domain "Intranet"
 * with the realm "portal" and, inside it, the realm "payroll"; three rules; a
 * rule group; a response that sends a header and a cookie; and the policy
 * "employees", which binds the rule group to that response and one more rule
 * to no response.
 *
 *   policy_demo [ADMIN [PASSWORD]]
 *
 * The administrator and password may also come from XO_ADMIN and XO_PASSWORD.
 * The store is the one XO_POLICY_STORE names (or the default store). What an
 * earlier run left behind is removed first, so the demo can run again.
 */
#include "demo_common.h"

static const char kDomain[] = "Intranet";
static const char kAgent[] = "intranet-gateway";
static const char kScheme[] = "staff-password";
static const char kAgentType[] = "HTTP Agent";

/* ---------------------------------------------------------------------- */
/* Setting up                                                               */
/* ---------------------------------------------------------------------- */

static int add_agent_and_scheme(PolicyApiSession* s) {
  AgentRecord agent;
  memset(&agent, 0, sizeof agent);
  put(agent.name, kAgent);
  put(agent.description, "reverse proxy in front of the intranet");
  put(agent.agentString1, "gateway.example.com");
  put(agent.agentTypeName, kAgentType);
  if (failed("add agent", kAgent, Xo_PolicyApi_AddAgent(s, &agent, 0))) return 1;

  SchemeRecord scheme;
  memset(&scheme, 0, sizeof scheme);
  put(scheme.name, kScheme);
  put(scheme.description, "user name and password from the staff directory");
  scheme.schemeInt1 = 5;
  put(scheme.schemeString1, "basic");
  return failed("add scheme", kScheme, Xo_PolicyApi_AddScheme(s, &scheme, 0));
}

static int add_realm(PolicyApiSession* s, const char* name, const char* path, const char* parent) {
  RealmRecord realm;
  memset(&realm, 0, sizeof realm);
  put(realm.name, name);
  put(realm.description, path);
  put(realm.realmText, path);
  put(realm.agentName, kAgent);
  put(realm.schemeName, kScheme);
  put(realm.parentName, parent);
  return failed("add realm", name, Xo_PolicyApi_AddRealm(s, kDomain, &realm, 0));
}

static int add_rule(PolicyApiSession* s, const char* realm, const char* name, const char* methods,
                    const char* resource) {
  RuleRecord rule;
  memset(&rule, 0, sizeof rule);
  put(rule.name, name);
  put(rule.realmName, realm);
  put(rule.ruleText1, methods);
  put(rule.ruleText2, resource);
  rule.ruleFlag1 = 1;
  return failed("add rule", name, Xo_PolicyApi_AddRule(s, kDomain, &rule, 0));
}

static int add_response(PolicyApiSession* s, const char* name, const char* description,
                        const char* const attributes[][2], size_t count) {
  ResponseRecord response;
  memset(&response, 0, sizeof response);
  put(response.name, name);
  put(response.description, description);
  put(response.agentTypeName, kAgentType);
  if (failed("add response", name, Xo_PolicyApi_AddResponse(s, kDomain, &response, 0))) return 1;
  for (size_t i = 0; i < count; i++) {
    ResponseAttrRecord attr;
    memset(&attr, 0, sizeof attr);
    put(attr.attrName, attributes[i][0]);
    put(attr.value, attributes[i][1]);
    if (failed("add attribute", attributes[i][0],
               Xo_PolicyApi_AddResponseAttr(s, name, kDomain, &attr))) {
      return 1;
    }
  }
  return 0;
}

static int bind_rule(PolicyApiSession* s, const char* policy, const char* realm, const char* rule,
                     const char* response) {
  PolicyLinkRecord link;
  memset(&link, 0, sizeof link);
  put(link.realmName, realm);
  put(link.ruleName, rule);
  put(link.responseName, response);
  return failed("bind", rule, Xo_PolicyApi_AddPolicyLink(s, kDomain, policy, &link));
}

static int set_up(PolicyApiSession* s) {
  DomainRecord domain;
  memset(&domain, 0, sizeof domain);
  put(domain.name, kDomain);
  put(domain.description, "the company intranet");
  if (add_agent_and_scheme(s)) return 1;
  if (failed("add domain", kDomain, Xo_PolicyApi_AddDomain(s, &domain, 0))) return 1;
  if (add_realm(s, "portal", "/portal", "") || add_realm(s, "payroll", "/portal/payroll", "portal"))
    return 1;
  if (add_rule(s, "portal", "read-pages", "GET", "/portal/*") ||
      add_rule(s, "portal", "post-forms", "POST", "/portal/forms/*") ||
      add_rule(s, "payroll", "read-payslips", "GET", "/portal/payroll/payslips/*"))
    return 1;

  GroupRecord group;
  memset(&group, 0, sizeof group);
  put(group.name, "everyday-use");
  put(group.description, "what every employee does every day");
  put(group.vendorName, kAgentType);
  if (failed("add rule group", group.name,
             Xo_PolicyApi_AddGroup(s, XO_GROUP_RULE, kDomain, &group, 0)) ||
      failed("add to group", "read-pages",
             Xo_PolicyApi_AddToGroup(s, XO_GROUP_RULE, "everyday-use", "read-pages", kDomain,
                                     "portal")) ||
      failed("add to group", "read-payslips",
             Xo_PolicyApi_AddToGroup(s, XO_GROUP_RULE, "everyday-use", "read-payslips", kDomain,
                                     "payroll")))
    return 1;

  static const char* const kWelcome[][2] = {{"HTTP-Header-Fixed", "X-Portal-User: employee"},
                                            {"HTTP-Cookie-Fixed", "portal-lang=en"}};
  if (add_response(s, "welcome", "marks the request as an employee's", kWelcome, 2)) return 1;

  PolicyRecord policy;
  memset(&policy, 0, sizeof policy);
  put(policy.name, "employees");
  put(policy.description, "everyone on the payroll");
  policy.policyFlag = 1;
  if (failed("add policy", policy.name, Xo_PolicyApi_AddPolicy(s, kDomain, &policy, 0))) return 1;
  return bind_rule(s, "employees", "portal", "everyday-use", "welcome") ||
         bind_rule(s, "employees", "portal", "post-forms", "");
}

/* Removes what an earlier run made. A domain that is not there is no error. */
static int tidy_up(PolicyApiSession* s) {
  int32_t result = Xo_PolicyApi_DeleteDomain(s, kDomain);
  if (result != XO_OK && result != XO_ERR_GENERAL) return failed("delete domain", kDomain, result);
  return failed("delete agent", kAgent, Xo_PolicyApi_DeleteAgent(s, kAgent)) ||
         failed("delete scheme", kScheme, Xo_PolicyApi_DeleteScheme(s, kScheme));
}

/* ---------------------------------------------------------------------- */
/* Telling it back                                                          */
/* ---------------------------------------------------------------------- */

/* The names of one kind of the domain's objects; NULL after a failure. */
static char** domain_names(PolicyApiSession* s, uint32_t kind, const char* what) {
  char** names = NULL;
  if (failed("list", what, Xo_PolicyApi_GetDomainObjectNames(s, kDomain, kind, &names)))
    return NULL;
  return names;
}

static int tell_system_objects(PolicyApiSession* s) {
  AgentRecord* agent = NULL;
  SchemeRecord* scheme = NULL;
  if (failed("read agent", kAgent, Xo_PolicyApi_GetAgent(s, kAgent, &agent))) return 1;
  if (failed("read scheme", kScheme, Xo_PolicyApi_GetScheme(s, kScheme, &scheme))) {
    Xo_PolicyApi_FreeMemory(agent);
    return 1;
  }
  int missing = agent == NULL || scheme == NULL;
  if (!missing) {
    printf("Agent %s (%s) runs on %s.\n", agent->name, agent->agentTypeName, agent->agentString1);
    printf("Scheme %s checks %s.\n", scheme->name, scheme->description);
  }
  Xo_PolicyApi_FreeMemory(agent);
  Xo_PolicyApi_FreeMemory(scheme);
  return missing;
}

/* Each realm, and the rules it holds. */
static int tell_realms(PolicyApiSession* s, char** realms, char** rules) {
  int status = 0;
  for (size_t r = 0; realms[r] != NULL && status == 0; r++) {
    RealmRecord* realm = NULL;
    status = failed("read realm", realms[r], Xo_PolicyApi_GetRealm(s, realms[r], kDomain, &realm));
    if (status || realm == NULL) break;
    /* A realm directly under the domain names the domain as its parent. */
    const char* parent_kind = strcmp(realm->parentName, kDomain) == 0 ? "domain" : "realm";
    printf(
        "  Realm %s guards %s, inside %s %s; agent %s serves it and scheme %s checks who "
        "comes in.\n",
        realm->name, realm->realmText, parent_kind, realm->parentName, realm->agentName,
        realm->schemeName);
    Xo_PolicyApi_FreeMemory(realm);
    for (size_t i = 0; rules[i] != NULL && status == 0; i++) {
      RuleRecord* rule = NULL;
      status = failed("read rule", rules[i],
                      Xo_PolicyApi_GetRule(s, rules[i], realms[r], kDomain, &rule));
      if (rule != NULL) {
        printf("    Rule %s allows %s on %s.\n", rule->name, rule->ruleText1, rule->ruleText2);
      }
      Xo_PolicyApi_FreeMemory(rule);
    }
  }
  return status;
}

static int tell_rule_groups(PolicyApiSession* s, char** groups) {
  for (size_t g = 0; groups[g] != NULL; g++) {
    char** members = NULL;
    if (failed("read rule group", groups[g],
               Xo_PolicyApi_GetGroupNames(s, XO_GROUP_RULE, groups[g], kDomain, &members)))
      return 1;
    printf("  Rule group %s holds:", groups[g]);
    for (size_t i = 0; members[i] != NULL; i++) printf("%s %s", i ? "," : "", members[i]);
    printf(".\n");
    Xo_PolicyApi_FreeStringArray(members);
  }
  return 0;
}

static int tell_responses(PolicyApiSession* s, char** responses) {
  for (size_t r = 0; responses[r] != NULL; r++) {
    ResponseAttrRecord* attrs = NULL;
    if (failed("read response", responses[r],
               Xo_PolicyApi_GetResponseAttrs(s, responses[r], kDomain, &attrs)))
      return 1;
    printf("  Response %s sends:\n", responses[r]);
    for (const ResponseAttrRecord* a = attrs; a != NULL; a = a->next) {
      printf("    %s = %s\n", a->attrName, a->value);
    }
    Xo_PolicyApi_FreeMemory(attrs);
  }
  return 0;
}

static int tell_policies(PolicyApiSession* s, char** policies) {
  for (size_t p = 0; policies[p] != NULL; p++) {
    PolicyRecord* policy = NULL;
    PolicyLinkRecord* links = NULL;
    if (failed("read policy", policies[p],
               Xo_PolicyApi_GetPolicy(s, policies[p], kDomain, &policy)) ||
        failed("read the links of", policies[p],
               Xo_PolicyApi_GetPolicyLinks(s, kDomain, policies[p], &links))) {
      Xo_PolicyApi_FreeMemory(policy);
      return 1;
    }
    printf("  Policy %s (%s) %s:\n", policies[p], policy ? policy->description : "",
           policy && policy->policyFlag ? "is on" : "is off");
    for (const PolicyLinkRecord* l = links; l != NULL; l = l->next) {
      /* A rule group is bound without a realm. */
      if (l->realmName[0] != '\0') {
        printf("    it binds rule %s of realm %s", l->ruleName, l->realmName);
      } else {
        printf("    it binds rule group %s", l->ruleName);
      }
      if (l->responseName[0] != '\0') {
        printf(" and answers with response %s.\n", l->responseName);
      } else {
        printf(" and sends no response.\n");
      }
    }
    Xo_PolicyApi_FreeMemory(links);
    Xo_PolicyApi_FreeMemory(policy);
  }
  return 0;
}

static int tell(PolicyApiSession* s) {
  if (tell_system_objects(s)) return 1;
  DomainRecord* domain = NULL;
  if (failed("read domain", kDomain, Xo_PolicyApi_GetDomain(s, kDomain, &domain))) return 1;
  if (domain == NULL) return 1;
  printf("Domain %s holds %s:\n", domain->name, domain->description);
  Xo_PolicyApi_FreeMemory(domain);

  char** realms = domain_names(s, XO_DOMAIN_REALMS, "realms");
  char** rules = domain_names(s, XO_DOMAIN_RULES, "rules");
  char** groups = domain_names(s, XO_DOMAIN_RULE_GROUPS, "rule groups");
  char** responses = domain_names(s, XO_DOMAIN_RESPONSES, "responses");
  char** policies = domain_names(s, XO_DOMAIN_POLICIES, "policies");
  int status = !realms || !rules || !groups || !responses || !policies;
  if (!status) {
    status = tell_realms(s, realms, rules) || tell_rule_groups(s, groups) ||
             tell_responses(s, responses) || tell_policies(s, policies);
  }
  char** lists[] = {realms, rules, groups, responses, policies};
  for (size_t i = 0; i < sizeof lists / sizeof lists[0]; i++) {
    if (lists[i] != NULL) Xo_PolicyApi_FreeStringArray(lists[i]);
  }
  return status;
}

static int run_demo(PolicyApiSession* session) {
  int status = tidy_up(session) || set_up(session);
  if (status == 0) {
    printf("Set up the %s policy. This is what the store now holds:\n\n", kDomain);
    status = tell(session);
  }
  return status;
}

int main(int argc, char** argv) {
  /* A blank line sets the goodbye apart from the tale. */
  return run_logged_in(argc, argv, run_demo, "\nLogged out.\n");
}
