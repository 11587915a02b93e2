// Rights of the session's administrator, and the group-type check.
#pragma once

#include <cstdint>

#include "XoAdmSession.h"
#include "XoObjId.h"

namespace xo::frame {

// MANAGE on a domain, or on RootObjectId for objects outside domains: 0 or -1.
int32_t CheckManageRight(const CXoAdmSession& session, const CXoObjId& scope);

// COMMAND for one server command value: 0 or -1.
int32_t CheckCommandRight(const CXoAdmSession& session, int32_t commandValue);

// Types 1 and 2 (rule and response groups) live in a domain and set
// `inDomain`; type 3 (agent groups) clears it; anything else gives -21.
int32_t CheckGroupType(int32_t groupType, bool& inDomain);

}  // namespace xo::frame
