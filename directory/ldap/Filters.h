// The filter of the entries a listing shows, and the reading of entry kinds
// from object classes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace xo::directory::ldap {

// Every entry that Enumerate lists: people, groups and organisational units.
extern const char* const kListedEntries;

// The XoDsObjectClass of an entry with these object classes.
int32_t KindOf(const std::vector<std::string>& objectClasses);

}  // namespace xo::directory::ldap
