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

// Each kind is read with the name its class keeps (property 2 of groups,
// rules, policies, realms and responses; 1 of directories and administrators).
constexpr KindListing kListings[] = {
    {XO_DOMAIN_RULES, CXoObjDomain::Rules},
    {XO_DOMAIN_RULE_GROUPS, CXoObjDomain::RuleGroups},
    {XO_DOMAIN_POLICIES, CXoObjDomain::Policies},
    {XO_DOMAIN_REALMS, CXoObjDomain::Realms},
    {XO_DOMAIN_RESPONSE_GROUPS, CXoObjDomain::ResponseGroups},
    {XO_DOMAIN_RESPONSES, CXoObjDomain::Responses},
    {XO_DOMAIN_USER_DIRECTORIES, CXoObjDomain::UserDirectories},
    {XO_DOMAIN_ADMINISTRATORS, CXoObjDomain::Admins},
};

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
    const KindListing* listing = FindListing(kListings, objectKind);
    if (listing == nullptr) return XO_ERR_BAD_OBJECT_KIND;

    // Once the array exists it is handed out, also when a name cannot be
    // copied: the slots from that entry on are null, so the caller can still
    // free it whole.
    return HandOutNames(call.Sid(), CXoObjDomain(call.Domain()), listing->listProp,
                        ShortArray::HandedOut, names);
  });
}
