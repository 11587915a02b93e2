#include "frame/Login.h"

#include "XoObjStore.h"
#include "frame/Handles.h"
#include "frame/Memory.h"

namespace xo::frame {

int32_t LogIn(PolicyApiSession** handle, const std::string& name, const std::string& password,
              const std::string& host, const Authenticate& authenticate, std::string& message) {
  if (handle == nullptr) return XO_ERR_GENERAL;
  auto* record = static_cast<PolicyApiSession*>(Allocate(sizeof(PolicyApiSession)));
  *handle = record;
  if (record == nullptr) return XO_ERR_GENERAL;
  record->magic = kSessionMagic;
  try {
    RegisterHandle(record);
  } catch (...) {
    *handle = nullptr;
    Free(record);
    throw;
  }

  record->storeMessage = New<std::string>();
  if (record->storeMessage == nullptr) return XO_ERR_GENERAL;
  if (!CXoObjStore::Init(*record->storeMessage, false, false, false, false, false, false, true)) {
    message = *record->storeMessage;
    return XO_ERR_GENERAL;
  }
  MarkStoreOpened(record);

  record->session = New<CXoAdmSession>(name, password, host, std::string(), host, true);
  if (record->session == nullptr) return XO_ERR_GENERAL;
  return authenticate(*record->session, message) == 0 ? XO_OK : XO_ERR_GENERAL;
}

}  // namespace xo::frame
