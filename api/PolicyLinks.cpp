// The links of a policy to its rules and responses.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddPolicyLink(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                  const char* /*policyName*/, PolicyLinkRecord* /*link*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_RemoveRuleFromPolicy(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                         const char* /*policyName*/, const char* /*realmName*/,
                                         const char* /*ruleName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetPolicyLinks(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                   const char* /*policyName*/, PolicyLinkRecord** /*list*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_SetResponseInPolicyLink(PolicyApiSession* /*handle*/,
                                            const char* /*domainName*/, const char* /*policyName*/,
                                            PolicyLinkRecord* /*link*/) {
  return XO_ERR_GENERAL;
}
