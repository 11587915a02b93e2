// Administrators and their domains.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddAdmin(PolicyApiSession* /*handle*/, AdminRecord* /*admin*/,
                             uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteAdmin(PolicyApiSession* /*handle*/, const char* /*adminName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetAdmin(PolicyApiSession* /*handle*/, const char* /*adminName*/,
                             AdminRecord** /*list*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_AddAdminToDomain(PolicyApiSession* /*handle*/, const char* /*adminName*/,
                                     const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_RemoveAdminFromDomain(PolicyApiSession* /*handle*/, const char* /*adminName*/,
                                          const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}
