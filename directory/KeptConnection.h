// A provider's connection to its server, opened on first use and kept for
// the provider's later operations, so that a session that reaches one
// directory again and again pays for the connection (and, for LDAP, the
// bind) once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace xo::directory {

// How many connections to directory servers this process has opened; tests
// read it to tell a reused connection from a new one.
uint64_t ConnectionsOpened();
void CountConnectionOpened();

// `Connection` reports through Broken() that an operation on it failed; it
// is then dropped, and the next operation opens a new one.
template <class Connection>
class KeptConnection {
 public:
  // Runs `operation` (Connection&, error) -> bool on the kept connection,
  // opening one through `open` (error) -> unique_ptr<Connection> when none
  // is kept. A kept connection that fails may have been closed by its
  // server since it was last used (a restart): the operation is tried once
  // more on a new connection.
  template <class Open, class Operation>
  bool Use(Open&& open, Operation&& operation, std::string& error) {
    const bool reused = connection_ != nullptr;
    if (Attempt(open, operation, error)) return true;
    return reused && !connection_ && Attempt(open, operation, error);
  }

  void Drop() { connection_.reset(); }

 private:
  template <class Open, class Operation>
  bool Attempt(Open& open, Operation& operation, std::string& error) {
    if (!connection_) {
      connection_ = open(error);
      if (!connection_) return false;
      CountConnectionOpened();
    }
    const bool done = operation(*connection_, error);
    if (connection_->Broken()) connection_.reset();
    return done;
  }

  std::unique_ptr<Connection> connection_;
};

}  // namespace xo::directory
