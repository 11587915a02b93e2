// Renaming any object by its identifier, and commands for the policy servers.
#include <memory>
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/Clock.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/ResultCodes.h"
#include "frame/Rights.h"
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// Caller's command numbers 1 to 5 and the server command values they stand
// for; 0 for a number outside the range.
XoObjServerCommand_t ServerCommandFor(int32_t command) {
  constexpr XoObjServerCommand_t kValues[] = {1, 2, 3, 8, 9};
  if (command < 1 || command > 5) return 0;
  return kValues[command - 1];
}

}  // namespace

XO_API Xo_PolicyApi_RenameObject(PolicyApiSession* handle, const char* objectId,
                                 const char* newName) {
  return Guarded([&]() -> int32_t {
    // The identifier is looked at before the handle: a string of no known
    // class is refused whatever the handle.
    std::unique_ptr<CXoObjBase> object(CXoObjDictProp::MakeObject(CXoObjId(ArgText(objectId))));
    if (object == nullptr) return XO_ERR_GENERAL;
    Call call;
    if (int32_t rc = call.Open(handle); rc != XO_OK) return rc;

    const int32_t oidProp = object->Dict().FindByName("Oid");
    if (oidProp < 0) return XO_ERR_GENERAL;
    const int32_t fetched =
        CXoObjStore::Fetch(*object, static_cast<uint32_t>(oidProp), nullptr, call.Sid());
    if (StoreFailed(fetched)) return MapStoreResult(fetched);
    if (int32_t rc = CheckManageRight(call.Session(), object->GetDomainOid()); rc != XO_OK) {
      return rc;
    }
    // Objects without a name (links, attribute values, users of policies)
    // cannot be renamed.
    const int32_t nameProp = object->Dict().FindByName("Name");
    if (nameProp < 0) return XO_ERR_GENERAL;
    const int32_t saved = CXoObjStore::SaveProperty(
        object->GetOid(), static_cast<uint32_t>(nameProp), ArgText(newName), call.Sid());
    return StoreFailed(saved) ? MapStoreResult(saved) : XO_OK;
  });
}

XO_API Xo_PolicyApi_ManagementCommand(PolicyApiSession* handle, ManagementCommandRecord* command) {
  return Guarded([&]() -> int32_t {
    Call call;
    if (int32_t rc = call.Open(handle, {command}); rc != XO_OK) return rc;
    const std::string argument = FieldText(command->argument);
    const XoObjServerCommand_t value = ServerCommandFor(command->command);
    if (value == 0) return XO_ERR_GENERAL;
    if (int32_t rc = CheckCommandRight(call.Session(), value); rc != XO_OK) return rc;

    CXoObjServerCommand serverCommand(NowSeconds(), value, argument);
    return SaveObject(call.Sid(), serverCommand, false);
  });
}
