#include <io.h>
#include <windows.h>

#include <cstdio>

#include "cli/Terminal.h"

namespace xo::cli {

bool IsTerminal(Stream stream) {
  return _isatty(_fileno(stream == Stream::kInput ? stdin : stderr)) != 0;
}

EchoOff::EchoOff() {
  HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (!GetConsoleMode(input, &mode)) return;
  saved_ = mode;
  changed_ = SetConsoleMode(input, mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT)) != 0;
}

EchoOff::~EchoOff() {
  if (changed_) SetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), static_cast<DWORD>(saved_));
}

}  // namespace xo::cli
