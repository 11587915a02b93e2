#include "frame/Saving.h"

#include "XoObjStore.h"
#include "frame/ResultCodes.h"

namespace xo::frame {

void AdoptStoredOid(const CXoAdmSession& s, SystemResolver find, CXoObjBase& object) {
  CXoObjId stored;
  if (find(s, object.GetName(), stored) == XO_OK) object.SetOid(stored);
}

void AdoptStoredOid(const CXoAdmSession& s, DomainResolver find, const CXoObjId& domain,
                    CXoObjBase& object) {
  CXoObjId stored;
  if (find(s, object.GetName(), domain, stored) == XO_OK) object.SetOid(stored);
}

int32_t SaveObject(const std::string& sessionId, CXoObjBase& object, bool update,
                   TextField* objectId) {
  const int32_t saved = CXoObjStore::Save(object, update, sessionId);
  if (StoreFailed(saved)) return MapStoreResult(saved);
  if (objectId != nullptr) CopyToField(*objectId, object.GetOid().GetOidString());
  return XO_OK;
}

int32_t SaveTakingOver(Call& call, CXoObjBase& object, bool update, TextField* objectId,
                       const std::function<int32_t()>& takeOver) {
  if (!update) return SaveObject(call.Sid(), object, false, objectId);
  const int32_t rc = call.Serialised([&] {
    if (int32_t taken = takeOver(); taken != XO_OK) return taken;
    return SaveObject(call.Sid(), object, true);
  });
  if (rc == XO_OK && objectId != nullptr) CopyToField(*objectId, object.GetOid().GetOidString());
  return rc;
}

}  // namespace xo::frame
