// A logged-in session of the tool: where the store is, who logs in, and the
// password from standard input, XO_PASSWORD or a prompt without echo; or,
// when no password is given, the session that `xopolicy login` kept.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "XoPolicyApi.h"
#include "store/StoreBackend.h"

class CXoAdmSession;
class CXoObjId;

namespace xo::cli {

struct ConnectionOptions {
  std::string storeUri;
  std::string admin;
  bool passwordFromStdin = false;
};

// Adds --store, --admin and --password-stdin to a command. What the command
// line leaves unset comes from the same options before the command.
void AddConnectionOptions(CLI::App& command, ConnectionOptions& options);

// How a command proves who its administrator is. A password given
// (--password-stdin or XO_PASSWORD) always logs in anew; otherwise a session
// that `xopolicy login` kept for the store is used, if it belongs to the
// administrator named (or none is named); else the password is asked for.
enum class Credentials { KeptOrPassword, PasswordOnly };

class Connection {
 public:
  // Logs in, or throws CommandError (kExitNoLogin) saying why in words: no
  // store there, a file that is no initialised store, a wrong name or
  // password, a kept session that has ended, or an administrator who holds
  // no rights at all.
  explicit Connection(const ConnectionOptions& options,
                      Credentials credentials = Credentials::KeptOrPassword);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  PolicyApiSession* Handle() const { return handle_; }
  const std::string& AdminName() const { return admin_; }
  CXoAdmSession& Session() const;
  // The store session behind the handle, for reading the store's own records.
  const std::string& SessionId() const;
  // Whether the administrator holds `right` (2 manage, 8 command) on `scope`.
  bool Allowed(int32_t right, int32_t argument, const CXoObjId& scope) const;

  // Groups the calls that follow into one store transaction: all of them
  // take effect at Commit, none after Rollback (or if the tool stops first).
  void Begin();
  void Commit();
  void Rollback();

 private:
  // Logs out again, with the reason, when the administrator holds no right.
  void RequireSomeRight(const store::StoreLocation& where);

  PolicyApiSession* handle_ = nullptr;
  std::string admin_;
  bool inTransaction_ = false;
};

}  // namespace xo::cli
