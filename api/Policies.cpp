// Policies.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddPolicy(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                              PolicyRecord* /*policy*/, uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeletePolicy(PolicyApiSession* /*handle*/, const char* /*policyName*/,
                                 const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetPolicy(PolicyApiSession* /*handle*/, const char* /*policyName*/,
                              const char* /*domainName*/, PolicyRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
