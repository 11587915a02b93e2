#include "frame/Call.h"

#include "XoObjStore.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Rights.h"

namespace xo::frame {

Call::~Call() {
  // A change still open here was left by an exception: nothing of it stays.
  if (changing_) CXoObjStore::EndChange(Sid(), false);
  if (snapshot_) CXoObjStore::EndReadSnapshot(Sid());
}

int32_t Call::Serialised(const std::function<int32_t()>& change) {
  const int32_t begun = CXoObjStore::BeginChange(Sid());
  if (StoreFailed(begun)) return MapStoreResult(begun);
  changing_ = true;
  const int32_t rc = change();
  changing_ = false;
  const int32_t ended = CXoObjStore::EndChange(Sid(), rc == XO_OK);
  if (rc == XO_OK && StoreFailed(ended)) return MapStoreResult(ended);
  return rc;
}

int32_t Call::Open(const PolicyApiSession* handle, std::initializer_list<const void*> required) {
  if (int32_t rc = CheckHandle(handle, session_); rc != XO_OK) return rc;
  CXoObjStore::BeginReadSnapshot(Sid());
  snapshot_ = true;
  for (const void* pointer : required) {
    if (pointer == nullptr) return XO_ERR_GENERAL;
  }
  return XO_OK;
}

int32_t Call::AllowSystem() const { return CheckManageRight(*session_, RootObjectId); }

int32_t Call::AllowDomain(const std::string& domainName) {
  if (int32_t rc = ResolveDomain(*session_, domainName, domain_); rc != XO_OK) return rc;
  return CheckManageRight(*session_, domain_);
}

int32_t Call::OpenSystem(const PolicyApiSession* handle,
                         std::initializer_list<const void*> required) {
  if (int32_t rc = Open(handle, required); rc != XO_OK) return rc;
  return AllowSystem();
}

int32_t Call::OpenDomain(const PolicyApiSession* handle,
                         std::initializer_list<const void*> required,
                         const std::string& domainName) {
  if (int32_t rc = Open(handle, required); rc != XO_OK) return rc;
  return AllowDomain(domainName);
}

}  // namespace xo::frame
