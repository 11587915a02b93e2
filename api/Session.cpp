// Login and Logout: the life of a session handle.
#include <string>

#include "XoAdmSession.h"
#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Handles.h"
#include "frame/Login.h"
#include "frame/Memory.h"

using namespace xo::frame;

namespace {

// Frees what the record owns, forgets the handle and retires its memory. The store is
// released when this handle's Login had opened it.
void DestroyHandle(PolicyApiSession* handle) {
  if (UnregisterHandle(handle)) CXoObjStore::Release();
  handle->magic = 0;
  Delete(handle->storeMessage);
  Delete(handle->session);
  RetireHandle(handle);
}

}  // namespace

XO_API Xo_PolicyApi_Login(PolicyApiSession** handle, void* flag, const char* adminName,
                          const char* password, const char* host, const char* /*unused*/,
                          int32_t /*reserved*/) {
  return Guarded([&]() -> int32_t {
    const std::string name = ArgText(adminName);
    const std::string secret = ArgText(password);
    const std::string remoteHost = ArgText(host);
    // The session's own error message is not handed on: a failed login is -1.
    std::string loginMessage;
    return LogIn(
        handle, name, secret, remoteHost,
        [&](CXoAdmSession& session, std::string& message) {
          return session.Login(message, flag != nullptr);
        },
        loginMessage);
  });
}

XO_API Xo_PolicyApi_Logout(PolicyApiSession* handle) {
  return Guarded([&]() -> int32_t {
    if (!IsLiveHandle(handle) || handle->magic != kSessionMagic) return XO_ERR_BAD_HANDLE;
    // A handle whose Login could not create a session has nothing to log out;
    // it is still freed so that it does not leak.
    if (handle->session == nullptr) {
      DestroyHandle(handle);
      return XO_ERR_GENERAL;
    }
    if (handle->session->Logout() != 0) return XO_ERR_GENERAL;
    DestroyHandle(handle);
    return XO_OK;
  });
}
