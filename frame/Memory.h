// The one heap behind everything the library hands out or keeps for a
// session. Returned records and strings must come from here, because the
// release functions free into it.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

#if defined(_WIN32)
#define XO_FRAME_TEST_HOOK
#else
#define XO_FRAME_TEST_HOOK __attribute__((visibility("default")))
#endif

namespace xo::frame {

// Zero-filled memory, or null when the allocation fails.
void* Allocate(std::size_t bytes);
void Free(void* memory);

// Test hook: the k-th allocation from now on fails (k >= 1); 0 turns it off.
XO_FRAME_TEST_HOOK void FailAllocationAt(int k);
// Test hook: whether the failure last asked for has happened.
XO_FRAME_TEST_HOOK bool AllocationFailureHappened();

// An object constructed in memory from Allocate; null when that fails.
// Exceptions of the constructor propagate after the memory is freed.
template <class T, class... Args>
T* New(Args&&... args) {
  void* memory = Allocate(sizeof(T));
  if (memory == nullptr) return nullptr;
  try {
    return new (memory) T(std::forward<Args>(args)...);
  } catch (...) {
    Free(memory);
    throw;
  }
}

template <class T>
void Delete(T* object) {
  if (object == nullptr) return;
  object->~T();
  Free(object);
}

}  // namespace xo::frame
