// Administrators and the domains they manage. Administrators live outside
// domains: every function here asks for MANAGE on RootObjectId, also when a
// domain's administrator list (domain property 10) is changed.
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/DeleteByName.h"
#include "frame/DomainMembers.h"
#include "frame/FetchedRecords.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Names.h"
#include "frame/Properties.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"

using namespace xo::frame;

namespace {

// An administrator authenticated by a user directory names both the
// directory and the scheme used with it. With only one of the two named,
// neither is kept and the administrator is not bound to a directory.
struct DirectoryBinding {
  CXoObjId directory;
  CXoObjId scheme;
  bool bound = false;
};

int32_t ResolveBinding(const CXoAdmSession& s, const AdminRecord& record,
                       DirectoryBinding& binding) {
  const std::string directoryName = FieldText(record.userDirName);
  const std::string schemeName = FieldText(record.schemeName);
  if (directoryName.empty() || schemeName.empty()) return XO_OK;
  if (int32_t rc = ResolveUserDirectory(s, directoryName, binding.directory); rc != XO_OK) {
    return rc;
  }
  if (int32_t rc = ResolveScheme(s, schemeName, binding.scheme); rc != XO_OK) return rc;
  binding.bound = true;
  return XO_OK;
}

// An update replaces the stored administrator of the same name and keeps the
// domains it manages. Its domain list is read even when the name did not
// resolve; a list the store reports absent is empty.
int32_t TakeOverStoredAdmin(const Call& call, CXoObjAdmin& admin) {
  CXoObjId stored;
  if (ResolveAdmin(call.Session(), admin.GetName(), stored) == XO_OK) admin.SetOid(stored);
  CXoObjIdArray domains;
  if (int32_t rc =
          FetchIdList(call.Sid(), admin, CXoObjAdmin::Domains, domains, AbsentList::IsEmpty);
      rc != XO_OK) {
    return rc;
  }
  admin.SetDomains(domains);
  return XO_OK;
}

bool IsEmptyId(const CXoObjId& id) { return id.GetOidString() == NullObjectId.GetOidString(); }

int32_t FillRecord(const CXoAdmSession& s, AdminRecord& record, const CXoObjAdmin& admin) {
  CopyToField(record.objectId, admin.GetOid().GetOidString());
  CopyToField(record.name, admin.GetName());
  CopyToField(record.description, admin.GetDescription());
  CopyToField(record.adminText, admin.GetAdminText());
  record.adminFlags = admin.GetFlags();
  std::string name;
  if (!IsEmptyId(admin.GetUserDirectoryOid())) {
    if (int32_t rc = UserDirectoryName(s, admin.GetUserDirectoryOid(), name); rc != XO_OK) {
      return rc;
    }
    CopyToField(record.userDirName, name);
  }
  if (!IsEmptyId(admin.GetSchemeOid())) {
    if (int32_t rc = SchemeName(s, admin.GetSchemeOid(), name); rc != XO_OK) return rc;
    CopyToField(record.schemeName, name);
  }
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_AddAdmin(PolicyApiSession* handle, AdminRecord* admin, uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {admin}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowSystem(); rc != XO_OK) return rc;
    DirectoryBinding binding;
    if (int32_t rc = ResolveBinding(call.Session(), *admin, binding); rc != XO_OK) return rc;

    CXoObjAdmin object(FieldText(admin->name), FieldText(admin->description),
                       FieldText(admin->adminText), binding.directory, binding.scheme,
                       binding.bound, {}, admin->adminFlags);
    if (update != 0) {
      if (int32_t rc = TakeOverStoredAdmin(call, object); rc != XO_OK) return rc;
    }
    const int32_t saved = CXoObjStore::Save(object, update != 0, call.Sid());
    if (StoreFailed(saved)) return MapStoreResult(saved);
    CopyToField(admin->objectId, object.GetOid().GetOidString());
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_DeleteAdmin(PolicyApiSession* handle, const char* adminName) {
  return Guarded([&] {
    CXoObjAdmin templ;
    return DeleteByName(handle, ArgText(adminName), "", CXoObjAdmin::Name, templ,
                        RightsScope::System);
  });
}

XO_API Xo_PolicyApi_GetAdmin(PolicyApiSession* handle, const char* adminName, AdminRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {list}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowSystem(); rc != XO_OK) return rc;

    CXoObjIdArray hits;
    const int32_t found =
        CXoObjStore::Search(CXoObjAdmin(), hits, CXoObjAdmin::Name, ArgText(adminName), call.Sid());
    if (StoreFailed(found)) return MapStoreResult(found);
    return FetchedRecords<CXoObjAdmin>(
        call.Sid(), hits,
        [&](AdminRecord& record, const CXoObjAdmin& object) {
          return FillRecord(call.Session(), record, object);
        },
        list);
  });
}

XO_API Xo_PolicyApi_AddAdminToDomain(PolicyApiSession* handle, const char* adminName,
                                     const char* domainName) {
  return Guarded([&] {
    return AddDomainMember(handle, ArgText(adminName), ArgText(domainName), ResolveAdmin,
                           CXoObjDomain::Admins);
  });
}

XO_API Xo_PolicyApi_RemoveAdminFromDomain(PolicyApiSession* handle, const char* adminName,
                                          const char* domainName) {
  return Guarded([&] {
    return RemoveDomainMember(handle, ArgText(adminName), ArgText(domainName), ResolveAdmin,
                              CXoObjDomain::Admins);
  });
}
