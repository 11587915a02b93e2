// The system clock.
#pragma once

#include <cstdint>

namespace xo::platform {
// Seconds since 1970.
int64_t NowSeconds();
}  // namespace xo::platform
