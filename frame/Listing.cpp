#include "frame/Listing.h"

#include "XoObjStore.h"
#include "frame/ResultCodes.h"

namespace xo::frame {

int32_t ListNames(const std::string& sessionId, const CXoObjBase& owner, uint32_t prop,
                  AbsentList absent, CXoObjIdArray& ids, std::vector<std::string>& names) {
  const int32_t result = CXoObjStore::FetchListNames(owner, prop, ids, names, sessionId);
  if (result == xo::store::kPropertyAbsent && absent == AbsentList::IsEmpty) {
    ids.clear();
    names.clear();
    return XO_OK;
  }
  return StoreFailed(result) ? MapStoreResult(result) : XO_OK;
}

bool AppendNames(const std::vector<std::string>& names, StringArray& array) {
  for (const std::string& name : names) {
    if (!array.Append(name)) return false;
  }
  return true;
}

int32_t HandOutNames(const std::string& sessionId, const CXoObjBase& owner, uint32_t prop,
                     ShortArray shortArray, char*** out) {
  CXoObjIdArray ids;
  std::vector<std::string> names;
  if (int32_t rc = ListNames(sessionId, owner, prop, AbsentList::IsEmpty, ids, names);
      rc != XO_OK) {
    return rc;
  }
  StringArray array;
  if (!array.Allocate(names.size())) return XO_ERR_GENERAL;
  const bool copied = AppendNames(names, array);
  if (copied || shortArray == ShortArray::HandedOut) *out = array.HandOver();
  return copied ? XO_OK : XO_ERR_GENERAL;
}

}  // namespace xo::frame
