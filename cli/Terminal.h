// The terminal the tool talks to, where there is one.
#pragma once

namespace xo::cli {

enum class Stream { kInput, kError };

bool IsTerminal(Stream stream);

// While it lives, what is typed on the terminal is not shown.
class EchoOff {
 public:
  EchoOff();
  ~EchoOff();
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  unsigned long saved_ = 0;
  bool changed_ = false;
};

}  // namespace xo::cli
