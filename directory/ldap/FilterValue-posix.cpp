#include <ldap.h>

#include <new>

#include "ldap/FilterValue.h"

namespace xo::directory::ldap {

std::string EscapeFilterValue(const std::string& value) {
  berval in{static_cast<ber_len_t>(value.size()), const_cast<char*>(value.data())};
  berval out{0, nullptr};
  if (ldap_bv2escaped_filter_value(&in, &out) != 0) throw std::bad_alloc();
  std::string escaped = out.bv_val ? std::string(out.bv_val, out.bv_len) : std::string();
  ber_memfree(out.bv_val);
  return escaped;
}

}  // namespace xo::directory::ldap
