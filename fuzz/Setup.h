// The objects a run starts from, made through the API itself, so that the
// random calls reach links, groups and members from the first call on.
#pragma once

#include "Driver.h"

namespace xo::fuzz {

// Fails the run (through the driver) when a step is refused.
void BuildStartingObjects(Driver& d);
// The same for one domain from the pool (and now and then the objects
// outside domains again), taking whatever each step gives: deletions do not
// keep the deeper paths out of reach for long.
int32_t Rebuild(Driver& d);

}  // namespace xo::fuzz
