#include "support/Environment.h"

#include <cstdlib>
#include <filesystem>
#include <random>

namespace xo::test {

void SetEnvironment(const std::string& name, const std::string& value) {
#if defined(_WIN32)
  _putenv_s(name.c_str(), value.c_str());
#else
  setenv(name.c_str(), value.c_str(), 1);
#endif
}

std::string MakeScratchDirectory() {
  std::random_device random;
  for (;;) {
    auto path = std::filesystem::temp_directory_path() /
                ("xo-api-test-" + std::to_string(random()) + std::to_string(random()));
    if (std::filesystem::create_directory(path)) return path.string();
  }
}

void RemoveDirectory(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

}  // namespace xo::test
