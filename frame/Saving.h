// Saving the objects that the Add functions build from a caller's record.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "XoAdmSession.h"
#include "XoObjClasses.h"
#include "frame/Call.h"
#include "frame/Fields.h"
#include "frame/Resolve.h"

namespace xo::frame {

// An update rewrites the stored object that bears the new object's name: the
// object takes over that one's identifier. A name that no single object bears
// leaves the object new, so the save makes one.
void AdoptStoredOid(const CXoAdmSession& s, SystemResolver find, CXoObjBase& object);
void AdoptStoredOid(const CXoAdmSession& s, DomainResolver find, const CXoObjId& domain,
                    CXoObjBase& object);

// Saves the object (`update` rewrites the stored object its identifier
// names), then writes the identifier it was saved under into `objectId` when
// one is given: 0 or the mapped store code, which leaves `objectId` alone.
int32_t SaveObject(const std::string& sessionId, CXoObjBase& object, bool update,
                   TextField* objectId = nullptr);

// An add whose update flag carries lists of the stored object over (its
// members, its administrators, its domains): with the flag, `takeOver` (the
// look-up by name and the reading of the lists) and the save are one
// serialised change (Call::Serialised), so that a list another session
// changes meanwhile is not written back as it was. Without the flag it is a
// plain save. `objectId` is written only when the change was kept.
int32_t SaveTakingOver(Call& call, CXoObjBase& object, bool update, TextField* objectId,
                       const std::function<int32_t()>& takeOver);

}  // namespace xo::frame
