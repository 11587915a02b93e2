#include "frame/StringArrays.h"

#include <cstring>

#include "XoPolicyApi.h"
#include "frame/Memory.h"

namespace xo::frame {

int32_t FreeStringArray(char** array) {
  if (array == nullptr) return XO_ERR_GENERAL;
  for (char** slot = array; *slot != nullptr; ++slot) Free(*slot);
  Free(array);
  return XO_OK;
}

bool StringArray::Allocate(std::size_t count) {
  FreeStringArray(slots_);
  slots_ = static_cast<char**>(xo::frame::Allocate((count + 1) * sizeof(char*)));
  capacity_ = slots_ == nullptr ? 0 : count;
  filled_ = 0;
  return slots_ != nullptr;
}

bool StringArray::Append(const std::string& text) {
  if (filled_ >= capacity_) return false;
  auto* copy = static_cast<char*>(xo::frame::Allocate(text.size() + 1));
  if (copy == nullptr) return false;
  std::memcpy(copy, text.c_str(), text.size() + 1);
  slots_[filled_++] = copy;
  return true;
}

char** StringArray::HandOver() {
  char** array = slots_;
  slots_ = nullptr;
  capacity_ = filled_ = 0;
  return array;
}

}  // namespace xo::frame
