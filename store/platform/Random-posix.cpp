#include <sodium.h>

#include <stdexcept>

#include "platform/Random.h"

namespace xo::platform {

void RandomBytes(void* buffer, std::size_t size) {
  if (sodium_init() < 0) throw std::runtime_error("libsodium failed to initialise");
  randombytes_buf(buffer, size);
}

}  // namespace xo::platform
