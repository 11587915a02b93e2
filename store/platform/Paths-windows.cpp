#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/Paths.h"
#include "platform/WideText.h"

namespace xo::platform {
namespace {

std::filesystem::path PathOf(const std::string& utf8) { return Widen(utf8); }

}  // namespace

std::wstring Widen(const std::string& utf8) {
  if (utf8.empty()) return {};
  const int size = static_cast<int>(utf8.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
  std::wstring wide(static_cast<size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), length);
  return wide;
}

std::string Narrow(const std::wstring& wide) {
  if (wide.empty()) return {};
  const int size = static_cast<int>(wide.size());
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, utf8.data(), length, nullptr, nullptr);
  return utf8;
}

std::string GetEnv(const char* name) {
  const wchar_t* value = _wgetenv(Widen(name).c_str());
  return value ? Narrow(value) : "";
}

void SetEnv(const char* name, const std::string& value) {
  _wputenv_s(Widen(name).c_str(), Widen(value).c_str());
}

std::string UserDataDir() {
  std::string local = GetEnv("LOCALAPPDATA");
  if (!local.empty()) return local;
  std::string profile = GetEnv("USERPROFILE");
  if (!profile.empty()) return JoinPath(JoinPath(profile, "AppData"), "Local");
  return ".";
}

std::string UserConfigDir() { return UserDataDir(); }

std::string AbsolutePath(const std::string& path) {
  std::error_code ec;
  const std::filesystem::path absolute = std::filesystem::weakly_canonical(PathOf(path), ec);
  return ec ? path : Narrow(absolute.native());
}

std::string JoinPath(const std::string& dir, const std::string& name) {
  if (dir.empty() || dir.back() == '\\' || dir.back() == '/') return dir + name;
  return dir + "\\" + name;
}

bool FileExists(const std::string& path) {
  std::error_code ec;
  return std::filesystem::exists(PathOf(path), ec);
}

bool MakeDirectories(const std::string& path) {
  if (path.empty()) return true;
  std::error_code ec;
  std::filesystem::create_directories(PathOf(path), ec);
  return std::filesystem::is_directory(PathOf(path), ec);
}

std::string ParentDirectory(const std::string& path) {
  return Narrow(PathOf(path).parent_path().native());
}

}  // namespace xo::platform
