// Authenticating a directory-bound administrator by its user directory.
#pragma once

#include <cstdint>
#include <string>

#include "StoreBackend.h"

namespace xo::directory {

class SessionDirectories;

// Checks the password against the administrator's user directory, reading
// the directory (and an ODBC directory's query scheme) on the store's own
// connection, and reaching the directory on the connection that `kept`
// holds for it. kOk when the directory accepts it; the store's code when the
// directory cannot be read; kAuthFailed when the directory refuses or cannot
// answer. `message` says why.
int32_t AuthenticateByDirectory(xo::store::IStoreBackend& backend,
                                const xo::store::AdminCredentials& admin,
                                const std::string& password, SessionDirectories& kept,
                                std::string& message);

}  // namespace xo::directory
