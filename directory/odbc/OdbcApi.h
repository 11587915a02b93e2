// The ODBC API: unixODBC here, the system's driver manager on Windows, whose
// headers need the Windows types first.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>
