#include "frame/Rights.h"

#include "XoPolicyApi.h"

namespace xo::frame {

int32_t CheckManageRight(const CXoAdmSession& session, const CXoObjId& scope) {
  return session.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, scope) ? XO_OK : XO_ERR_GENERAL;
}

int32_t CheckCommandRight(const CXoAdmSession& session, int32_t commandValue) {
  return session.GetAdminUser().IsAllowed(XO_RIGHT_COMMAND, commandValue, RootObjectId)
             ? XO_OK
             : XO_ERR_GENERAL;
}

int32_t CheckGroupType(int32_t groupType, bool& inDomain) {
  inDomain = groupType == XO_GROUP_RULE || groupType == XO_GROUP_RESPONSE;
  if (inDomain || groupType == XO_GROUP_AGENT) return XO_OK;
  return XO_ERR_BAD_GROUP_TYPE;
}

}  // namespace xo::frame
