#include "frame/Memory.h"

#include <atomic>
#include <cstdlib>

namespace xo::frame {

namespace {
std::atomic<int> allocationsUntilFailure{0};
std::atomic<bool> failureHappened{false};

bool InjectedFailure() {
  int remaining = allocationsUntilFailure.load();
  while (remaining > 0) {
    if (allocationsUntilFailure.compare_exchange_weak(remaining, remaining - 1)) {
      if (remaining != 1) return false;
      failureHappened.store(true);
      return true;
    }
  }
  return false;
}
}  // namespace

void* Allocate(std::size_t bytes) {
  if (InjectedFailure()) return nullptr;
  return std::calloc(1, bytes == 0 ? 1 : bytes);
}

void Free(void* memory) { std::free(memory); }

void FailAllocationAt(int k) {
  failureHappened.store(false);
  allocationsUntilFailure.store(k > 0 ? k : 0);
}

bool AllocationFailureHappened() { return failureHappened.load(); }

}  // namespace xo::frame
