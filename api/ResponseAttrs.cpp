// The attribute values of a response.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddResponseAttr(PolicyApiSession* /*handle*/, const char* /*responseName*/,
                                    const char* /*domainName*/, ResponseAttrRecord* /*attr*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_RemoveResponseAttr(PolicyApiSession* /*handle*/, const char* /*responseName*/,
                                       const char* /*domainName*/, ResponseAttrRecord* /*attr*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetResponseAttrs(PolicyApiSession* /*handle*/, const char* /*responseName*/,
                                     const char* /*domainName*/, ResponseAttrRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
