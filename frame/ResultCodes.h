// The library's result codes and the mapping of store results onto them.
#pragma once

#include <cstdint>

#include "XoPolicyApi.h"

namespace xo::frame {

// The API code for a store result: 0x00010000 gives 0, the listed failures
// their codes, and anything else -1. Callers map only negative results.
int32_t MapStoreResult(int32_t storeResult);

inline bool StoreFailed(int32_t storeResult) { return storeResult < 0; }

}  // namespace xo::frame
