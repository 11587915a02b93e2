#include "frame/DomainMembers.h"

#include <algorithm>

#include "XoObjStore.h"
#include "frame/Call.h"
#include "frame/Properties.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"

namespace xo::frame {

namespace {

// The change on the list as read: 0 or the code that refuses it (see the
// header); `write` is cleared when the list stays as it was.
int32_t Apply(MemberChange change, const CXoObjId& member, CXoObjIdArray& ids, bool& write) {
  const auto isMember = [&](const CXoObjId& id) { return id.IsEqual(member); };
  if (change == MemberChange::Add) {
    if (std::any_of(ids.begin(), ids.end(), isMember)) return XO_ERR_ALREADY_MEMBER;
    ids.push_back(member);
    return XO_OK;
  }
  if (ids.empty()) return XO_ERR_NOT_MEMBER;
  write = std::erase_if(ids, isMember) != 0;
  return XO_OK;
}

}  // namespace

int32_t ChangeDomainMember(const PolicyApiSession* handle, const std::string& memberName,
                           const std::string& domainName, SystemResolver resolveMember,
                           uint32_t listProp, MemberChange change) {
  Call call;
  if (int32_t rc = call.OpenSystem(handle); rc != XO_OK) return rc;
  const CXoAdmSession& session = call.Session();
  CXoObjId domainId, member;
  if (int32_t rc = ResolveDomain(session, domainName, domainId); rc != XO_OK) return rc;
  if (int32_t rc = resolveMember(session, memberName, member); rc != XO_OK) return rc;
  return call.Serialised([&]() -> int32_t {
    CXoObjDomain domain(domainId);
    CXoObjIdArray ids;
    if (int32_t rc = FetchIdList(call.Sid(), domain, listProp, ids, AbsentList::IsFailure);
        rc != XO_OK) {
      return rc;
    }
    bool write = true;
    if (int32_t rc = Apply(change, member, ids, write); rc != XO_OK || !write) return rc;
    const int32_t saved = CXoObjStore::SaveProperty(domainId, listProp, ids, call.Sid());
    return StoreFailed(saved) ? MapStoreResult(saved) : XO_OK;
  });
}

}  // namespace xo::frame
