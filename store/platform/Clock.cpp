#include "platform/Clock.h"

#include <chrono>

namespace xo::platform {

int64_t NowSeconds() {
  using namespace std::chrono;
  return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace xo::platform
