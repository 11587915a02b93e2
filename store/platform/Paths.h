// File locations and environment lookups.
#pragma once

#include <string>

namespace xo::platform {
// The value of an environment variable, or "" when unset.
std::string GetEnv(const char* name);
// The per-user data directory ($XDG_DATA_HOME, else ~/.local/share).
std::string UserDataDir();
bool FileExists(const std::string& path);
// Creates the directory and its parents; true when it exists afterwards.
bool MakeDirectories(const std::string& path);
std::string ParentDirectory(const std::string& path);
}  // namespace xo::platform
