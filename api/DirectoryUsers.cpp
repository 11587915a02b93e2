// The contents of a directory and the state of its users.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_GetDirectoryContents(PolicyApiSession* /*handle*/, const char* /*userDirName*/,
                                         UserEntryRecord** /*list*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_SetDisableUserState(PolicyApiSession* /*handle*/, const char* /*userDirName*/,
                                        const char* /*user*/, Xo_Api_DisabledReason_t /*reason*/,
                                        void* /*reserved*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetDisableUserState(PolicyApiSession* /*handle*/, const char* /*userDirName*/,
                                        const char* /*user*/, Xo_Api_DisabledReason_t* /*reason*/,
                                        void* /*reserved*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_SetPassword(PolicyApiSession* /*handle*/, const char* /*userDirName*/,
                                const char* /*user*/, const char* /*newPassword*/,
                                void* /*reserved*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_FlushUser(PolicyApiSession* /*handle*/, const char* /*userDirName*/,
                              const char* /*user*/) {
  return XO_ERR_GENERAL;
}
