// The process-wide open store: opened by the first Init, closed by the last
// Release.
#pragma once

#include <memory>
#include <string>

#include "StoreBackend.h"

namespace xo::store {

// Opens the backend for `where`, applying the test wrapper if one is set.
// Returns null with a message when the store is missing or unusable.
std::unique_ptr<IStoreBackend> OpenBackend(const StoreLocation& where, std::string& message);

}  // namespace xo::store
