// Random stores for round-trip tests: the catalog's store, then a walk of
// plausible calls from a seed (support/RandomArgs.h). Names come from small
// pools shared between kinds, so that they often collide across scopes: the
// same rule name in several realms, a realm named like a domain, a rule
// group named like a rule, an agent group like an agent, realm and rule
// names that read the same when joined by a slash.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "XoPolicyApi.h"

namespace xo::test {

// The catalog's directories of users and their query scheme as they are
// now, to be made again as they were after calls that may have changed them.
class KeptDirectories {
 public:
  explicit KeptDirectories(PolicyApiSession* handle);
  int32_t MakeAgain(PolicyApiSession* handle) const;

 private:
  OdbcQuerySchemeRecord queries_{};
  std::vector<UserDirRecord> directories_;
};

// Makes `calls` calls of the catalog on the catalog's store behind `handle`,
// mostly adds; the same seed makes the same calls. The directories of
// users and their query scheme are then made again as they were, so that the
// policy users read from them can be made again from an export. Returns each call's
// name and result, one line each.
std::vector<std::string> WalkRandomly(PolicyApiSession* handle, uint32_t seed, long calls);

}  // namespace xo::test
