#include "CliRunner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "support/Environment.h"

extern char** environ;

namespace xo::test {
namespace {

// An anonymous temporary file, gone when closed.
class TempFile {
 public:
  TempFile() : file_(std::tmpfile()) {
    if (!file_) throw std::runtime_error("cannot create a temporary file");
  }
  ~TempFile() { std::fclose(file_); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  int Fd() const { return fileno(file_); }
  void Write(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), file_);
    std::fflush(file_);
    std::rewind(file_);
  }
  std::string ReadAll() {
    std::string text;
    std::rewind(file_);
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) text.append(buffer, n);
    return text;
  }

 private:
  std::FILE* file_;
};

std::vector<std::string> ChildEnvironment(const EnvChanges& changes) {
  std::vector<std::string> env;
  for (char** entry = environ; *entry; ++entry) {
    std::string text = *entry;
    std::string name = text.substr(0, text.find('='));
    if (changes.count(name) == 0) env.push_back(text);
  }
  for (const auto& [name, value] : changes) {
    if (value) env.push_back(name + "=" + *value);
  }
  return env;
}

std::vector<char*> PointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

CliResult RunCli(const std::vector<std::string>& args, const EnvChanges& env,
                 const std::string& input) {
  const char* binary = std::getenv("XO_CLI");
  if (!binary || !*binary) throw std::runtime_error("XO_CLI does not name the xopolicy binary");

  std::vector<std::string> argv{binary};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<std::string> envp = ChildEnvironment(env);
  std::vector<char*> argvPointers = PointersTo(argv);
  std::vector<char*> envpPointers = PointersTo(envp);

  TempFile in, out, err;
  in.Write(input);
  std::fflush(nullptr);
  pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    dup2(in.Fd(), STDIN_FILENO);
    dup2(out.Fd(), STDOUT_FILENO);
    dup2(err.Fd(), STDERR_FILENO);
    execve(binary, argvPointers.data(), envpPointers.data());
    _exit(127);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error("waitpid failed");
  }

  CliResult result;
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = out.ReadAll();
  result.err = err.ReadAll();
  return result;
}

ScratchDir::ScratchDir() : path_(MakeScratchDirectory()) {}

ScratchDir::~ScratchDir() { RemoveDirectory(path_); }

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : name_(name) {
  if (const char* old = std::getenv(name)) previous_ = old;
  setenv(name, value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
  if (previous_) {
    setenv(name_.c_str(), previous_->c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}

}  // namespace xo::test
