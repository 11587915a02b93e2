#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <stdexcept>

#include "support/Process.h"

extern char** environ;

namespace xo::test {

struct ChildProcess::State {
  pid_t pid = -1;
  std::FILE* files[3] = {nullptr, nullptr, nullptr};
  bool waited = false;
  ProcessOutcome outcome;
};

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args,
                           const EnvChanges& env, const std::string& input)
    : state_(std::make_unique<State>()) {
  // The arguments, then the environment, each list ended by a null pointer.
  std::vector<std::string> texts{program};
  texts.insert(texts.end(), args.begin(), args.end());
  const size_t argc = texts.size();
  for (char** entry = environ; *entry; ++entry) {
    const std::string text = *entry;
    if (env.count(text.substr(0, text.find('='))) == 0) texts.push_back(text);
  }
  for (const auto& [name, value] : env) {
    if (value) texts.push_back(name + "=" + *value);
  }
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.insert(pointers.begin() + static_cast<std::ptrdiff_t>(argc), nullptr);
  pointers.push_back(nullptr);

  for (std::FILE*& file : state_->files) file = std::tmpfile();
  std::fputs(input.c_str(), state_->files[0]);
  std::rewind(state_->files[0]);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int fd = 0; fd < 3; ++fd) {
    posix_spawn_file_actions_adddup2(&actions, fileno(state_->files[fd]), fd);
  }
  const int spawned = posix_spawn(&state_->pid, program.c_str(), &actions, nullptr, pointers.data(),
                                  pointers.data() + argc + 1);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) {
    for (std::FILE* file : state_->files) std::fclose(file);
    throw std::runtime_error("cannot run " + program);
  }
}

ChildProcess::~ChildProcess() { Wait(); }

ProcessOutcome ChildProcess::Wait() {
  if (state_->waited) return state_->outcome;
  state_->waited = true;
  int status = 0;
  while (waitpid(state_->pid, &status, 0) < 0 && errno == EINTR) {
  }
  ProcessOutcome& run = state_->outcome;
  run.killed = WIFSIGNALED(status);
  run.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  for (auto [file, text] :
       {std::pair{state_->files[1], &run.out}, std::pair{state_->files[2], &run.err}}) {
    std::rewind(file);
    for (int c; (c = std::fgetc(file)) != EOF;) text->push_back(static_cast<char>(c));
  }
  for (std::FILE* file : state_->files) std::fclose(file);
  return run;
}

std::string ThisProgram() { return "/proc/self/exe"; }

void KillThisProcess() {
  kill(getpid(), SIGKILL);
  _exit(137);
}

}  // namespace xo::test
