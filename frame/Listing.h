// Lists of names read from a list of identifiers, for the functions that hand
// out the names of a domain's or of the whole store's objects.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjId.h"
#include "XoObjStore.h"
#include "frame/Properties.h"
#include "frame/ResultCodes.h"
#include "frame/StringArrays.h"

namespace xo::frame {

// Reads the name of the object an identifier names: 0 or the mapped store code.
using NameReader = int32_t (*)(const std::string& sessionId, const CXoObjId& id, std::string& name);

// The name of a fully fetched object.
template <class Kind>
int32_t FetchedName(const std::string& sessionId, const CXoObjId& id, std::string& name) {
  Kind object(id);
  const int32_t fetched = CXoObjStore::Fetch(object, 0, nullptr, sessionId);
  if (StoreFailed(fetched)) return MapStoreResult(fetched);
  name = object.GetName();
  return XO_OK;
}

// The name read as the single property that holds it.
template <class Kind, uint32_t NameProp>
int32_t NameProperty(const std::string& sessionId, const CXoObjId& id, std::string& name) {
  Kind object(id);
  return FetchText(sessionId, object, NameProp, name);
}

enum class ListingStop { Complete, ReadFailed, OutOfMemory };

// Appends the name of each identifier in order, stopping at the first that
// cannot be read (its code in `readCode`) or copied.
ListingStop AppendNames(const std::string& sessionId, const CXoObjIdArray& ids, NameReader read,
                        StringArray& names, int32_t& readCode);

}  // namespace xo::frame
