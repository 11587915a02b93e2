// Directory entries (users, groups, other directory objects) attached to a
// policy. Each attachment names the entry as its directory found it, the
// directory, the policy and the policy's domain.
#include <string>

#include "XoDsDir.h"
#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/FetchEach.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"

using namespace xo::frame;

namespace {

// The opening the three share: handle, domain and MANAGE on it, then the
// policy within the domain and the directory.
struct PolicyInDirectory {
  Call call;
  CXoObjId policy;
  CXoObjId directory;

  int32_t Open(const PolicyApiSession* handle, std::initializer_list<const void*> required,
               const char* domainName, const char* policyName, const char* userDirName) {
    if (int32_t rc = call.OpenDomain(handle, required, ArgText(domainName)); rc != XO_OK) return rc;
    if (int32_t rc = ResolvePolicy(call.Session(), ArgText(policyName), call.Domain(), policy);
        rc != XO_OK) {
      return rc;
    }
    return ResolveUserDirectory(call.Session(), ArgText(userDirName), directory);
  }

  // Whether an attachment belongs to this domain, policy and directory.
  bool Holds(const CXoObjUserPolicy& attachment) const {
    return attachment.GetDomainOid().GetOidString() == call.Domain().GetOidString() &&
           attachment.GetPolicyOid().GetOidString() == policy.GetOidString() &&
           attachment.GetUserDirectoryOid().GetOidString() == directory.GetOidString();
  }

  int32_t InvalidatePolicy() const {
    const int32_t done = CXoObjStore::InvalidateCache(policy, call.Domain(), true, call.Sid());
    return StoreFailed(done) ? MapStoreResult(done) : XO_OK;
  }
};

}  // namespace

XO_API Xo_PolicyApi_AddUsersToPolicy(PolicyApiSession* handle, const char* domainName,
                                     const char* policyName, const char* userDirName,
                                     const char* entry, Xo_PolicyResolution_t resolution) {
  return Guarded([&]() -> int32_t {
    PolicyInDirectory target;
    if (int32_t rc = target.Open(handle, {}, domainName, policyName, userDirName); rc != XO_OK) {
      return rc;
    }
    CXoObjUserDirectory directory(target.directory);
    const int32_t fetched = CXoObjStore::Fetch(directory, 0, nullptr, target.call.Sid());
    if (StoreFailed(fetched)) return MapStoreResult(fetched);
    int32_t kind = 0;
    std::string path;
    std::string displayName;
    if (!CXoDsDir(directory, target.call.Session())
             .GetDirObjInfo(ArgText(entry), kind, path, displayName)) {
      return XO_ERR_GENERAL;
    }

    // Every call attaches anew, also an entry that is attached already.
    CXoObjUserPolicy attachment(path, displayName, resolution, kind, target.directory,
                                target.policy, target.call.Domain());
    const int32_t saved = CXoObjStore::Save(attachment, false, target.call.Sid());
    if (StoreFailed(saved)) return MapStoreResult(saved);
    return target.InvalidatePolicy();
  });
}

XO_API Xo_PolicyApi_RemoveUsersFromPolicy(PolicyApiSession* handle, const char* domainName,
                                          const char* policyName, const char* userDirName,
                                          const char* entry) {
  return Guarded([&]() -> int32_t {
    PolicyInDirectory target;
    if (int32_t rc = target.Open(handle, {}, domainName, policyName, userDirName); rc != XO_OK) {
      return rc;
    }
    CXoObjIdArray hits;
    if (int32_t rc = SearchIds(target.call.Sid(), CXoObjUserPolicy(), CXoObjUserPolicy::Entry,
                               ArgText(entry), hits);
        rc != XO_OK) {
      return rc;
    }
    return FetchEach<CXoObjUserPolicy>(
        target.call.Sid(), hits, [&](const CXoObjUserPolicy& attachment) -> int32_t {
          if (!target.Holds(attachment)) return XO_OK;
          const int32_t deleted = CXoObjStore::Delete(attachment.GetOid(), target.call.Sid());
          if (StoreFailed(deleted)) return MapStoreResult(deleted);
          return target.InvalidatePolicy();
        });
  });
}

XO_API Xo_PolicyApi_GetPolicyUsers(PolicyApiSession* handle, const char* domainName,
                                   const char* policyName, const char* userDirName,
                                   UserEntryRecord** list) {
  return Guarded([&]() -> int32_t {
    PolicyInDirectory target;
    if (int32_t rc = target.Open(handle, {list}, domainName, policyName, userDirName);
        rc != XO_OK) {
      return rc;
    }
    // The domain's attachments, narrowed in the store (by index) to those of
    // this policy and directory, so that the listing costs what it returns,
    // not what the domain holds; each is still checked as it is fetched.
    CXoObjIdArray hits;
    const XoObjSearchFilterList filters = {
        {CXoObjUserPolicy::Domain, target.call.Domain().GetOidString()},
        {CXoObjUserPolicy::Policy, target.policy.GetOidString()},
        {CXoObjUserPolicy::UserDirectory, target.directory.GetOidString()}};
    if (int32_t rc = SearchIdsWhere(target.call.Sid(), CXoObjUserPolicy(), filters, hits);
        rc != XO_OK) {
      return rc;
    }
    return FilteredRecords<CXoObjUserPolicy>(
        target.call.Sid(), hits,
        [&](const CXoObjUserPolicy& attachment) { return target.Holds(attachment); },
        [](UserEntryRecord& record, const CXoObjUserPolicy& attachment) {
          CopyToField(record.entry, attachment.GetEntry());
          CopyToField(record.entryDetail, attachment.GetEntryDetail());
          record.entryKind = attachment.GetKind();
          return XO_OK;
        },
        list);
  });
}
