// NULL-terminated arrays of strings handed to the caller, each string its own
// allocation from the library's heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace xo::frame {

// Frees the strings up to the first null slot, then the array: -1 for a null
// array, else 0.
int32_t FreeStringArray(char** array);

class StringArray {
 public:
  StringArray() = default;
  StringArray(const StringArray&) = delete;
  StringArray& operator=(const StringArray&) = delete;
  ~StringArray() { FreeStringArray(slots_); }

  // Room for `count` strings and the terminator, every slot null; false when
  // the allocation fails.
  bool Allocate(std::size_t count);
  // Copies the text into the next free slot; false when the allocation fails.
  bool Append(const std::string& text);

  // Gives the array to the caller; the slots not yet filled stay null.
  char** HandOver();

 private:
  char** slots_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t filled_ = 0;
};

}  // namespace xo::frame
