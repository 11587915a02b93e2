// Other processes for tests: the tool, and this test program run again.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace xo::test {

// Changes to the environment a child starts with: a value sets, nullopt unsets.
using EnvChanges = std::map<std::string, std::optional<std::string>>;

struct ProcessOutcome {
  int exit = 0;         // the exit status, or 128 + the signal for a killed process
  bool killed = false;  // ended by KillThisProcess (or a signal)
  std::string out, err;
};

// A program started with `args` (without the program itself), this process's
// environment changed by `env`, and `input` on its standard input; its
// output and errors are kept until Wait.
class ChildProcess {
 public:
  ChildProcess(const std::string& program, const std::vector<std::string>& args,
               const EnvChanges& env = {}, const std::string& input = "");
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  ProcessOutcome Wait();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The path of the running test program.
std::string ThisProgram();
// Ends this process at once, with no clean-up, as a crash or a kill would.
[[noreturn]] void KillThisProcess();

}  // namespace xo::test
