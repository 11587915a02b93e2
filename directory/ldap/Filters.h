// LDAP filter texts and the reading of entry kinds from object classes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace xo::directory::ldap {

// Every entry that Enumerate lists: people, groups and organisational units.
extern const char* const kListedEntries;

// A value escaped for use inside a filter, so that a name cannot change the
// filter's meaning.
std::string EscapeFilterValue(const std::string& value);

// The XoDsObjectClass of an entry with these object classes.
int32_t KindOf(const std::vector<std::string>& objectClasses);

}  // namespace xo::directory::ldap
