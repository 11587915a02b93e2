// Policy domains: add, delete, read, and the listing of a domain's objects.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Listing.h"
#include "frame/Properties.h"
#include "frame/Resolve.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// An update rewrites the stored domain of the same name but keeps its user
// directories and administrators, which other calls maintain. A name that
// does not resolve leaves the object new; its lists then read as absent,
// which counts as empty.
int32_t TakeOverStoredDomain(const Call& call, CXoObjDomain& domain) {
  AdoptStoredOid(call.Session(), ResolveDomain, domain);
  if (int32_t rc = KeepStoredIdList(call.Sid(), domain, CXoObjDomain::UserDirectories);
      rc != XO_OK) {
    return rc;
  }
  return KeepStoredIdList(call.Sid(), domain, CXoObjDomain::Admins);
}

int32_t FillRecord(DomainRecord& record, const CXoObjDomain& domain) {
  CopyToField(record.objectId, domain.GetOid().GetOidString());
  CopyToField(record.name, domain.GetName());
  CopyToField(record.description, domain.GetDescription());
  return XO_OK;
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
    if (int32_t rc = call.OpenSystem(handle, {domain}); rc != XO_OK) return rc;

    CXoObjDomain object(FieldText(domain->name), FieldText(domain->description), {}, {});
    return SaveTakingOver(call, object, update != 0, &domain->objectId,
                          [&] { return TakeOverStoredDomain(call, object); });
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
    if (int32_t rc = call.OpenSystem(handle, {list}); rc != XO_OK) return rc;
    return RecordsByName(call.Sid(), CXoObjDomain(), ArgText(domainName), FillRecord, list);
  });
}

XO_API Xo_PolicyApi_GetDomainObjectNames(PolicyApiSession* handle, const char* domainName,
                                         uint32_t objectKind, char*** names) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenDomain(handle, {names}, ArgText(domainName)); rc != XO_OK) return rc;
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
