#include "ldap/FilterValue.h"

namespace xo::directory::ldap {

// As RFC 4515 asks, and as OpenLDAP does: the filter's own characters, NUL
// and every byte outside ASCII as \xx.
std::string EscapeFilterValue(const std::string& value) {
  static const char kDigits[] = "0123456789abcdef";
  std::string escaped;
  for (unsigned char c : value) {
    if (c == '*' || c == '(' || c == ')' || c == '\\' || c == 0 || c >= 0x80) {
      escaped += '\\';
      escaped += kDigits[c >> 4];
      escaped += kDigits[c & 0xf];
    } else {
      escaped += static_cast<char>(c);
    }
  }
  return escaped;
}

}  // namespace xo::directory::ldap
