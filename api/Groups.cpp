// Rule, response and agent groups and their members.
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/FetchEach.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Listing.h"
#include "frame/Names.h"
#include "frame/Properties.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Rights.h"
#include "frame/Saving.h"
#include "frame/StringArrays.h"

using namespace xo::frame;

namespace {

using RecordsReader = int32_t (*)(const CXoAdmSession&, const CXoObjIdArray&, GroupRecord**);

// The records of the groups found, each with the name of its agent type.
template <class Group>
int32_t GroupRecords(const CXoAdmSession& s, const CXoObjIdArray& hits, GroupRecord** list) {
  return FetchedRecords<Group>(
      s.GetSessionID(), hits,
      [&](GroupRecord& record, const Group& group) {
        CopyToField(record.objectId, group.GetOid().GetOidString());
        CopyToField(record.name, group.GetName());
        CopyToField(record.description, group.GetDescription());
        std::string vendorName;
        AgentTypeName(s, group.GetVendorOid(), vendorName);
        CopyToField(record.vendorName, vendorName);
        return XO_OK;
      },
      list);
}

// What sets the three kinds apart. Rule and response groups live in a domain
// and keep their name in property 2; agent groups belong to no domain and
// keep it in property 1. A group holds leaves and groups of its own kind.
struct GroupKind {
  bool inDomain;
  XoObjId_Class groupClass;
  XoObjId_Class leafClass;
  uint32_t nameProp;
  uint32_t membersProp;
  RecordsReader records;
};

// Indexed by group type - 1.
const GroupKind kKinds[] = {
    {true, XoObjId_RuleGroup, XoObjId_Rule, CXoObjRuleGroup::Name, CXoObjRuleGroup::Members,
     GroupRecords<CXoObjRuleGroup>},
    {true, XoObjId_ResponseGroup, XoObjId_Response, CXoObjResponseGroup::Name,
     CXoObjResponseGroup::Members, GroupRecords<CXoObjResponseGroup>},
    {false, XoObjId_DeviceGroup, XoObjId_Device, CXoObjDeviceGroup::Name,
     CXoObjDeviceGroup::Members, GroupRecords<CXoObjDeviceGroup>},
};

// Four of the functions count a handle without a session as a bad handle;
// the other three answer it as a general failure.
enum class NoSession { IsFailure, IsBadHandle };

class GroupCall {
 public:
  // The handle check, then the caller's pointers.
  int32_t OpenHandle(const PolicyApiSession* handle, NoSession noSession,
                     std::initializer_list<const void*> required = {}) {
    const int32_t rc = call_.Open(handle);
    if (rc == XO_ERR_GENERAL && noSession == NoSession::IsBadHandle) return XO_ERR_BAD_HANDLE;
    if (rc != XO_OK) return rc;
    for (const void* pointer : required) {
      if (pointer == nullptr) return XO_ERR_GENERAL;
    }
    return XO_OK;
  }

  // The group type, the domain of the kinds that live in one, and MANAGE on
  // it; agent groups are checked on the null identifier.
  int32_t OpenScope(int32_t groupType, const char* domainName) {
    bool inDomain = false;
    if (int32_t rc = CheckGroupType(groupType, inDomain); rc != XO_OK) return rc;
    kind_ = &kKinds[groupType - 1];
    if (inDomain) return call_.AllowDomain(ArgText(domainName));
    return CheckManageRight(call_.Session(), NullObjectId);
  }

  int32_t Open(const PolicyApiSession* handle, NoSession noSession, int32_t groupType,
               const char* domainName, std::initializer_list<const void*> required = {}) {
    if (int32_t rc = OpenHandle(handle, noSession, required); rc != XO_OK) return rc;
    return OpenScope(groupType, domainName);
  }

  const GroupKind& Kind() const { return *kind_; }
  Call& Frame() { return call_; }
  const std::string& Sid() const { return call_.Sid(); }
  const CXoAdmSession& Session() const { return call_.Session(); }
  const CXoObjId& Domain() const { return kind_->inDomain ? call_.Domain() : NullObjectId; }

  int32_t ResolveGroup(const std::string& name, CXoObjId& id) const {
    switch (kind_->groupClass) {
      case XoObjId_RuleGroup:
        return ResolveRuleGroup(Session(), name, Domain(), id);
      case XoObjId_ResponseGroup:
        return ResolveResponseGroup(Session(), name, Domain(), id);
      default:
        return ResolveAgentGroup(Session(), name, id);
    }
  }

