// User directories and a domain's directory search order. Directories are
// system-level objects; a domain refers to them through its ordered list of
// directories (property 4), which is its search order. Every function here,
// also those that change a domain's list, asks for MANAGE on RootObjectId.
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
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/StringArrays.h"

using namespace xo::frame;

namespace {

// Only this exact type names its query scheme; "odbc:" or "ODBC: " do not.
constexpr const char* kOdbcDirectoryType = "ODBC:";

using Dir = CXoObjUserDirectory;

Dir FromRecord(const UserDirRecord& r, const CXoObjId& queryScheme) {
  return Dir(FieldText(r.name), FieldText(r.description), FieldText(r.directoryType),
             FieldText(r.string1), FieldText(r.string2), FieldText(r.string3), FieldText(r.string4),
             FieldText(r.string5), FieldText(r.string6), r.int1, r.int2, r.int3, r.flag1 != 0,
             r.flag2 != 0, FieldText(r.string7), FieldText(r.string8), queryScheme,
             FieldText(r.string9), FieldText(r.string10), FieldText(r.string11),
             FieldText(r.string12), FieldText(r.string13));
}

// Everything but the query scheme's name, which needs the store.
void FillRecord(UserDirRecord& r, const Dir& dir) {
  CopyToField(r.objectId, dir.GetOid().GetOidString());
  CopyToField(r.name, dir.GetName());
  CopyToField(r.description, dir.GetDescription());
  CopyToField(r.directoryType, dir.GetDirectoryType());
  CopyToField(r.string1, dir.Text(Dir::String1));
  CopyToField(r.string2, dir.Text(Dir::String2));
  CopyToField(r.string3, dir.Text(Dir::String3));
  CopyToField(r.string4, dir.Text(Dir::String4));
  CopyToField(r.string5, dir.Text(Dir::String5));
  CopyToField(r.string6, dir.Text(Dir::String6));
  r.int1 = dir.Int(Dir::Int1);
  r.int2 = dir.Int(Dir::Int2);
  r.int3 = dir.Int(Dir::Int3);
  r.flag1 = dir.Flag(Dir::Flag1) ? 1 : 0;
  r.flag2 = dir.Flag(Dir::Flag2) ? 1 : 0;
  CopyToField(r.string7, dir.Text(Dir::String7));
  CopyToField(r.string8, dir.Text(Dir::String8));
  CopyToField(r.string9, dir.Text(Dir::String9));
  CopyToField(r.string10, dir.Text(Dir::String10));
  CopyToField(r.string11, dir.Text(Dir::String11));
  CopyToField(r.string12, dir.Text(Dir::String12));
  CopyToField(r.string13, dir.Text(Dir::String13));
}

bool NamesQueryScheme(const CXoObjId& queryScheme) {
  return queryScheme.GetOidString() != NullObjectId.GetOidString();
}

// The handle check, MANAGE on RootObjectId and the domain fetched whole.
int32_t OpenDomain(Call& call, const PolicyApiSession* handle, const void* names,
                   const std::string& domainName, CXoObjDomain& domain) {
  if (int32_t rc = call.Open(handle, {names}); rc != XO_OK) return rc;
  if (int32_t rc = call.AllowSystem(); rc != XO_OK) return rc;
  CXoObjId domainId;
  if (int32_t rc = ResolveDomain(call.Session(), domainName, domainId); rc != XO_OK) return rc;
  domain = CXoObjDomain(domainId);
  const int32_t fetched = CXoObjStore::Fetch(domain, 0, nullptr, call.Sid());
  return StoreFailed(fetched) ? MapStoreResult(fetched) : XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_CreateUserDir(PolicyApiSession* handle, UserDirRecord* userDir,
                                  uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {userDir}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowSystem(); rc != XO_OK) return rc;

    CXoObjId queryScheme;
    if (FieldText(userDir->directoryType) == kOdbcDirectoryType) {
      if (int32_t rc =
              ResolveOdbcQuery(call.Session(), FieldText(userDir->querySchemeName), queryScheme);
          rc != XO_OK) {
        return rc;
      }
    }
    Dir object = FromRecord(*userDir, queryScheme);
    if (update != 0) {
      // A name no single directory has makes a new directory.
      CXoObjId stored;
      if (ResolveUserDirectory(call.Session(), object.GetName(), stored) == XO_OK) {
        object.SetOid(stored);
      }
    }
    const int32_t saved = CXoObjStore::Save(object, update != 0, call.Sid());
    return StoreFailed(saved) ? MapStoreResult(saved) : XO_OK;
  });
}

