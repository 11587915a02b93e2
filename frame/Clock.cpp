#include "frame/Clock.h"

#include <chrono>

namespace xo::frame {

int32_t NowSeconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<int32_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

}  // namespace xo::frame
