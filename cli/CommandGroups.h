// The command groups of xopolicy. Each group lives in a file of its own and
// adds its subcommands to the application; main() only lists the groups.
#pragma once

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>

namespace xo::cli {

// Process exit codes.
constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;  // the command was understood but could not be done
constexpr int kExitUsage = 2;    // the command line itself is wrong

// Thrown by a command to stop with a message for the user and an exit code.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& message, int exitCode = kExitFailure)
      : std::runtime_error(message), exitCode_(exitCode) {}
  int ExitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

// `xopolicy init`: creates a new store with its first administrator.
void RegisterInitCommand(CLI::App& app);

}  // namespace xo::cli
