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
#include "frame/Resolve.h"

namespace xo::frame {

enum class MemberChange { Add, Remove };

// Handle check and rights, then the domain and the member are resolved (in
// that order, each resolver's code on failure) and the domain's list
// `listProp` is read and changed.
// Add appends the member: -2 when the list already names it.
// Remove takes every copy of the member out: -4 when the list is empty; a
// member the list does not name is 0 and nothing is written.
int32_t ChangeDomainMember(const PolicyApiSession* handle, const std::string& memberName,
                           const std::string& domainName, SystemResolver resolveMember,
                           uint32_t listProp, MemberChange change);

}  // namespace xo::frame
