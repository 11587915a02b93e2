// Several administrators at work on one store at once: processes, each with
// threads of its own, each thread with its own handle, changing the same
// lists (an agent group's members, a domain's administrators and user
// directories) and adding rules to the same realm. Every call's answer is
// kept, so that the store can afterwards be held against what was
// acknowledged. Used by the tests and by the benchmarks; nothing here uses
// GoogleTest.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace xo::test {

struct MixPlan {
  int processes = 2;
  int threads = 4;
  int membersPerWorker = 6;  // of each list, and rules
};

struct MixNames {
  static constexpr const char* kDomain = "shared";
  static constexpr const char* kRealm = "shared-realm";
  static constexpr const char* kGroup = "crowd";
};

// What the calls answered, and what the store must hold because of it.
struct MixOutcome {
  int calls = 0;
  int acknowledged = 0;
  int busy = 0;  // answered with the store's busy code (-107)
  // Calls that answered anything else: "AddToGroup agent-0-1-2 -> -1".
  std::vector<std::string> unexpected;
  // What the acknowledged calls leave in each list: "group" (the agent
  // group's members), "admin" and "directory" (the domain's lists), "rule".
  std::map<std::string, std::set<std::string>> lists;
  double seconds = 0;

  void Add(const MixOutcome& other);
};

// A new store at `path` (cheap password hashing), with the shared domain,
// realm and group, and every worker's agents, administrators and user
// directories. Leaves XO_POLICY_STORE naming it. Throws std::runtime_error.
void PrepareMixStore(const std::string& path, const MixPlan& plan);

// Runs the plan: `processes` child processes of this one, each running
// `threads` workers. The calling process must not have the store open.
// Throws std::runtime_error when a process cannot be started or fails.
MixOutcome RunMix(const std::string& path, const MixPlan& plan);

// The lists as the store holds them now, read through the library.
MixOutcome ReadMixStore(const std::string& path);

}  // namespace xo::test
