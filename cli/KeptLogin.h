// The file in which `xopolicy login` keeps a session for the commands that
// follow: one file per store, in the user's configuration directory
// ($XDG_CONFIG_HOME/xo-policy, else ~/.config/xo-policy; on Windows
// %LOCALAPPDATA%\xo-policy), readable by the user alone. It names the store
// it belongs to, so that its token is never shown to another store.
#pragma once

#include <optional>
#include <string>

#include "store/StoreBackend.h"

namespace xo::cli {

struct KeptLogin {
  std::string store;  // StoreKey of the store that gave it
  std::string admin;
  std::string token;
};

// The store as kept sessions name it: an SQLite file by its absolute path, a
// PostgreSQL database by its URI without a password.
std::string StoreKey(const store::StoreLocation& where);

// Where the session for the store is kept.
std::string KeptLoginFile(const store::StoreLocation& where);

// The kept login for the store, if there is one. A file that is unsafe to
// read, or that names another store, stops the command (kExitNoLogin).
std::optional<KeptLogin> ReadKeptLogin(const store::StoreLocation& where);
void WriteKeptLogin(const store::StoreLocation& where, const KeptLogin& login);
void ForgetKeptLogin(const store::StoreLocation& where);

}  // namespace xo::cli
