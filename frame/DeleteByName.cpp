#include "frame/DeleteByName.h"

#include "XoObjStore.h"
#include "frame/Call.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Rights.h"

namespace xo::frame {

int32_t DeleteByName(const PolicyApiSession* handle, const std::string& name,
                     const std::string& domainName, uint32_t prop, CXoObjBase& templ,
                     RightsScope scope) {
  Call call;
  if (int32_t rc = call.Open(handle); rc != XO_OK) return rc;
  CXoObjId domain;
  if (!domainName.empty()) {
    if (int32_t rc = ResolveDomain(call.Session(), domainName, domain); rc != XO_OK) return rc;
    templ.SetDomainOid(domain);
  }
  const CXoObjId& rightsScope = scope == RightsScope::System ? RootObjectId : domain;
  if (int32_t rc = CheckManageRight(call.Session(), rightsScope); rc != XO_OK) return rc;

  CXoObjIdArray hits;
  const int32_t found = CXoObjStore::Search(templ, hits, prop, name, call.Sid());
  if (StoreFailed(found)) return MapStoreResult(found);
  for (const CXoObjId& hit : hits) {
    const int32_t deleted = CXoObjStore::Delete(hit, call.Sid());
    if (StoreFailed(deleted)) return MapStoreResult(deleted);
  }
  return XO_OK;
}

}  // namespace xo::frame
