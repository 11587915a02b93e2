#include "ldap/Filters.h"

#include <cctype>

#include "XoDsDir.h"

namespace xo::directory::ldap {
namespace {

struct ClassKind {
  const char* objectClass;
  int32_t kind;
};

// Classes of the usual schemas (core, cosine, inetorgperson, nis) and of
// Active Directory.
constexpr ClassKind kKinds[] = {
    {"person", XoDs_User},
    {"organizationalPerson", XoDs_User},
    {"inetOrgPerson", XoDs_User},
    {"posixAccount", XoDs_User},
    {"account", XoDs_User},
    {"user", XoDs_User},
    {"groupOfNames", XoDs_UserGroup},
    {"groupOfUniqueNames", XoDs_UserGroup},
    {"posixGroup", XoDs_UserGroup},
    {"group", XoDs_UserGroup},
    {"organizationalUnit", XoDs_Organization},
    {"organization", XoDs_Organization},
};

bool SameIgnoringCase(const std::string& a, const char* b) {
  size_t i = 0;
  for (; i < a.size() && b[i] != '\0'; ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return i == a.size() && b[i] == '\0';
}

}  // namespace

const char* const kListedEntries =
    "(|(objectClass=person)(objectClass=posixAccount)(objectClass=account)(objectClass=user)"
    "(objectClass=groupOfNames)(objectClass=groupOfUniqueNames)(objectClass=posixGroup)"
    "(objectClass=group)(objectClass=organizationalUnit)(objectClass=organization))";

int32_t KindOf(const std::vector<std::string>& objectClasses) {
  // An entry of several kinds takes the first in the table's order.
  for (const ClassKind& entry : kKinds) {
    for (const std::string& objectClass : objectClasses) {
      if (SameIgnoringCase(objectClass, entry.objectClass)) return entry.kind;
    }
  }
  return XoDs_Unknown;
}

}  // namespace xo::directory::ldap
