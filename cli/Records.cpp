#include "cli/Records.h"

#include <algorithm>

namespace xo::cli {

std::vector<std::string> TakeNames(char** names) {
  std::vector<std::string> taken;
  if (!names) return taken;
  for (char** name = names; *name; ++name) taken.emplace_back(*name);
  Xo_PolicyApi_FreeStringArray(names);
  return taken;
}

std::vector<std::string> Distinct(const std::vector<std::string>& names) {
  std::vector<std::string> distinct;
  for (const std::string& name : names) {
    if (std::find(distinct.begin(), distinct.end(), name) == distinct.end()) {
      distinct.push_back(name);
    }
  }
  return distinct;
}

}  // namespace xo::cli
