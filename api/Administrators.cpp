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
#include "frame/Saving.h"

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
  AdoptStoredOid(call.Session(), ResolveAdmin, admin);
  return KeepStoredIdList(call.Sid(), admin, CXoObjAdmin::Domains);
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
    if (int32_t rc = call.OpenSystem(handle, {admin}); rc != XO_OK) return rc;
    DirectoryBinding binding;
    if (int32_t rc = ResolveBinding(call.Session(), *admin, binding); rc != XO_OK) return rc;

    CXoObjAdmin object(FieldText(admin->name), FieldText(admin->description),
                       FieldText(admin->adminText), binding.directory, binding.scheme,
                       binding.bound, {}, admin->adminFlags);
    return SaveTakingOver(call, object, update != 0, &admin->objectId,
                          [&] { return TakeOverStoredAdmin(call, object); });
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
    if (int32_t rc = call.OpenSystem(handle, {list}); rc != XO_OK) return rc;
    return RecordsByName(
        call.Sid(), CXoObjAdmin(), ArgText(adminName),
        [&](AdminRecord& record, const CXoObjAdmin& object) {
          return FillRecord(call.Session(), record, object);
        },
        list);
  });
}

XO_API Xo_PolicyApi_AddAdminToDomain(PolicyApiSession* handle, const char* adminName,
                                     const char* domainName) {
  return Guarded([&] {
    return ChangeDomainMember(handle, ArgText(adminName), ArgText(domainName), ResolveAdmin,
                              CXoObjDomain::Admins, MemberChange::Add);
  });
}

XO_API Xo_PolicyApi_RemoveAdminFromDomain(PolicyApiSession* handle, const char* adminName,
                                          const char* domainName) {
  return Guarded([&] {
    return ChangeDomainMember(handle, ArgText(adminName), ArgText(domainName), ResolveAdmin,
                              CXoObjDomain::Admins, MemberChange::Remove);
  });
}
