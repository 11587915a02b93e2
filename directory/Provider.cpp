#include "Provider.h"

#include <charconv>

#include "ldap/LdapProvider.h"
#include "odbc/OdbcProvider.h"

namespace xo::directory {

bool ParseInteger(const std::string& text, int32_t& value) {
  const char* end = text.data() + text.size();
  int32_t parsed = 0;
  auto [stop, failure] = std::from_chars(text.data(), end, parsed);
  // "12x" is not 12: the caller's value stays as it was.
  if (failure != std::errc() || stop != end || text.empty()) return false;
  value = parsed;
  return true;
}

std::unique_ptr<Provider> MakeProvider(const Settings& settings, const CXoObjODBCQuery* queries,
                                       std::string& error) {
  error = CheckSettings(settings);
  if (!error.empty()) return nullptr;
  switch (settings.Type()) {
    case DirectoryType::Ldap:
      return std::make_unique<ldap::LdapProvider>(settings);
    case DirectoryType::Odbc:
      if (!queries) {
        error = "the ODBC directory names no query scheme";
        return nullptr;
      }
      return std::make_unique<odbc::OdbcProvider>(settings, *queries);
    case DirectoryType::Unknown:
      break;
  }
  error = "no provider serves directory type '" + settings.type + "'";
  return nullptr;
}

}  // namespace xo::directory
