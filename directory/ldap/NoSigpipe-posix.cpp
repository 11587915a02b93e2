#include <pthread.h>
#include <signal.h>

#include <ctime>

#include "ldap/NoSigpipe.h"

namespace xo::directory::ldap {
namespace {

sigset_t Sigpipe() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  return set;
}

bool Pending() {
  sigset_t pending;
  return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

NoSigpipe::NoSigpipe() {
  const sigset_t pipe = Sigpipe();
  sigset_t before;
  if (pthread_sigmask(SIG_BLOCK, &pipe, &before) == 0) {
    wasBlocked_ = sigismember(&before, SIGPIPE) == 1;
  } else {
    wasBlocked_ = true;  // nothing changed, so nothing to restore
  }
  wasPending_ = Pending();
}

NoSigpipe::~NoSigpipe() {
  const sigset_t pipe = Sigpipe();
  if (!wasPending_ && Pending()) {
    const timespec now{0, 0};
    sigtimedwait(&pipe, nullptr, &now);
  }
  if (!wasBlocked_) pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
}

}  // namespace xo::directory::ldap
