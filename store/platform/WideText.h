// UTF-8 inside the library, UTF-16 where Windows wants its wide texts.
#pragma once

#ifdef _WIN32
#include <string>

namespace xo::platform {
std::wstring Widen(const std::string& utf8);
std::string Narrow(const std::wstring& wide);
}  // namespace xo::platform
#endif
