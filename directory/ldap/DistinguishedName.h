// Distinguished names as the LDAP library parses them, compared the way
// directories compare names.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace xo::directory::ldap {

class Dn {
 public:
  // False when the text, all of it, is not a distinguished name. The empty
  // text is the root of the tree, with no RDNs.
  static bool Parse(const std::string& text, Dn& dn);

  // The same entry: every RDN the same, attribute types and values compared
  // without regard to case or to repeated and surrounding blanks.
  bool operator==(const Dn& other) const { return rdns_ == other.rdns_; }
  // This entry is `root` itself or lies anywhere below it.
  bool IsUnder(const Dn& root) const;

 private:
  // Each RDN's attribute-type and value pairs, sorted; the entry's own RDN
  // first.
  using Rdn = std::vector<std::pair<std::string, std::string>>;
  std::vector<Rdn> rdns_;
};

}  // namespace xo::directory::ldap
