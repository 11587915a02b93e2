// Directory users and groups bound to a policy.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddUsersToPolicy(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                     const char* /*policyName*/, const char* /*userDirName*/,
                                     const char* /*entry*/, Xo_PolicyResolution_t /*resolution*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_RemoveUsersFromPolicy(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                          const char* /*policyName*/, const char* /*userDirName*/,
                                          const char* /*entry*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetPolicyUsers(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                   const char* /*policyName*/, const char* /*userDirName*/,
                                   UserEntryRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