  // A name that is both a group and a leaf is taken as the group. Rules are
  // named within their realm.
  int32_t ResolveMember(const std::string& name, const std::string& realmName, CXoObjId& id) const {
    if (ResolveGroup(name, id) == XO_OK) return XO_OK;
    switch (kind_->groupClass) {
      case XoObjId_RuleGroup: {
        CXoObjId realm;
        if (int32_t rc = ResolveRealm(Session(), realmName, Domain(), realm); rc != XO_OK) {
          return rc;
        }
        return ResolveRule(Session(), name, Domain(), realm, id);
      }
      case XoObjId_ResponseGroup:
        return ResolveResponse(Session(), name, Domain(), id);
      default:
        return ResolveAgent(Session(), name, id);
    }
  }

  bool IsMemberClass(const CXoObjId& member) const {
    return member.GetOidClass() == kind_->groupClass || member.GetOidClass() == kind_->leafClass;
  }

  // The groups of that name, in search order.
  int32_t FindGroups(const std::string& name, CXoObjIdArray& hits) const {
    CXoObjBase templ(kind_->groupClass);
    if (kind_->inDomain) templ.SetDomainOid(Domain());
    return SearchIds(Sid(), templ, kind_->nameProp, name, hits);
  }

  std::unique_ptr<CXoObjBase> NewGroup(const std::string& name, const std::string& description,
                                       const CXoObjId& vendor) const {
    switch (kind_->groupClass) {
      case XoObjId_RuleGroup:
        return std::make_unique<CXoObjRuleGroup>(name, description, vendor, CXoObjIdArray(),
                                                 Domain());
      case XoObjId_ResponseGroup:
        return std::make_unique<CXoObjResponseGroup>(name, description, vendor, CXoObjIdArray(),
                                                     Domain());
      default:
        return std::make_unique<CXoObjDeviceGroup>(name, description, vendor, CXoObjIdArray());
    }
  }

  // The scope the cache notice of a membership change names: the group's
  // domain, or the root for agent groups.
  const CXoObjId& CacheScope() const { return kind_->inDomain ? Domain() : RootObjectId; }

 private:
  Call call_;
  const GroupKind* kind_ = nullptr;
};

// Keeps the members of the stored group of the same name, if there is one.
// A name that does not resolve leaves the group new.
int32_t KeepStoredMembers(const GroupCall& call, CXoObjBase& group) {
  CXoObjId stored;
  if (call.ResolveGroup(group.GetName(), stored) != XO_OK) return XO_OK;
  group.SetOid(stored);
  return KeepStoredIdList(call.Sid(), group, call.Kind().membersProp);
}

enum class MembershipChange { Add, Remove };

// One member added at the end of the group's list, or its first copy taken
// out; the store checks the one member against the list through its index,
// so the change costs the same however many members the group has.
int32_t ChangeMembership(const PolicyApiSession* handle, int32_t groupType, const char* groupName,
                         const char* memberName, const char* domainName, const char* realmName,
                         MembershipChange change) {
  GroupCall call;
  if (int32_t rc = call.Open(handle, NoSession::IsBadHandle, groupType, domainName); rc != XO_OK) {
    return rc;
  }
  CXoObjId groupId;
  if (int32_t rc = call.ResolveGroup(ArgText(groupName), groupId); rc != XO_OK) return rc;
  CXoObjId member;
  if (int32_t rc = call.ResolveMember(ArgText(memberName), ArgText(realmName), member);
      rc != XO_OK) {
    return rc;
  }

  return call.Frame().Serialised([&]() -> int32_t {
    const uint32_t prop = call.Kind().membersProp;
    if (change == MembershipChange::Add) {
      const int32_t added = CXoObjStore::AddListMember(groupId, prop, member, call.Sid());
      if (added == xo::store::kExists) return XO_ERR_ALREADY_MEMBER;
      if (StoreFailed(added)) return MapStoreResult(added);
    } else {
      const int32_t removed = CXoObjStore::RemoveListMember(groupId, prop, member, call.Sid());
      if (removed == xo::store::kNotFound) return XO_ERR_NOT_MEMBER;
      if (StoreFailed(removed)) return MapStoreResult(removed);
    }
    const int32_t invalidated =
        CXoObjStore::InvalidateCache(groupId, call.CacheScope(), true, call.Sid());
    return StoreFailed(invalidated) ? MapStoreResult(invalidated) : XO_OK;
  });
}

}  // namespace

