#include "Ratios.h"

namespace xo::bench {
namespace {

std::vector<RatioPair>& Pairs() {
  static std::vector<RatioPair> pairs;
  return pairs;
}

}  // namespace

bool AddRatio(const std::string& call, const std::string& floor) {
  Pairs().push_back({call, floor});
  return true;
}

const std::vector<RatioPair>& Ratios() { return Pairs(); }

}  // namespace xo::bench
