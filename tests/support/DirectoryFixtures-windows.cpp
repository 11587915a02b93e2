// The Windows tests run under wine: the users database is reached through
// wine's ODBC driver manager, which hands the connection to the build
// machine's unixODBC and its SQLite driver; slapd, a program of the build
// machine, is not started from here.
#include <windows.h>

#include <stdexcept>

#include "platform/WideText.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {

bool LdapFixtureAvailable() { return false; }

std::string DriverPath(const std::string& path) {
  using UnixName = char*(__cdecl*)(const wchar_t*);
  const auto unixName = reinterpret_cast<UnixName>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
  if (!unixName) return path;  // Windows itself: its own ODBC driver reads Windows paths
  char* name = unixName(platform::Widen(path).c_str());
  if (!name) return path;
  std::string converted = name;
  HeapFree(GetProcessHeap(), 0, name);
  return converted;
}

LdapServer::LdapServer(int, LdapTls) {
  throw std::runtime_error("the Windows tests have no LDAP server");
}

LdapServer::~LdapServer() = default;

void LdapServer::Freeze() {}

void LdapServer::Kill() {}

void LdapServer::Restart() {}

int ClosedPort() { throw std::runtime_error("the Windows tests have no LDAP server"); }

}  // namespace xo::test
