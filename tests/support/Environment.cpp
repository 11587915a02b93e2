#include "support/Environment.h"

#include <cstdlib>
#include <filesystem>
#include <random>
#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace xo::test {

void SetEnvironment(const std::string& name, const std::string& value) {
#if defined(_WIN32)
  _putenv_s(name.c_str(), value.c_str());
#else
  setenv(name.c_str(), value.c_str(), 1);
#endif
}

// In memory where the machine offers it: the suites make hundreds of small
// stores, and every change of each is synced.
namespace {
std::filesystem::path ScratchRoot() {
#if !defined(_WIN32)
  std::error_code error;
  if (std::filesystem::is_directory("/dev/shm", error) && access("/dev/shm", W_OK) == 0) {
    return "/dev/shm";
  }
#endif
  return std::filesystem::temp_directory_path();
}
}  // namespace

std::string MakeScratchDirectory() {
  std::random_device random;
  for (;;) {
    auto path =
        ScratchRoot() / ("xo-api-test-" + std::to_string(random()) + std::to_string(random()));
    if (std::filesystem::create_directory(path)) return path.string();
  }
}

void RemoveDirectory(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

}  // namespace xo::test
