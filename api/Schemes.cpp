// Authentication schemes.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_AddScheme(PolicyApiSession* /*handle*/, SchemeRecord* /*scheme*/,
                              uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteScheme(PolicyApiSession* /*handle*/, const char* /*schemeName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetScheme(PolicyApiSession* /*handle*/, const char* /*schemeName*/,
                              SchemeRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
