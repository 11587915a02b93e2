// Lists of names of the objects an identifier-list property names, for the
// functions that hand out the names of a domain's or of the whole store's
// objects, or of a group's members.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "XoObjClasses.h"
#include "frame/Properties.h"
#include "frame/StringArrays.h"

namespace xo::frame {

// The identifiers of the list `prop` of `owner` and the name of each, in list
// order, read in one store operation: 0 or the mapped store code. With
// AbsentList::IsEmpty, a list the store reports absent gives no names.
int32_t ListNames(const std::string& sessionId, const CXoObjBase& owner, uint32_t prop,
                  AbsentList absent, CXoObjIdArray& ids, std::vector<std::string>& names);

// Copies the names in order into an array allocated for them; false when one
// cannot be copied (the slots from it on stay null).
bool AppendNames(const std::vector<std::string>& names, StringArray& array);

// A kind of object a listing selector names, and the list property that
// holds the objects of that kind.
struct KindListing {
  uint32_t kind;
  uint32_t listProp;
};

// The listing of the selector in the table, or null.
template <size_t N>
const KindListing* FindListing(const KindListing (&listings)[N], uint32_t kind) {
  for (const KindListing& listing : listings) {
    if (listing.kind == kind) return &listing;
  }
  return nullptr;
}

// What becomes of an array that could not take every name.
enum class ShortArray { HandedOut, Withheld };

// The names of the list, as read by ListNames with AbsentList::IsEmpty, in a
// new array in `*out`: 0, or the mapped store code with `*out` untouched, or
// -1 when the array cannot be made or a name not copied; a short array is
// then handed out (its missing slots null) or withheld as the caller chooses.
int32_t HandOutNames(const std::string& sessionId, const CXoObjBase& owner, uint32_t prop,
                     ShortArray shortArray, char*** out);

}  // namespace xo::frame
