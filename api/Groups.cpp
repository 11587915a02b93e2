// Rule, response and agent groups and their members.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddGroup(PolicyApiSession* /*handle*/, int32_t /*groupType*/,
                             const char* /*domainName*/, GroupRecord* /*group*/,
                             uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetGroup(PolicyApiSession* /*handle*/, int32_t /*groupType*/,
                             const char* /*groupName*/, const char* /*domainName*/,
                             GroupRecord** /*list*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetGroupNames(PolicyApiSession* /*handle*/, int32_t /*groupType*/,
                                  const char* /*groupName*/, const char* /*domainName*/,
                                  char*** /*names*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_AddToGroup(PolicyApiSession* /*handle*/, int32_t /*groupType*/,
                               const char* /*groupName*/, const char* /*memberName*/,
                               const char* /*domainName*/, const char* /*realmName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_RemoveFromGroup(PolicyApiSession* /*handle*/, int32_t /*groupType*/,
                                    const char* /*groupName*/, const char* /*memberName*/,
                                    const char* /*domainName*/, const char* /*realmName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_IsGroup(PolicyApiSession* /*handle*/, int32_t /*groupType*/,
                            const char* /*name*/, const char* /*domainName*/,
                            uint8_t* /*isGroup*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteGroup(PolicyApiSession* /*handle*/, int32_t /*groupType*/,
                                const char* /*domainName*/, const char* /*groupName*/) {
  return XO_ERR_GENERAL;
}
