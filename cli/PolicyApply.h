// Carrying out a plan through the library's Add, Delete and membership
// functions. The caller wraps it in one store transaction.
#pragma once

#include <cstddef>
#include <functional>

#include "XoPolicyApi.h"
#include "cli/PolicyPlan.h"

namespace xo::cli::policy {

// Told after each change: how many are done of how many.
using Progress = std::function<void(size_t done, size_t total)>;

// Throws CommandError naming the change that failed and why.
void ApplyPlan(PolicyApiSession* handle, const Plan& plan, const Progress& progress = {});

}  // namespace xo::cli::policy
