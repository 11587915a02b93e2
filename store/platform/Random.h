// Random bytes from the system's cryptographic source.
#pragma once

#include <cstddef>
#include <string>

namespace xo::platform {
void RandomBytes(void* buffer, std::size_t size);
// The bytes as lowercase hex.
std::string HexOf(const void* data, std::size_t size);
// `bytes` random bytes as lowercase hex.
std::string RandomHex(std::size_t bytes);
}  // namespace xo::platform
