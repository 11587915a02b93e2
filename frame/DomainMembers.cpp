#include "frame/DomainMembers.h"

#include <algorithm>

#include "XoObjStore.h"
#include "frame/Call.h"
#include "frame/Properties.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"

namespace xo::frame {

namespace {

// The opening both share, up to the member list as stored.
struct MemberList {
  Call call;
  CXoObjId domain;
  CXoObjId member;
  CXoObjIdArray ids;
};

int32_t ReadMemberList(const PolicyApiSession* handle, const std::string& memberName,
                       const std::string& domainName, MemberResolver resolveMember,
                       uint32_t listProp, MemberList& list) {
  if (int32_t rc = list.call.Open(handle); rc != XO_OK) return rc;
  if (int32_t rc = list.call.AllowSystem(); rc != XO_OK) return rc;
  const CXoAdmSession& session = list.call.Session();
  if (int32_t rc = ResolveDomain(session, domainName, list.domain); rc != XO_OK) return rc;
  if (int32_t rc = resolveMember(session, memberName, list.member); rc != XO_OK) return rc;
  CXoObjDomain domain(list.domain);
  return FetchIdList(list.call.Sid(), domain, listProp, list.ids, AbsentList::IsFailure);
}

int32_t WriteMemberList(const MemberList& list, uint32_t listProp) {
  const int32_t saved = CXoObjStore::SaveProperty(list.domain, listProp, list.ids, list.call.Sid());
  return StoreFailed(saved) ? MapStoreResult(saved) : XO_OK;
}

}  // namespace

int32_t AddDomainMember(const PolicyApiSession* handle, const std::string& memberName,
                        const std::string& domainName, MemberResolver resolveMember,
                        uint32_t listProp) {
  MemberList list;
  if (int32_t rc = ReadMemberList(handle, memberName, domainName, resolveMember, listProp, list);
      rc != XO_OK) {
    return rc;
  }
  const bool listed = std::any_of(list.ids.begin(), list.ids.end(),
                                  [&](const CXoObjId& id) { return id.IsEqual(list.member); });
  if (listed) return XO_ERR_ALREADY_MEMBER;
  list.ids.push_back(list.member);
  return WriteMemberList(list, listProp);
}

int32_t RemoveDomainMember(const PolicyApiSession* handle, const std::string& memberName,
                           const std::string& domainName, MemberResolver resolveMember,
                           uint32_t listProp) {
  MemberList list;
  if (int32_t rc = ReadMemberList(handle, memberName, domainName, resolveMember, listProp, list);
      rc != XO_OK) {
    return rc;
  }
  if (list.ids.empty()) return XO_ERR_NOT_MEMBER;
  const auto removed =
      std::erase_if(list.ids, [&](const CXoObjId& id) { return id.IsEqual(list.member); });
  if (removed == 0) return XO_OK;
  return WriteMemberList(list, listProp);
}

}  // namespace xo::frame
