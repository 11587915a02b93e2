// Policy domains: add, delete, read, and the listing of a domain's objects.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Listing.h"
#include "frame/Properties.h"
#include "frame/Records.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"

using namespace xo::frame;

namespace {

// An update rewrites the stored domain of the same name but keeps its user
// directories and administrators, which other calls maintain. A name that
// does not resolve leaves the object new; its lists then read as absent,
// which counts as empty.
int32_t TakeOverStoredDomain(const Call& call, CXoObjDomain& domain) {
  CXoObjId stored;
  if (ResolveDomain(call.Session(), domain.GetName(), stored) == XO_OK) domain.SetOid(stored);
  CXoObjIdArray ids;
  if (int32_t rc =
          FetchIdList(call.Sid(), domain, CXoObjDomain::UserDirectories, ids, AbsentList::IsEmpty);
      rc != XO_OK) {
    return rc;
  }
  domain.SetUserDirectories(ids);
  if (int32_t rc = FetchIdList(call.Sid(), domain, CXoObjDomain::Admins, ids, AbsentList::IsEmpty);
      rc != XO_OK) {
    return rc;
  }
  domain.SetAdmins(ids);
  return XO_OK;
}

void FillRecord(DomainRecord& record, const CXoObjDomain& domain) {
  CopyToField(record.objectId, domain.GetOid().GetOidString());
  CopyToField(record.name, domain.GetName());
  CopyToField(record.description, domain.GetDescription());
}

struct DomainListing {
  uint32_t kind;
  uint32_t domainProp;
  NameReader read;
};

// Group classes keep their name in property 2, directories and
// administrators in property 1.
constexpr DomainListing kListings[] = {
    {XO_DOMAIN_RULES, CXoObjDomain::Rules, FetchedName<CXoObjRule>},
    {XO_DOMAIN_RULE_GROUPS, CXoObjDomain::RuleGroups,
     NameProperty<CXoObjRuleGroup, CXoObjRuleGroup::Name>},
    {XO_DOMAIN_POLICIES, CXoObjDomain::Policies, FetchedName<CXoObjPolicy>},
    {XO_DOMAIN_REALMS, CXoObjDomain::Realms, FetchedName<CXoObjRealm>},
    {XO_DOMAIN_RESPONSE_GROUPS, CXoObjDomain::ResponseGroups,
     NameProperty<CXoObjResponseGroup, CXoObjResponseGroup::Name>},
    {XO_DOMAIN_RESPONSES, CXoObjDomain::Responses, FetchedName<CXoObjResponse>},
    {XO_DOMAIN_USER_DIRECTORIES, CXoObjDomain::UserDirectories,
     NameProperty<CXoObjUserDirectory, CXoObjUserDirectory::Name>},
    {XO_DOMAIN_ADMINISTRATORS, CXoObjDomain::Admins, NameProperty<CXoObjAdmin, CXoObjAdmin::Name>},
};

const DomainListing* FindListing(uint32_t kind) {
  for (const DomainListing& listing : kListings) {
    if (listing.kind == kind) return &listing;
  }
  return nullptr;
}

}  // namespace

XO_API Xo_PolicyApi_AddDomain(PolicyApiSession* handle, DomainRecord* domain, uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {domain}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowSystem(); rc != XO_OK) return rc;

    CXoObjDomain object(FieldText(domain->name), FieldText(domain->description), {}, {});
    if (update != 0) {
      if (int32_t rc = TakeOverStoredDomain(call, object); rc != XO_OK) return rc;
    }
    const int32_t saved = CXoObjStore::Save(object, update != 0, call.Sid());
    if (StoreFailed(saved)) return MapStoreResult(saved);
    CopyToField(domain->objectId, object.GetOid().GetOidString());
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_DeleteDomain(PolicyApiSession* handle, const char* domainName) {
  return Guarded([&] {
    // The name is resolved as a domain first, so a name that no single
    // domain has fails instead of deleting nothing.
    const std::string name = ArgText(domainName);
    CXoObjDomain templ;
    return DeleteByName(handle, name, name, CXoObjDomain::Name, templ, RightsScope::System);
  });
}

XO_API Xo_PolicyApi_GetDomain(PolicyApiSession* handle, const char* domainName,
                              DomainRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {list}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowSystem(); rc != XO_OK) return rc;

    CXoObjIdArray hits;
    const int32_t found = CXoObjStore::Search(CXoObjDomain(), hits, CXoObjDomain::Name,
                                              ArgText(domainName), call.Sid());
    if (StoreFailed(found)) return MapStoreResult(found);
    RecordList<DomainRecord> records;
    for (const CXoObjId& hit : hits) {
      CXoObjDomain object(hit);
      const int32_t fetched = CXoObjStore::Fetch(object, 0, nullptr, call.Sid());
      if (StoreFailed(fetched)) return MapStoreResult(fetched);
      DomainRecord* record = records.Append();
      if (record == nullptr) return XO_ERR_GENERAL;
      FillRecord(*record, object);
    }
    records.HandOver(list);
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_GetDomainObjectNames(PolicyApiSession* handle, const char* domainName,
                                         uint32_t objectKind, char*** names) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {names}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowDomain(ArgText(domainName)); rc != XO_OK) return rc;
    if (objectKind == 0) return XO_ERR_GENERAL;
    const DomainListing* listing = FindListing(objectKind);
    if (listing == nullptr) return XO_ERR_BAD_OBJECT_KIND;

    CXoObjDomain domain(call.Domain());
    CXoObjIdArray ids;
    if (int32_t rc = FetchIdList(call.Sid(), domain, listing->domainProp, ids, AbsentList::IsEmpty);
        rc != XO_OK) {
      return rc;
    }
    StringArray array;
    if (!array.Allocate(ids.size())) return XO_ERR_GENERAL;
    // Once the array exists it is handed out, also when a name cannot be read
    // or copied: the slots from that entry on are null, so the caller can
    // still free it whole.
    int32_t readCode = XO_OK;
    const ListingStop stop = AppendNames(call.Sid(), ids, listing->read, array, readCode);
    *names = array.HandOver();
    if (stop == ListingStop::OutOfMemory) return XO_ERR_GENERAL;
    return readCode;
  });
}
