// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include <stdexcept>

#include "platform/Random.h"

namespace xo::platform {

void RandomBytes(void* buffer, std::size_t size) {
  if (BCryptGenRandom(nullptr, static_cast<PUCHAR>(buffer), static_cast<ULONG>(size),
                      BCRYPT_USE_SYSTEM_PREFERRED_RNG) != 0) {
    throw std::runtime_error("the system's random number generator failed");
  }
}

}  // namespace xo::platform
