// Process environment and scratch directories for tests, in one place.
#pragma once

#include <string>

namespace xo::test {

void SetEnvironment(const std::string& name, const std::string& value);
// A new empty directory in memory (/dev/shm) or the temporary directory.
std::string MakeScratchDirectory();
void RemoveDirectory(const std::string& path);
// A data file of the suites, by its path under tests/.
inline std::string TestDataPath(const std::string& relative) {
  return std::string(XO_TEST_SOURCE_DIR) + "/" + relative;
}

}  // namespace xo::test
