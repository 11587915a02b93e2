// ODBC query schemes of database-backed directories.
// Not available yet: every function answers -1.
#include "XoPolicyApi.h"

XO_API Xo_PolicyApi_CreateODBCQueryScheme(PolicyApiSession* /*handle*/,
                                          OdbcQuerySchemeRecord* /*scheme*/, uint8_t /*update*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_DeleteODBCQueryScheme(PolicyApiSession* /*handle*/,
                                          const char* /*schemeName*/) {
  return XO_ERR_GENERAL;
}

XO_API Xo_PolicyApi_GetODBCQueryScheme(PolicyApiSession* /*handle*/, const char* /*schemeName*/,
                                       OdbcQuerySchemeRecord** /*list*/) {
  return XO_ERR_GENERAL;
}
