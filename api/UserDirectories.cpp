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
#include "frame/Saving.h"
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

// The record's texts beside the directory properties that keep them.
struct TextSlot {
  TextField UserDirRecord::*field;
  uint32_t prop;
};
constexpr TextSlot kTextSlots[] = {
    {&UserDirRecord::name, Dir::Name},
    {&UserDirRecord::description, Dir::Description},
    {&UserDirRecord::directoryType, Dir::DirectoryType},
    {&UserDirRecord::string1, Dir::String1},
    {&UserDirRecord::string2, Dir::String2},
    {&UserDirRecord::string3, Dir::String3},
    {&UserDirRecord::string4, Dir::String4},
    {&UserDirRecord::string5, Dir::String5},
    {&UserDirRecord::string6, Dir::String6},
    {&UserDirRecord::string7, Dir::String7},
    {&UserDirRecord::string8, Dir::String8},
    {&UserDirRecord::string9, Dir::String9},
    {&UserDirRecord::string10, Dir::String10},
    {&UserDirRecord::string11, Dir::String11},
    {&UserDirRecord::string12, Dir::String12},
    {&UserDirRecord::string13, Dir::String13},
};

// Everything but the query scheme's name, which needs the store.
void FillRecord(UserDirRecord& r, const Dir& dir) {
  CopyToField(r.objectId, dir.GetOid().GetOidString());
  for (const TextSlot& slot : kTextSlots) CopyToField(r.*slot.field, dir.Text(slot.prop));
  r.int1 = dir.Int(Dir::Int1);
  r.int2 = dir.Int(Dir::Int2);
  r.int3 = dir.Int(Dir::Int3);
  r.flag1 = dir.Flag(Dir::Flag1) ? 1 : 0;
  r.flag2 = dir.Flag(Dir::Flag2) ? 1 : 0;
}

bool NamesQueryScheme(const CXoObjId& queryScheme) {
  return queryScheme.GetOidString() != NullObjectId.GetOidString();
}

// The handle check, MANAGE on RootObjectId and the domain resolved.
int32_t OpenDomain(Call& call, const PolicyApiSession* handle, const void* names,
                   const std::string& domainName, CXoObjId& domainId) {
  if (int32_t rc = call.OpenSystem(handle, {names}); rc != XO_OK) return rc;
  return ResolveDomain(call.Session(), domainName, domainId);
}

int32_t FetchDomain(const Call& call, const CXoObjId& domainId, CXoObjDomain& domain) {
  domain = CXoObjDomain(domainId);
  const int32_t fetched = CXoObjStore::Fetch(domain, 0, nullptr, call.Sid());
  return StoreFailed(fetched) ? MapStoreResult(fetched) : XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_CreateUserDir(PolicyApiSession* handle, UserDirRecord* userDir,
                                  uint8_t update) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {userDir}); rc != XO_OK) return rc;

    CXoObjId queryScheme;
    if (FieldText(userDir->directoryType) == kOdbcDirectoryType) {
      if (int32_t rc =
              ResolveOdbcQuery(call.Session(), FieldText(userDir->querySchemeName), queryScheme);
          rc != XO_OK) {
        return rc;
      }
    }
    Dir object = FromRecord(*userDir, queryScheme);
    if (update != 0) AdoptStoredOid(call.Session(), ResolveUserDirectory, object);
    return SaveObject(call.Sid(), object, update != 0);
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
    if (int32_t rc = call.OpenSystem(handle, {list}); rc != XO_OK) return rc;
    return RecordsByName(
        call.Sid(), Dir(), ArgText(userDirName),
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
    return ChangeDomainMember(handle, ArgText(userDirName), ArgText(domainName),
                              ResolveUserDirectory, CXoObjDomain::UserDirectories,
                              MemberChange::Add);
  });
}

XO_API Xo_PolicyApi_RemoveUserDirFromDomain(PolicyApiSession* handle, const char* userDirName,
                                            const char* domainName) {
  return Guarded([&] {
    return ChangeDomainMember(handle, ArgText(userDirName), ArgText(domainName),
                              ResolveUserDirectory, CXoObjDomain::UserDirectories,
                              MemberChange::Remove);
  });
}

XO_API Xo_PolicyApi_GetUserDirSearchOrder(PolicyApiSession* handle, const char* domainName,
                                          char*** names) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjId domainId;
    CXoObjDomain domain;
    if (int32_t rc = OpenDomain(call, handle, names, ArgText(domainName), domainId); rc != XO_OK) {
      return rc;
    }
    if (int32_t rc = FetchDomain(call, domainId, domain); rc != XO_OK) return rc;
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
    CXoObjId domainId;
    if (int32_t rc = OpenDomain(call, handle, names, ArgText(domainName), domainId); rc != XO_OK) {
      return rc;
    }
    // The domain is written back whole: read it under the write lock, so
    // that its other list is written as it is now.
    return call.Serialised([&]() -> int32_t {
      CXoObjDomain domain;
      if (int32_t rc = FetchDomain(call, domainId, domain); rc != XO_OK) return rc;
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
      return SaveObject(call.Sid(), domain, true);
    });
  });
}
