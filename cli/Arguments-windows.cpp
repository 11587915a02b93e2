// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include "cli/Arguments.h"
#include "store/platform/WideText.h"

namespace xo::cli {

// The wide command line, not argv, which holds it in the ANSI code page.
Arguments::Arguments(int argc, char** argv) {
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide) {
    for (int i = 0; i < count; ++i) texts_.push_back(platform::Narrow(wide[i]));
    LocalFree(wide);
  } else {
    texts_.assign(argv, argv + argc);
  }
  for (std::string& text : texts_) pointers_.push_back(text.data());
  pointers_.push_back(nullptr);
}

}  // namespace xo::cli
