#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/Paths.h"

namespace xo::platform {

std::string GetEnv(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

void SetEnv(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

namespace {

// An XDG base directory: the variable's value, else its default under $HOME.
std::string XdgDir(const char* variable, const char* underHome) {
  std::string xdg = GetEnv(variable);
  if (!xdg.empty()) return xdg;
  std::string dir = GetEnv("HOME");
  if (dir.empty()) dir = ".";
  return dir + underHome;
}

}  // namespace

std::string UserDataDir() { return XdgDir("XDG_DATA_HOME", "/.local/share"); }

std::string UserConfigDir() { return XdgDir("XDG_CONFIG_HOME", "/.config"); }

std::string AbsolutePath(const std::string& path) {
  std::error_code ec;
  const std::filesystem::path absolute = std::filesystem::weakly_canonical(path, ec);
  return ec ? path : absolute.string();
}

std::string JoinPath(const std::string& dir, const std::string& name) { return dir + "/" + name; }

bool FileExists(const std::string& path) {
  std::error_code ec;
  return std::filesystem::exists(path, ec);
}

bool MakeDirectories(const std::string& path) {
  if (path.empty()) return true;
  std::error_code ec;
  std::filesystem::create_directories(path, ec);
  return std::filesystem::is_directory(path, ec);
}

std::string ParentDirectory(const std::string& path) {
  return std::filesystem::path(path).parent_path().string();
}

}  // namespace xo::platform
