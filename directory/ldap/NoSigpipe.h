// Calls into the LDAP library that must not end the process with SIGPIPE.
#pragma once

namespace xo::directory::ldap {

// While it lives, SIGPIPE is blocked in the calling thread; a SIGPIPE that
// arrived meanwhile is then taken off the thread and dropped.
//
// The LDAP library writes to its sockets without MSG_NOSIGNAL, and its TLS
// layer still writes a closing alert after the server went away, so a
// server that closes its connection (or dies) while a request is written
// would otherwise end the calling process. Ignoring SIGPIPE process-wide
// would change every other socket and pipe of the process that uses the
// library; the thread's signal mask changes nothing else. A SIGPIPE that was
// already pending, or that the thread had blocked itself, is left as it was.
class NoSigpipe {
 public:
  NoSigpipe();
  ~NoSigpipe();
  NoSigpipe(const NoSigpipe&) = delete;
  NoSigpipe& operator=(const NoSigpipe&) = delete;

 private:
  bool wasBlocked_ = false;
  bool wasPending_ = false;
};

}  // namespace xo::directory::ldap
