#include "frame/Properties.h"

#include "XoObjStore.h"
#include "frame/ResultCodes.h"

namespace xo::frame {

int32_t FetchIdList(const std::string& sessionId, CXoObjBase& object, uint32_t prop,
                    CXoObjIdArray& ids, AbsentList absent) {
  XoPropValue value;
  const int32_t result = CXoObjStore::FetchProperty(object, prop, &value, sessionId);
  if (result == xo::store::kPropertyAbsent && absent == AbsentList::IsEmpty) {
    ids.clear();
    return XO_OK;
  }
  if (StoreFailed(result)) return MapStoreResult(result);
  const auto* list = std::get_if<CXoObjIdArray>(&value);
  ids = list != nullptr ? *list : CXoObjIdArray();
  return XO_OK;
}

int32_t KeepStoredIdList(const std::string& sessionId, CXoObjBase& object, uint32_t prop) {
  CXoObjIdArray ids;
  if (int32_t rc = FetchIdList(sessionId, object, prop, ids, AbsentList::IsEmpty); rc != XO_OK) {
    return rc;
  }
  object.Set(prop, ids);
  return XO_OK;
}

int32_t FetchText(const std::string& sessionId, CXoObjBase& object, uint32_t prop,
                  std::string& text) {
  XoPropValue value;
  const int32_t result = CXoObjStore::FetchProperty(object, prop, &value, sessionId);
  if (StoreFailed(result)) return MapStoreResult(result);
  const auto* found = std::get_if<std::string>(&value);
  text = found != nullptr ? *found : std::string();
  return XO_OK;
}

}  // namespace xo::frame