XO_API Xo_PolicyApi_DeleteUserDir(PolicyApiSession* handle, const char* userDirName) {
  return Guarded([&] {
    Dir templ;
    return DeleteByName(handle, ArgText(userDirName), "", Dir::Name, templ, RightsScope::System);
  });
}

XO_API Xo_PolicyApi_GetUserDir(PolicyApiSession* handle, const char* userDirName,
                               UserDirRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {list}); rc != XO_OK) return rc;
    if (int32_t rc = call.AllowSystem(); rc != XO_OK) return rc;

    CXoObjIdArray hits;
    const int32_t found =
        CXoObjStore::Search(Dir(), hits, Dir::Name, ArgText(userDirName), call.Sid());
    if (StoreFailed(found)) return MapStoreResult(found);
    return FetchedRecords<Dir>(
        call.Sid(), hits,
        [&](UserDirRecord& record, const Dir& dir) -> int32_t {
          FillRecord(record, dir);
          if (!NamesQueryScheme(dir.GetQuerySchemeOid())) return XO_OK;
          std::string schemeName;
          if (int32_t rc = OdbcQueryName(call.Session(), dir.GetQuerySchemeOid(), schemeName);
              rc != XO_OK) {
            return rc;
          }
          CopyToField(record.querySchemeName, schemeName);
          return XO_OK;
        },
        list);
  });
}

XO_API Xo_PolicyApi_AddUserDirToDomain(PolicyApiSession* handle, const char* userDirName,
                                       const char* domainName) {
  return Guarded([&] {
    return AddDomainMember(handle, ArgText(userDirName), ArgText(domainName), ResolveUserDirectory,
                           CXoObjDomain::UserDirectories);
  });
}

XO_API Xo_PolicyApi_RemoveUserDirFromDomain(PolicyApiSession* handle, const char* userDirName,
                                            const char* domainName) {
  return Guarded([&] {
    return RemoveDomainMember(handle, ArgText(userDirName), ArgText(domainName),
                              ResolveUserDirectory, CXoObjDomain::UserDirectories);
  });
}

XO_API Xo_PolicyApi_GetUserDirSearchOrder(PolicyApiSession* handle, const char* domainName,
                                          char*** names) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjDomain domain;
    if (int32_t rc = OpenDomain(call, handle, names, ArgText(domainName), domain); rc != XO_OK) {
      return rc;
    }
    const CXoObjIdArray& order = domain.GetUserDirectories();
    StringArray array;
    if (!array.Allocate(order.size())) return XO_ERR_GENERAL;
    for (const CXoObjId& id : order) {
      std::string name;
      if (int32_t rc = UserDirectoryName(call.Session(), id, name); rc != XO_OK) return rc;
      if (!array.Append(name)) return XO_ERR_GENERAL;
    }
    *names = array.HandOver();
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_SetUserDirSearchOrder(PolicyApiSession* handle, const char* domainName,
                                          char** names) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjDomain domain;
    if (int32_t rc = OpenDomain(call, handle, names, ArgText(domainName), domain); rc != XO_OK) {
      return rc;
    }
    // Only the length must match: the new list replaces the old one whole,
    // whatever directories the two hold. Counting stops one past the list's
    // length, which is already too many.
    const std::size_t length = domain.GetUserDirectories().size();
    std::size_t count = 0;
    while (count <= length && names[count] != nullptr) ++count;
    if (count != length) return XO_ERR_SEARCH_ORDER_COUNT;

    CXoObjIdArray order(count);
    for (std::size_t i = 0; i < count; ++i) {
      if (int32_t rc = ResolveUserDirectory(call.Session(), ArgText(names[i]), order[i]);
          rc != XO_OK) {
        return rc;
      }
    }
    domain.SetUserDirectories(order);
    const int32_t saved = CXoObjStore::Save(domain, true, call.Sid());
    return StoreFailed(saved) ? MapStoreResult(saved) : XO_OK;
  });
}
