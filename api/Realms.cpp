// Realms of a domain.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddRealm(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                             RealmRecord* /*realm*/, uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteRealm(PolicyApiSession* /*handle*/, const char* /*realmName*/,
                                const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetRealm(PolicyApiSession* /*handle*/, const char* /*realmName*/,
                             const char* /*domainName*/, RealmRecord** /*list*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_FlushRealm(PolicyApiSession* /*handle*/, const char* /*realmName*/,
                               const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}
