// The names of the objects that live outside any domain.
#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/Guard.h"
#include "frame/Listing.h"
#include "frame/Properties.h"

using namespace xo::frame;

namespace {

constexpr KindListing kListings[] = {
    {XO_GLOBAL_USER_DIRECTORIES, CXoObjRoot::UserDirectories},
    {XO_GLOBAL_SCHEMES, CXoObjRoot::Schemes},
    {XO_GLOBAL_AGENTS, CXoObjRoot::Agents},
    {XO_GLOBAL_AGENT_GROUPS, CXoObjRoot::AgentGroups},
    {XO_GLOBAL_DOMAINS, CXoObjRoot::Domains},
    {XO_GLOBAL_ADMINISTRATORS, CXoObjRoot::Admins},
};

}  // namespace

XO_API Xo_PolicyApi_GetGlobalObjectNames(PolicyApiSession* handle, uint32_t objectKind,
                                         char*** names) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {names}); rc != XO_OK) return rc;
    *names = nullptr;
    if (objectKind == 0) return XO_ERR_GENERAL;
    const KindListing* listing = FindListing(kListings, objectKind);
    if (listing == nullptr) return XO_ERR_BAD_OBJECT_KIND;

    // A name that cannot be copied fails the call, so that a short list is
    // never reported as complete.
    return HandOutNames(call.Sid(), CXoObjRoot(), listing->listProp, ShortArray::Withheld, names);
  });
}
