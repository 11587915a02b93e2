// Responses of a domain.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddResponse(PolicyApiSession* /*handle*/, const char* /*domainName*/,
                                ResponseRecord* /*response*/, uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteResponse(PolicyApiSession* /*handle*/, const char* /*responseName*/,
                                   const char* /*domainName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetResponse(PolicyApiSession* /*handle*/, const char* /*responseName*/,
                                const char* /*domainName*/, ResponseRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
