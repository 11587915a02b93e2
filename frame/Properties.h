// Reading single properties of stored objects.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjClasses.h"

namespace xo::frame {

enum class AbsentList { IsEmpty, IsFailure };

// Reads an identifier-list property. Returns 0 or the mapped store code;
// with AbsentList::IsEmpty, a property the store reports absent gives an
// empty list and 0.
int32_t FetchIdList(const std::string& sessionId, CXoObjBase& object, uint32_t prop,
                    CXoObjIdArray& ids, AbsentList absent);

// For an update, which rewrites the stored object whole: the object takes
// over the stored value of an identifier-list property that other calls
// maintain (read as with AbsentList::IsEmpty). 0 or the mapped store code.
int32_t KeepStoredIdList(const std::string& sessionId, CXoObjBase& object, uint32_t prop);

// Reads a text property: 0 or the mapped store code.
int32_t FetchText(const std::string& sessionId, CXoObjBase& object, uint32_t prop,
                  std::string& text);

}  // namespace xo::frame
