#include "cli/Records.h"

#include <set>

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
  std::set<std::string> seen;
  for (const std::string& name : names) {
    if (seen.insert(name).second) distinct.push_back(name);
  }
  return distinct;
}

}  // namespace xo::cli
