// What the store's own records (audit trail, server commands, counts) need:
// times in ISO 8601 UTC, the kinds of objects by class, and the right to read.
#pragma once

#include <cstdint>
#include <string>

#include "cli/Connection.h"

namespace xo::cli {

// "2024-05-01T12:00:00Z".
std::string IsoTime(int64_t secondsSince1970);
// An ISO 8601 date or UTC time ("2024-05-01", "2024-05-01T12:00", with
// seconds and a final Z if wished), or a number of seconds since 1970.
// Anything else stops with a usage error naming `option`.
int64_t ParseTime(const std::string& text, const std::string& option);

// "rule", "agent group", ...: a class of the store as people call it.
std::string KindOfClass(int32_t objectClass);
std::string KindOfClassName(const std::string& className);

// The store's records cover every domain: reading them takes the system right.
void RequireSystemRight(const Connection& connection, const std::string& what);

}  // namespace xo::cli