XO_API Xo_PolicyApi_AddGroup(PolicyApiSession* handle, int32_t groupType, const char* domainName,
                             GroupRecord* group, uint8_t update) {
  return Guarded([&]() -> int32_t {
    GroupCall call;
    if (int32_t rc = call.Open(handle, NoSession::IsFailure, groupType, domainName, {group});
        rc != XO_OK) {
      return rc;
    }
    CXoObjId vendor;
    if (int32_t rc = ResolveAgentType(call.Session(), FieldText(group->vendorName), vendor);
        rc != XO_OK) {
      return rc;
    }
    std::unique_ptr<CXoObjBase> object =
        call.NewGroup(FieldText(group->name), FieldText(group->description), vendor);
    return SaveTakingOver(call.Frame(), *object, update != 0, nullptr,
                          [&] { return KeepStoredMembers(call, *object); });
  });
}

XO_API Xo_PolicyApi_GetGroup(PolicyApiSession* handle, int32_t groupType, const char* groupName,
                             const char* domainName, GroupRecord** list) {
  return Guarded([&]() -> int32_t {
    GroupCall call;
    if (int32_t rc = call.Open(handle, NoSession::IsFailure, groupType, domainName, {list});
        rc != XO_OK) {
      return rc;
    }
    CXoObjIdArray hits;
    if (int32_t rc = call.FindGroups(ArgText(groupName), hits); rc != XO_OK) return rc;
    return call.Kind().records(call.Session(), hits, list);
  });
}

XO_API Xo_PolicyApi_GetGroupNames(PolicyApiSession* handle, int32_t groupType,
                                  const char* groupName, const char* domainName, char*** names) {
  return Guarded([&]() -> int32_t {
    GroupCall call;
    if (int32_t rc = call.OpenHandle(handle, NoSession::IsFailure, {names}); rc != XO_OK) return rc;
    *names = nullptr;
    if (int32_t rc = call.OpenScope(groupType, domainName); rc != XO_OK) return rc;

    CXoObjIdArray hits;
    if (int32_t rc = call.FindGroups(ArgText(groupName), hits); rc != XO_OK) return rc;
    if (hits.empty()) return XO_ERR_GENERAL;
    // The members with their names, read together in one store operation.
    CXoObjIdArray members;
    std::vector<std::string> found;
    if (int32_t rc = ListNames(call.Sid(), CXoObjBase(call.Kind().groupClass, hits.front()),
                               call.Kind().membersProp, AbsentList::IsFailure, members, found);
        rc != XO_OK) {
      return rc;
    }
    for (const CXoObjId& member : members) {
      if (!call.IsMemberClass(member)) return XO_ERR_WRONG_CLASS;
    }
    StringArray array;
    if (!array.Allocate(found.size()) || !AppendNames(found, array)) return XO_ERR_GENERAL;
    *names = array.HandOver();
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_AddToGroup(PolicyApiSession* handle, int32_t groupType, const char* groupName,
                               const char* memberName, const char* domainName,
                               const char* realmName) {
  return Guarded([&] {
    return ChangeMembership(handle, groupType, groupName, memberName, domainName, realmName,
                            MembershipChange::Add);
  });
}

XO_API Xo_PolicyApi_RemoveFromGroup(PolicyApiSession* handle, int32_t groupType,
                                    const char* groupName, const char* memberName,
                                    const char* domainName, const char* realmName) {
  return Guarded([&] {
    return ChangeMembership(handle, groupType, groupName, memberName, domainName, realmName,
                            MembershipChange::Remove);
  });
}

XO_API Xo_PolicyApi_IsGroup(PolicyApiSession* handle, int32_t groupType, const char* name,
                            const char* domainName, uint8_t* isGroup) {
  return Guarded([&]() -> int32_t {
    GroupCall call;
    if (int32_t rc = call.OpenHandle(handle, NoSession::IsBadHandle); rc != XO_OK) return rc;
    if (isGroup == nullptr) return XO_ERR_GENERAL;
    if (int32_t rc = call.OpenScope(groupType, domainName); rc != XO_OK) return rc;
    // The caller clears the byte beforehand: a name that is no group of the
    // kind leaves it alone and is no error.
    CXoObjId group;
    if (call.ResolveGroup(ArgText(name), group) == XO_OK) *isGroup = 1;
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_DeleteGroup(PolicyApiSession* handle, int32_t groupType, const char* domainName,
                                const char* groupName) {
  return Guarded([&]() -> int32_t {
    GroupCall call;
    if (int32_t rc = call.Open(handle, NoSession::IsBadHandle, groupType, domainName);
        rc != XO_OK) {
      return rc;
    }
    const GroupKind& kind = call.Kind();
    CXoObjBase templ(kind.groupClass);
    return DeleteByName(handle, ArgText(groupName), kind.inDomain ? ArgText(domainName) : "",
                        kind.nameProp, templ, RightsScope::Domain);
  });
}
