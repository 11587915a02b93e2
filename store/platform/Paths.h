// File locations and environment lookups. Texts are UTF-8 on every platform.
#pragma once

#include <string>

namespace xo::platform {
// The value of an environment variable, or "" when unset.
std::string GetEnv(const char* name);
// Sets an environment variable of this process.
void SetEnv(const char* name, const std::string& value);
// The per-user data directory: $XDG_DATA_HOME, else ~/.local/share; on
// Windows %LOCALAPPDATA%.
std::string UserDataDir();
// The per-user configuration directory: $XDG_CONFIG_HOME, else ~/.config; on
// Windows %LOCALAPPDATA%.
std::string UserConfigDir();
// The path made absolute, with "." and ".." and symbolic links of the part
// that exists resolved; the path itself when that fails.
std::string AbsolutePath(const std::string& path);
// `dir` and `name` joined with the platform's separator.
std::string JoinPath(const std::string& dir, const std::string& name);
bool FileExists(const std::string& path);
// Creates the directory and its parents; true when it exists afterwards.
bool MakeDirectories(const std::string& path);
std::string ParentDirectory(const std::string& path);
}  // namespace xo::platform
