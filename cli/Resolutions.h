// The resolutions an entry is attached to a policy with (how it is matched
// with users), by the names the tool gives the library's values.
#pragma once

#include <string>
#include <vector>

#include "XoPolicyApi.h"

namespace xo::cli {

// Indexed by Xo_PolicyResolution_t.
inline const std::vector<std::string>& ResolutionNames() {
  static const std::vector<std::string> names{"default",      "user",         "group",
                                              "nested-group", "organization", "filter"};
  return names;
}

// The value a name stands for; false for a name that is none of them.
inline bool ResolutionNamed(const std::string& name, int32_t& value) {
  const std::vector<std::string>& names = ResolutionNames();
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i] == name) {
      value = static_cast<int32_t>(i);
      return true;
    }
  }
  return false;
}

}  // namespace xo::cli
