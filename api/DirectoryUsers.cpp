// What a user directory holds, and the state of its users: listing its
// entries, disabling users, setting passwords and asking the policy servers
// to forget what they cached about a user.
#include <string>
#include <vector>

#include "XoAdmUserDirectory.h"
#include "XoDsDir.h"
#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/Clock.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Records.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// The server command that drops a user's cached state: command 0, with
// subcommand 4, for the argument "<directory id>/<user>".
constexpr XoObjServerCommand_t kFlushCommand = 0;
constexpr XoObjServerCommand_t kFlushUserSubcommand = 4;

// The user-state calls leave the rights to the directory's administration
// object, which asks them of the session itself. Whatever it reports as a
// failure is -1; its message is not handed on.
template <class Operation>
int32_t OnDirectoryUsers(const PolicyApiSession* handle, const char* userDirName,
                         std::initializer_list<const void*> required, Operation&& operation) {
  Call call;
  if (int32_t rc = call.Open(handle, required); rc != XO_OK) return rc;
  CXoObjId directory;
  if (int32_t rc = ResolveUserDirectory(call.Session(), ArgText(userDirName), directory);
      rc != XO_OK) {
    return rc;
  }
  CXoAdmUserDirectory users(directory);
  std::string message;
  return operation(users, message, call.Session()) == 0 ? XO_OK : XO_ERR_GENERAL;
}

}  // namespace

XO_API Xo_PolicyApi_GetDirectoryContents(PolicyApiSession* handle, const char* userDirName,
                                         UserEntryRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.OpenSystem(handle, {list}); rc != XO_OK) return rc;
    CXoObjId directoryId;
    if (int32_t rc = ResolveUserDirectory(call.Session(), ArgText(userDirName), directoryId);
        rc != XO_OK) {
      return rc;
    }
    CXoObjUserDirectory directory(directoryId);
    const int32_t fetched = CXoObjStore::Fetch(directory, 0, nullptr, call.Sid());
    if (StoreFailed(fetched)) return MapStoreResult(fetched);

    // A directory that cannot be read lists as an empty one.
    std::vector<std::string> entries;
    std::vector<std::string> details;
    if (!CXoDsDir(directory, call.Session()).Enumerate(entries, details)) {
      *list = nullptr;
      return XO_OK;
    }
    RecordList<UserEntryRecord> records;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      UserEntryRecord* record = records.Append();
      if (record == nullptr) return XO_ERR_GENERAL;
      CopyToField(record->entry, entries[i]);
      if (i < details.size()) CopyToField(record->entryDetail, details[i]);
    }
    records.HandOver(list);
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_SetDisableUserState(PolicyApiSession* handle, const char* userDirName,
                                        const char* user, Xo_Api_DisabledReason_t reason,
                                        void* /*reserved*/) {
  return Guarded([&] {
    return OnDirectoryUsers(
        handle, userDirName, {},
        [&](CXoAdmUserDirectory& users, std::string& message, const CXoAdmSession& session) {
          return users.SetDisabled(ArgText(user), reason, message, session);
        });
  });
}

XO_API Xo_PolicyApi_GetDisableUserState(PolicyApiSession* handle, const char* userDirName,
                                        const char* user, Xo_Api_DisabledReason_t* reason,
                                        void* /*reserved*/) {
  return Guarded([&] {
    return OnDirectoryUsers(
        handle, userDirName, {reason},
        [&](CXoAdmUserDirectory& users, std::string& message, const CXoAdmSession& session) {
          XoDisabledReason found = Xo_Api_NotDisabled;
          const XoAdmError rc = users.GetDisabled(ArgText(user), found, message, session);
          if (rc == 0) *reason = static_cast<Xo_Api_DisabledReason_t>(found);
          return rc;
        });
  });
}

XO_API Xo_PolicyApi_SetPassword(PolicyApiSession* handle, const char* userDirName, const char* user,
                                const char* newPassword, void* /*reserved*/) {
  return Guarded([&] {
    return OnDirectoryUsers(
        handle, userDirName, {},
        [&](CXoAdmUserDirectory& users, std::string& message, const CXoAdmSession& session) {
          return users.SetPassword(ArgText(user), ArgText(newPassword), message, session);
        });
  });
}

XO_API Xo_PolicyApi_FlushUser(PolicyApiSession* handle, const char* userDirName, const char* user) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle); rc != XO_OK) return rc;
    CXoObjId directory;
    if (int32_t rc = ResolveUserDirectory(call.Session(), ArgText(userDirName), directory);
        rc != XO_OK) {
      return rc;
    }
    std::string message;
    if (CXoAdmUserDirectory(directory).IsAllowedOnUser(call.Session(), ArgText(user), message) !=
        0) {
      return XO_ERR_GENERAL;
    }
    // The user need not exist: the servers forget whatever they hold for it.
    CXoObjServerCommand command(NowSeconds(), kFlushCommand, kFlushUserSubcommand,
                                directory.GetOidString() + "/" + ArgText(user));
    return SaveObject(call.Sid(), command, false);
  });
}
