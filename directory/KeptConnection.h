// A provider's connection to its server, opened on first use and kept for
// the provider's later operations, so that a session that reaches one
// directory again and again pays for the connection (and, for LDAP, the
// bind) once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace xo::directory {

// How many connections to directory servers this process has opened, and
// how many of them are kept open now; tests read them to tell a reused
// connection from a new one, and to see that none is left behind.
uint32_t ConnectionsOpened();
uint32_t ConnectionsKept();
void CountConnection(bool opened);

// `Connection` reports through Broken() that an operation on it failed; it
// is then dropped, and the next operation opens a new one. Lost() tells
// that the failure was the connection's own: its server closed it, or can
// no longer be reached.
template <class Connection>
class KeptConnection {
 public:
  // Runs `operation` (Connection&, error) -> bool on the kept connection,
  // opening one through `open` (error) -> unique_ptr<Connection> when none
  // is kept. A kept connection may have been closed by its server since it
  // was last used (a restart): when it is lost, the operation is tried once
  // more on a new connection. Other failures (a timeout, a query the
  // database refuses) are not tried again, so that a call never waits
  // twice for a server that hangs.
  template <class Open, class Operation>
  bool Use(Open&& open, Operation&& operation, std::string& error) {
    const bool reused = connection_ != nullptr;
    bool lost = false;
    if (Attempt(open, operation, lost, error)) return true;
    return reused && lost && Attempt(open, operation, lost, error);
  }

  KeptConnection() = default;
  ~KeptConnection() { Close(); }
  KeptConnection(const KeptConnection&) = delete;
  KeptConnection& operator=(const KeptConnection&) = delete;

 private:
  void Close() {
    if (!connection_) return;
    connection_.reset();
    CountConnection(false);
  }

  template <class Open, class Operation>
  bool Attempt(Open& open, Operation& operation, bool& lost, std::string& error) {
    if (!connection_) {
      connection_ = open(error);
      if (!connection_) return false;
      CountConnection(true);
    }
    const bool done = operation(*connection_, error);
    lost = connection_->Lost();
    if (connection_->Broken()) Close();
    return done;
  }

  std::unique_ptr<Connection> connection_;
};

}  // namespace xo::directory
