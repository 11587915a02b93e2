#include <ldap.h>

#include <algorithm>
#include <cctype>

#include "ldap/DistinguishedName.h"

namespace xo::directory::ldap {
namespace {

std::string Lower(const berval& text) {
  std::string lower(text.bv_val, text.bv_len);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

// A string value as directories match names (caseIgnoreMatch): blanks at
// either end dropped, runs of blanks inside read as one.
std::string Folded(const berval& value) {
  std::string folded;
  bool blank = false;
  for (char c : Lower(value)) {
    if (c == ' ') {
      blank = !folded.empty();
      continue;
    }
    if (blank) folded += ' ';
    blank = false;
    folded += c;
  }
  return folded;
}

}  // namespace

bool Dn::Parse(const std::string& text, Dn& dn) {
  berval bv{static_cast<ber_len_t>(text.size()), const_cast<char*>(text.data())};
  LDAPDN parsed = nullptr;
  if (ldap_bv2dn(&bv, &parsed, LDAP_DN_FORMAT_LDAPV3) != LDAP_SUCCESS) return false;
  Dn result;
  for (LDAPRDN* rdn = parsed; rdn && *rdn; ++rdn) {
    Rdn& pairs = result.rdns_.emplace_back();
    for (LDAPAVA** ava = *rdn; *ava; ++ava) {
      // A value given as #hex is BER: only its exact bytes can be compared.
      const bool binary = ((*ava)->la_flags & LDAP_AVA_BINARY) != 0;
      pairs.emplace_back(Lower((*ava)->la_attr), binary ? "#" + std::string((*ava)->la_value.bv_val,
                                                                            (*ava)->la_value.bv_len)
                                                        : Folded((*ava)->la_value));
    }
    std::sort(pairs.begin(), pairs.end());
  }
  ldap_dnfree(parsed);
  dn = std::move(result);
  return true;
}

bool Dn::IsUnder(const Dn& root) const {
  return rdns_.size() >= root.rdns_.size() &&
         std::equal(root.rdns_.rbegin(), root.rdns_.rend(), rdns_.rbegin());
}

}  // namespace xo::directory::ldap
