// The exported functions as the fuzz driver calls them: each entry draws its
// inputs, makes the call, checks what the call hands out and frees it.
#pragma once

#include <cstdint>
#include <vector>

#include "Driver.h"

namespace xo::fuzz {

struct Call {
  const char* name;
  int weight;  // how often it is drawn, relative to the others
  int32_t (*run)(Driver&);
};

// Every exported function at least once.
const std::vector<Call>& Calls();

}  // namespace xo::fuzz
