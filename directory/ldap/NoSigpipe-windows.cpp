#include "ldap/NoSigpipe.h"

// Windows has no SIGPIPE: a write to a closed socket fails with an error.
namespace xo::directory::ldap {

NoSigpipe::NoSigpipe() { (void)wasBlocked_, (void)wasPending_; }

NoSigpipe::~NoSigpipe() = default;

}  // namespace xo::directory::ldap
