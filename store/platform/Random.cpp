#include "platform/Random.h"

namespace xo::platform {

std::string HexOf(const void* data, std::size_t size) {
  static const char kDigits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(size * 2);
  for (const unsigned char* c = static_cast<const unsigned char*>(data); size > 0; ++c, --size) {
    hex.push_back(kDigits[*c >> 4]);
    hex.push_back(kDigits[*c & 0xf]);
  }
  return hex;
}

std::string RandomHex(std::size_t bytes) {
  std::string raw(bytes, '\0');
  RandomBytes(raw.data(), bytes);
  return HexOf(raw.data(), raw.size());
}

}  // namespace xo::platform
