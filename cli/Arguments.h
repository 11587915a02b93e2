// The command line as UTF-8, whatever the system hands the program.
#pragma once

#include <string>
#include <vector>

namespace xo::cli {

class Arguments {
 public:
  Arguments(int argc, char** argv);
  int Count() const { return static_cast<int>(texts_.size()); }
  char** Values() { return pointers_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> pointers_;
};

}  // namespace xo::cli
