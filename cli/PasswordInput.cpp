#include "cli/PasswordInput.h"

namespace xo::cli {

std::string ReadPasswordLine(std::istream& in) {
  std::string line;
  if (!std::getline(in, line)) return "";
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

}  // namespace xo::cli
