// Runs the built xopolicy binary the way a user's shell would: with chosen
// arguments, environment and standard input, capturing what it prints.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace xo::test {

struct CliResult {
  int exitCode = -1;  // 128 + signal number when the tool was killed
  std::string out;
  std::string err;
};

// Environment changes for one run: a value sets the variable, nullopt removes it.
using EnvChanges = std::map<std::string, std::optional<std::string>>;

// Runs $XO_CLI with `args`, feeding `input` to its standard input.
CliResult RunCli(const std::vector<std::string>& args, const EnvChanges& env = {},
                 const std::string& input = "");

// A fresh directory removed with everything in it at the end of its scope.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::string& Path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Sets an environment variable of this process until the end of its scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> previous_;
};

}  // namespace xo::test
