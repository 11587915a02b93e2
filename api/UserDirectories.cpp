// User directories and a domain's directory search order.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_CreateUserDir(PolicyApiSession* /*handle*/, UserDirRecord* /*userDir*/,
                                  uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteUserDir(PolicyApiSession* /*handle*/, const char* /*userDirName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetUserDir(PolicyApiSession* /*handle*/, const char* /*userDirName*/,
                               UserDirRecord** /*list*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_AddUserDirToDomain(PolicyApiSession* /*handle*/, const char* /*userDirName*/,
                                       const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_RemoveUserDirFromDomain(PolicyApiSession* /*handle*/,
                                            const char* /*userDirName*/,
                                            const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetUserDirSearchOrder(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                          char*** /*names*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_SetUserDirSearchOrder(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                          char** /*names*/) {
  return XO_ERR_GENERAL;
}
