// The steps of a login that every way of proving who the administrator is
// shares: a handle that the caller can always log out, the store opened for
// it, and its store session.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "XoAdmSession.h"
#include "XoPolicyApi.h"

namespace xo::frame {

// Authenticates the new session; 0 when it is logged in. `message` says why
// not in words.
using Authenticate = std::function<XoAdmError(CXoAdmSession& session, std::string& message)>;

// Writes a new handle to `*handle` at once, so that a login failing later
// still leaves one for Logout; then opens the store and logs in with
// `authenticate`. XO_OK, or XO_ERR_GENERAL with `message` saying why.
int32_t LogIn(PolicyApiSession** handle, const std::string& name, const std::string& password,
              const std::string& host, const Authenticate& authenticate, std::string& message);

}  // namespace xo::frame
