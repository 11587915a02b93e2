// The system clock, in one place.
#pragma once

#include <cstdint>

namespace xo::frame {

// Seconds since 1970.
int32_t NowSeconds();

}  // namespace xo::frame
