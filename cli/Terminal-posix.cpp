#include <termios.h>
#include <unistd.h>

#include "cli/Terminal.h"

namespace xo::cli {

bool IsTerminal(Stream stream) {
  return isatty(stream == Stream::kInput ? STDIN_FILENO : STDERR_FILENO) != 0;
}

EchoOff::EchoOff() {
  termios settings{};
  if (tcgetattr(STDIN_FILENO, &settings) != 0) return;
  saved_ = settings.c_lflag;
  settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  changed_ = tcsetattr(STDIN_FILENO, TCSANOW, &settings) == 0;
}

EchoOff::~EchoOff() {
  termios settings{};
  if (!changed_ || tcgetattr(STDIN_FILENO, &settings) != 0) return;
  settings.c_lflag = static_cast<tcflag_t>(saved_);
  tcsetattr(STDIN_FILENO, TCSANOW, &settings);
}

}  // namespace xo::cli
