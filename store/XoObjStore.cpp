#include "XoObjStore.h"

#include <mutex>

#include "StoreBackend.h"
#include "StoreRegistry.h"
#include "XoAdmSession.h"

namespace xo::store {
namespace {

struct OpenStore {
  std::mutex mutex;
  int references = 0;
  std::string location;
  std::string hashCost;
  std::unique_ptr<IStoreBackend> backend;
  BackendWrapper wrapper;
};

OpenStore& TheStore() {
  static auto* store = new OpenStore();
  return *store;
}

IStoreBackend* Backend() { return TheStore().backend.get(); }

// Secret texts (administrator passwords) are kept only as their hash.
void HashSecrets(CXoObjBase& object) {
  for (const XoPropDef& def : object.Dict().Props()) {
    if (!def.Is(XoProp_Secret)) continue;
    const std::string& text = object.Text(def.number);
    if (!text.empty() && !IsPasswordHash(text)) {
      object.Set(def.number, HashPassword(text, TheStore().hashCost));
    }
  }
}

}  // namespace

IStoreBackend* CurrentBackend() { return Backend(); }

void SetBackendWrapper(BackendWrapper wrapper) {
  OpenStore& store = TheStore();
  std::lock_guard<std::mutex> lock(store.mutex);
  store.wrapper = std::move(wrapper);
  if (store.wrapper && store.backend) store.backend = store.wrapper(std::move(store.backend));
}

}  // namespace xo::store

using namespace xo::store;

bool CXoObjStore::Init(std::string& message, bool, bool, bool, bool, bool, bool, bool ready) {
  OpenStore& store = TheStore();
  std::lock_guard<std::mutex> lock(store.mutex);
  StoreLocation where = ResolveLocation();
  if (store.references > 0) {
    if (where.path != store.location) {
      message = "another policy store (" + store.location + ") is already open in this process";
      return false;
    }
    ++store.references;
    return ready;
  }
  std::unique_ptr<IStoreBackend> backend = OpenBackend(where, message);
  if (!backend) return false;
  std::string cost;
  if (Failed(backend->ReadSetting("hash-cost", cost))) cost = "interactive";
  if (store.wrapper) backend = store.wrapper(std::move(backend));
  store.backend = std::move(backend);
  store.location = where.path;
  store.hashCost = cost;
  store.references = 1;
  return ready;
}

void CXoObjStore::Release() {
  OpenStore& store = TheStore();
  std::lock_guard<std::mutex> lock(store.mutex);
  if (store.references == 0) return;
  if (--store.references == 0) store.backend.reset();
}

#define XO_REQUIRE_BACKEND()          \
  IStoreBackend* backend = Backend(); \
  if (!backend) return kUnavailable

int32_t CXoObjStore::Fetch(CXoObjBase& object, uint32_t prop, const XoPropValue* value,
                           const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->Fetch(object, prop, value, sessionId);
}

int32_t CXoObjStore::Save(CXoObjBase& object, bool overwrite, const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  HashSecrets(object);
  return backend->Save(object, overwrite, sessionId);
}

int32_t CXoObjStore::Search(const CXoObjBase& templ, CXoObjIdArray& hits, uint32_t prop,
                            const XoPropValue& value, const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->Search(templ, hits, prop, value, sessionId);
}

int32_t CXoObjStore::SearchMultiple(const CXoObjBase& templ, CXoObjIdArray& hits,
                                    const XoObjSearchFilterList& filters,
                                    const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->SearchMultiple(templ, hits, filters, sessionId);
}

int32_t CXoObjStore::Delete(const CXoObjId& id, const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->Delete(id, sessionId);
}

int32_t CXoObjStore::InvalidateCache(const CXoObjId& id, const CXoObjId& scope, bool flag,
                                     const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->InvalidateCache(id, scope, flag, sessionId);
}

int32_t CXoObjStore::FetchProperty(CXoObjBase& object, uint32_t prop, XoPropValue* out,
                                   const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  XoPropValue value;
  int32_t result = backend->FetchProperty(object, prop, value, sessionId);
  if (Failed(result)) return result;
  if (out) *out = value;
  object.Set(prop, std::move(value));
  return result;
}

int32_t CXoObjStore::SaveProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value,
                                  const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(id.GetOidClass());
  const XoPropDef* def = dict ? dict->Find(prop) : nullptr;
  const std::string* text = std::get_if<std::string>(&value);
  if (def && def->Is(XoProp_Secret) && text && !text->empty() && !IsPasswordHash(*text)) {
    return backend->SaveProperty(id, prop, HashPassword(*text, TheStore().hashCost), sessionId);
  }
  return backend->SaveProperty(id, prop, value, sessionId);
}

int32_t CXoObjStore::FetchListNames(const CXoObjBase& object, uint32_t prop, CXoObjIdArray& ids,
                                    std::vector<std::string>& names, const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->FetchListNames(object, prop, ids, names, sessionId);
}

int32_t CXoObjStore::AddListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                                   const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->AddListMember(owner, prop, member, sessionId);
}

int32_t CXoObjStore::RemoveListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                                      const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->RemoveListMember(owner, prop, member, sessionId);
}

int32_t CXoObjStore::BeginChange(const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->BeginChange(sessionId);
}

int32_t CXoObjStore::EndChange(const std::string& sessionId, bool keep) {
  XO_REQUIRE_BACKEND();
  return backend->EndChange(sessionId, keep);
}

int32_t CXoObjStore::BeginTransaction(const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->BeginTransaction(sessionId);
}

int32_t CXoObjStore::CommitTransaction(const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->CommitTransaction(sessionId);
}

void CXoObjStore::ExpectFetches(const CXoObjIdArray& ids, const std::string& sessionId) {
  if (IStoreBackend* backend = Backend()) backend->ExpectFetches(ids, sessionId);
}

void CXoObjStore::BeginReadSnapshot(const std::string& sessionId) {
  if (IStoreBackend* backend = Backend()) backend->BeginReadSnapshot(sessionId);
}

void CXoObjStore::EndReadSnapshot(const std::string& sessionId) {
  if (IStoreBackend* backend = Backend()) backend->EndReadSnapshot(sessionId);
}

int32_t CXoObjStore::RollbackTransaction(const std::string& sessionId) {
  XO_REQUIRE_BACKEND();
  return backend->RollbackTransaction(sessionId);
}
