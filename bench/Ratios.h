// The pairs of the summary table: a call and the plain SQLite floor it is set
// against. Each benchmark file registers the pairs of its own benchmarks.
#pragma once

#include <string>
#include <vector>

namespace xo::bench {

struct RatioPair {
  std::string call;
  std::string floor;
};

// Adds a pair to the table; true, so that it can initialise a static.
bool AddRatio(const std::string& call, const std::string& floor);
// In the order they were added.
const std::vector<RatioPair>& Ratios();

}  // namespace xo::bench
