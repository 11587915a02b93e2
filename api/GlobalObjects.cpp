// The names of the objects that live outside any domain.
#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/Guard.h"
#include "frame/Listing.h"
#include "frame/Properties.h"

using namespace xo::frame;

namespace {

struct GlobalListing {
  uint32_t kind;
  uint32_t rootProp;
  NameReader read;
};

constexpr GlobalListing kListings[] = {
    {XO_GLOBAL_USER_DIRECTORIES, CXoObjRoot::UserDirectories, FetchedName<CXoObjUserDirectory>},
    {XO_GLOBAL_SCHEMES, CXoObjRoot::Schemes, FetchedName<CXoObjScheme>},
    {XO_GLOBAL_AGENTS, CXoObjRoot::Agents, FetchedName<CXoObjDevice>},
    {XO_GLOBAL_AGENT_GROUPS, CXoObjRoot::AgentGroups, FetchedName<CXoObjDeviceGroup>},
    {XO_GLOBAL_DOMAINS, CXoObjRoot::Domains, FetchedName<CXoObjDomain>},
    {XO_GLOBAL_ADMINISTRATORS, CXoObjRoot::Admins, FetchedName<CXoObjAdmin>},
};

const GlobalListing* FindListing(uint32_t kind) {
  for (const GlobalListing& listing : kListings) {
    if (listing.kind == kind) return &listing;
  }
  return nullptr;
}

}  // namespace

XO_API Xo_PolicyApi_GetGlobalObjectNames(PolicyApiSession* handle, uint32_t objectKind,
                                         char*** names) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {names}); rc != XO_OK) return rc;
    *names = nullptr;
    if (objectKind == 0) return XO_ERR_GENERAL;
    const GlobalListing* listing = FindListing(objectKind);
    if (listing == nullptr) return XO_ERR_BAD_OBJECT_KIND;

    CXoObjRoot root;
    CXoObjIdArray ids;
    if (int32_t rc = FetchIdList(call.Sid(), root, listing->rootProp, ids, AbsentList::IsEmpty);
        rc != XO_OK) {
      return rc;
    }
    StringArray array;
    if (!array.Allocate(ids.size())) return XO_ERR_GENERAL;
    // An object that cannot be fetched ends the listing quietly: the caller
    // gets the names gathered so far. A name that cannot be copied fails the
    // call, so that a short list is never reported as complete.
    int32_t readCode = XO_OK;
    if (AppendNames(call.Sid(), ids, listing->read, array, readCode) == ListingStop::OutOfMemory) {
      return XO_ERR_GENERAL;
    }
    *names = array.HandOver();
    return XO_OK;
  });
}
