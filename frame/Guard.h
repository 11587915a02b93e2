// Nothing thrown inside the library crosses the C interface.
#pragma once

#include <cstdint>

#include "XoPolicyApi.h"

namespace xo::frame {

// Runs the body of an exported function; any exception (an allocation the
// standard library could not make, above all) becomes -1.
template <class Body>
int32_t Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return XO_ERR_GENERAL;
  }
}

}  // namespace xo::frame
