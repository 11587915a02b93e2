// Random stores for round-trip tests: a seed chooses a few dozen objects of
// every kind, and they are made through the API as a system administrator.
// Names are drawn from small pools shared between kinds, so that they often
// collide across scopes: the same rule name in several realms, a realm named
// like its domain, a rule group named like a rule, an agent group like an
// agent.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "XoPolicyApi.h"

namespace xo::test {

// Fills the store behind `handle` with objects chosen by `seed`; the same
// seed makes the same calls. Policy users come from an ODBC user directory
// reading the database of an OdbcUsers fixture through `odbcConnection`.
// Returns the calls made, one line each. Throws std::runtime_error naming the
// call when the library refuses one.
std::vector<std::string> BuildRandomStore(PolicyApiSession* handle, uint32_t seed,
                                          const std::string& odbcConnection);

}  // namespace xo::test
