// The lists a domain keeps of system-level objects it refers to (its user
// directories, its administrators): adding and removing one member by name.
// Both are system-level changes: the rights asked are MANAGE on
// RootObjectId, whatever the domain.
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoObjId.h"
#include "frame/Handles.h"

namespace xo::frame {

// Resolves a member's name (one of the system-wide resolvers).
using MemberResolver = int32_t (*)(const CXoAdmSession& s, const std::string& name, CXoObjId& id);

// Handle check and rights, then the domain and the member are resolved (in
// that order, each resolver's code on failure) and the member is appended to
// the domain's list `listProp`: -2 when the list already names it.
int32_t AddDomainMember(const PolicyApiSession* handle, const std::string& memberName,
                        const std::string& domainName, MemberResolver resolveMember,
                        uint32_t listProp);

// As adding, then every copy of the member leaves the list: -4 when the list
// is empty; a member the list does not name is 0 and nothing is written.
int32_t RemoveDomainMember(const PolicyApiSession* handle, const std::string& memberName,
                           const std::string& domainName, MemberResolver resolveMember,
                           uint32_t listProp);

}  // namespace xo::frame
