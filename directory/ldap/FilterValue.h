// Values placed inside LDAP search filters.
#pragma once

#include <string>

namespace xo::directory::ldap {

// The value with every character that has a meaning in a filter ('*', '(',
// ')', '\', NUL, and bytes above 0x7F) escaped by the LDAP library, so that
// a name can only ever be matched as itself.
std::string EscapeFilterValue(const std::string& value);

}  // namespace xo::directory::ldap
