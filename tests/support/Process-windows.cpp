#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <stdexcept>

#include "platform/WideText.h"
#include "support/Process.h"

namespace xo::test {
namespace {

using platform::Narrow;
using platform::Widen;

// The exit status of a process ended by KillThisProcess: what a shell
// reports for a process killed by SIGKILL.
constexpr UINT kKilledStatus = 137;

// One argument as the C runtime of the child splits its command line.
std::wstring Quoted(const std::wstring& arg) {
  if (!arg.empty() && arg.find_first_of(L" \t\n\v\"") == std::wstring::npos) return arg;
  std::wstring quoted = L"\"";
  for (size_t i = 0;; ++i) {
    size_t backslashes = 0;
    for (; i < arg.size() && arg[i] == L'\\'; ++i) ++backslashes;
    if (i == arg.size()) {
      quoted.append(backslashes * 2, L'\\');
      break;
    }
    if (arg[i] == L'"') {
      quoted.append(backslashes * 2 + 1, L'\\');
    } else {
      quoted.append(backslashes, L'\\');
    }
    quoted += arg[i];
  }
  return quoted + L"\"";
}

std::wstring Upper(std::wstring text) {
  for (wchar_t& c : text) c = static_cast<wchar_t>(std::towupper(c));
  return text;
}

// This process's environment with the changes, as a sorted block of
// NAME=VALUE texts that ends with an empty one. Names are compared without
// regard to case, as Windows does.
std::wstring EnvironmentBlock(const EnvChanges& env) {
  std::vector<std::wstring> entries;
  if (wchar_t* block = GetEnvironmentStringsW()) {
    for (const wchar_t* entry = block; *entry; entry += wcslen(entry) + 1) {
      const std::wstring text = entry;
      const std::wstring name = Upper(text.substr(0, text.find(L'=', 1)));
      const bool changed = std::any_of(env.begin(), env.end(), [&](const auto& change) {
        return Upper(Widen(change.first)) == name;
      });
      if (!changed) entries.push_back(text);
    }
    FreeEnvironmentStringsW(block);
  }
  for (const auto& [name, value] : env) {
    if (value) entries.push_back(Widen(name + "=" + *value));
  }
  std::sort(entries.begin(), entries.end(),
            [](const std::wstring& a, const std::wstring& b) { return Upper(a) < Upper(b); });
  std::wstring block;
  for (const std::wstring& entry : entries) block += entry + L'\0';
  return block + L'\0';
}

// A temporary file the child can inherit, gone when the last handle closes.
HANDLE TemporaryFile() {
  wchar_t dir[MAX_PATH];
  wchar_t path[MAX_PATH];
  GetTempPathW(MAX_PATH, dir);
  GetTempFileNameW(dir, L"xo", 0, path);
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE file = CreateFileW(
      path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      &inherit, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file == INVALID_HANDLE_VALUE) throw std::runtime_error("cannot make a temporary file");
  return file;
}

// What the child wrote, read as text: its line ends "\r\n" read as "\n".
std::string ReadText(HANDLE file) {
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  std::string bytes;
  char buffer[4096];
  DWORD read = 0;
  while (ReadFile(file, buffer, sizeof buffer, &read, nullptr) && read > 0) {
    bytes.append(buffer, read);
  }
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (!(bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n')) text += bytes[i];
  }
  return text;
}

}  // namespace

struct ChildProcess::State {
  PROCESS_INFORMATION process{};
  HANDLE files[3] = {nullptr, nullptr, nullptr};
  bool waited = false;
  ProcessOutcome outcome;
};

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args,
                           const EnvChanges& env, const std::string& input)
    : state_(std::make_unique<State>()) {
  std::wstring commandLine = Quoted(Widen(program));
  for (const std::string& arg : args) commandLine += L" " + Quoted(Widen(arg));
  std::wstring environment = EnvironmentBlock(env);
  for (HANDLE& file : state_->files) file = TemporaryFile();
  DWORD written = 0;
  WriteFile(state_->files[0], input.data(), static_cast<DWORD>(input.size()), &written, nullptr);
  SetFilePointer(state_->files[0], 0, nullptr, FILE_BEGIN);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = state_->files[0];
  startup.hStdOutput = state_->files[1];
  startup.hStdError = state_->files[2];
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                      CREATE_UNICODE_ENVIRONMENT | CREATE_NO_WINDOW, environment.data(), nullptr,
                      &startup, &state_->process)) {
    for (HANDLE file : state_->files) CloseHandle(file);
    throw std::runtime_error("cannot run " + program);
  }
}

ChildProcess::~ChildProcess() { Wait(); }

ProcessOutcome ChildProcess::Wait() {
  if (state_->waited) return state_->outcome;
  state_->waited = true;
  WaitForSingleObject(state_->process.hProcess, INFINITE);
  DWORD status = 0;
  GetExitCodeProcess(state_->process.hProcess, &status);
  CloseHandle(state_->process.hProcess);
  CloseHandle(state_->process.hThread);
  ProcessOutcome& run = state_->outcome;
  run.exit = static_cast<int>(status);
  run.killed = status == kKilledStatus;
  run.out = ReadText(state_->files[1]);
  run.err = ReadText(state_->files[2]);
  for (HANDLE file : state_->files) CloseHandle(file);
  return run;
}

std::string ThisProgram() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) return Narrow(path.substr(0, length));
    path.resize(path.size() * 2);
  }
}

void KillThisProcess() {
  TerminateProcess(GetCurrentProcess(), kKilledStatus);
  ExitProcess(kKilledStatus);
}

}  // namespace xo::test
