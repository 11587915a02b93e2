#include "platform/Random.h"

namespace xo::platform {

std::string RandomHex(std::size_t bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string raw(bytes, '\0');
  RandomBytes(raw.data(), bytes);
  std::string hex;
  hex.reserve(bytes * 2);
  for (unsigned char c : raw) {
    hex.push_back(kDigits[c >> 4]);
    hex.push_back(kDigits[c & 0xf]);
  }
  return hex;
}

}  // namespace xo::platform
