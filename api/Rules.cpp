// Rules within realms.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddRule(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                            RuleRecord* /*rule*/, uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteRule(PolicyApiSession* /*handle*/, const char* /*ruleName*/,
                               const char* /*realmName*/, const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetRule(PolicyApiSession* /*handle*/, const char* /*ruleName*/,
                            const char* /*realmName*/, const char* /*domainName*/,
                            RuleRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
