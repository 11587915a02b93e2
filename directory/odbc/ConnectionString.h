// What an ODBC connection string of a user directory may name. Creating a
// directory must not load code of its author's choosing into the process
// that uses it: only drivers and data sources registered with the driver
// manager are used, never a driver named by its file.
#pragma once

#include <string>

namespace xo::directory::odbc {

// True when the string names its driver or data source only by name; false,
// with `error` saying why, when a DRIVER value is a file path or the string
// names a file DSN (FILEDSN, SAVEFILE), which may name a driver file in turn.
bool UsesRegisteredDriversOnly(const std::string& connectionString, std::string& error);

}  // namespace xo::directory::odbc
