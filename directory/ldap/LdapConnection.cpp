#include "ldap/LdapConnection.h"

#include <ldap.h>

#include <algorithm>
#include <cctype>
#include <new>

namespace xo::directory::ldap {
namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

int ScopeCode(Scope scope) {
  switch (scope) {
    case Scope::Base:
      return LDAP_SCOPE_BASE;
    case Scope::OneLevel:
      return LDAP_SCOPE_ONELEVEL;
    case Scope::Subtree:
      break;
  }
  return LDAP_SCOPE_SUBTREE;
}

berval Ber(const std::string& text) {
  berval value;
  value.bv_len = text.size();
  value.bv_val = const_cast<char*>(text.data());
  return value;
}

// Owns a search result and frees it however the search ended.
struct Result {
  LDAPMessage* message = nullptr;
  ~Result() {
    if (message) ldap_msgfree(message);
  }
};

void ReadAttributes(LDAP* ld, LDAPMessage* item, LdapEntry& entry) {
  BerElement* ber = nullptr;
  for (char* name = ldap_first_attribute(ld, item, &ber); name;
       name = ldap_next_attribute(ld, item, ber)) {
    std::vector<std::string>& values = entry.attributes[Lower(name)];
    if (berval** found = ldap_get_values_len(ld, item, name)) {
      for (berval** value = found; *value; ++value) {
        values.emplace_back((*value)->bv_val, (*value)->bv_len);
      }
      ldap_value_free_len(found);
    }
    ldap_memfree(name);
  }
  if (ber) ber_free(ber, 0);
}

}  // namespace

struct LdapConnection::Handle {
  LDAP* ld = nullptr;
  ~Handle() {
    if (ld) ldap_unbind_ext_s(ld, nullptr, nullptr);
  }
};

const std::vector<std::string>& LdapEntry::Values(const std::string& attribute) const {
  static const std::vector<std::string> kNone;
  auto found = attributes.find(Lower(attribute));
  return found == attributes.end() ? kNone : found->second;
}

std::string LdapEntry::First(const std::string& attribute) const {
  const std::vector<std::string>& values = Values(attribute);
  return values.empty() ? std::string() : values.front();
}

std::unique_ptr<LdapConnection> LdapConnection::Open(const ConnectOptions& options,
                                                     std::string& error) {
  auto handle = std::make_unique<Handle>();
  int code = ldap_initialize(&handle->ld, options.uris.c_str());
  if (code != LDAP_SUCCESS) {
    error = "cannot use the LDAP server list '" + options.uris + "': " + ldap_err2string(code);
    return nullptr;
  }
  const int version = LDAP_VERSION3;
  timeval timeout{options.timeoutSeconds, 0};
  ldap_set_option(handle->ld, LDAP_OPT_PROTOCOL_VERSION, &version);
  ldap_set_option(handle->ld, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  // Connecting, and waiting for each synchronous answer, end with the
  // directory's search timeout.
  ldap_set_option(handle->ld, LDAP_OPT_NETWORK_TIMEOUT, &timeout);
  ldap_set_option(handle->ld, LDAP_OPT_TIMEOUT, &timeout);
  std::unique_ptr<LdapConnection> connection(
      new LdapConnection(std::move(handle), options.timeoutSeconds));
  if (options.startTls && options.uris.rfind("ldaps://", 0) != 0) {
    code = ldap_start_tls_s(connection->handle_->ld, nullptr, nullptr);
    if (connection->Failed(code, "a secure connection (StartTLS)", error)) return nullptr;
  }
  return connection;
}

LdapConnection::LdapConnection(std::unique_ptr<Handle> handle, int timeoutSeconds)
    : handle_(std::move(handle)), timeoutSeconds_(timeoutSeconds) {}

LdapConnection::~LdapConnection() = default;

bool LdapConnection::Failed(int code, const char* what, std::string& error) {
  if (code == LDAP_SUCCESS) return false;
  error = std::string(what) + " failed: " + ldap_err2string(code);
  char* diagnostic = nullptr;
  if (ldap_get_option(handle_->ld, LDAP_OPT_DIAGNOSTIC_MESSAGE, &diagnostic) == LDAP_OPT_SUCCESS &&
      diagnostic) {
    if (*diagnostic) error += std::string(" (") + diagnostic + ")";
    ldap_memfree(diagnostic);
  }
  return true;
}

bool LdapConnection::Bind(const std::string& dn, const std::string& password, std::string& error) {
  berval credentials = Ber(password);
  const int code = ldap_sasl_bind_s(handle_->ld, dn.empty() ? nullptr : dn.c_str(),
                                    LDAP_SASL_SIMPLE, &credentials, nullptr, nullptr, nullptr);
  return !Failed(code, dn.empty() ? "the anonymous bind" : "the bind", error);
}

bool LdapConnection::Search(const std::string& base, Scope scope, const std::string& filter,
                            const std::vector<std::string>& attributes, int sizeLimit,
                            std::vector<LdapEntry>& entries, std::string& error) {
  std::vector<char*> names;
  for (const std::string& name : attributes) names.push_back(const_cast<char*>(name.c_str()));
  names.push_back(nullptr);
  timeval timeout{timeoutSeconds_, 0};
  Result result;
  const int code =
      ldap_search_ext_s(handle_->ld, base.c_str(), ScopeCode(scope), filter.c_str(), names.data(),
                        0, nullptr, nullptr, &timeout, sizeLimit, &result.message);
  if (code == LDAP_NO_SUCH_OBJECT) return true;
  if (code != LDAP_SIZELIMIT_EXCEEDED && Failed(code, "the search", error)) return false;
  entries.reserve(entries.size() + static_cast<size_t>(std::max(
                                       0, ldap_count_entries(handle_->ld, result.message))));
  for (LDAPMessage* item = ldap_first_entry(handle_->ld, result.message); item;
       item = ldap_next_entry(handle_->ld, item)) {
    LdapEntry& entry = entries.emplace_back();
    if (char* dn = ldap_get_dn(handle_->ld, item)) {
      entry.dn = dn;
      ldap_memfree(dn);
    }
    ReadAttributes(handle_->ld, item, entry);
  }
  return true;
}

bool LdapConnection::Replace(const std::string& dn, const std::string& attribute,
                             const std::vector<std::string>& values, std::string& error) {
  std::vector<berval> bers;
  for (const std::string& value : values) bers.push_back(Ber(value));
  std::vector<berval*> pointers;
  for (berval& ber : bers) pointers.push_back(&ber);
  pointers.push_back(nullptr);
  LDAPMod mod{};
  mod.mod_op = LDAP_MOD_REPLACE | LDAP_MOD_BVALUES;
  mod.mod_type = const_cast<char*>(attribute.c_str());
  mod.mod_bvalues = values.empty() ? nullptr : pointers.data();
  LDAPMod* mods[] = {&mod, nullptr};
  const int code = ldap_modify_ext_s(handle_->ld, dn.c_str(), mods, nullptr, nullptr);
  return !Failed(code, "the change", error);
}

bool LdapConnection::ChangePassword(const std::string& dn, const std::string& password,
                                    std::string& error) {
  berval user = Ber(dn);
  berval newPassword = Ber(password);
  berval generated{0, nullptr};
  const int code =
      ldap_passwd_s(handle_->ld, &user, nullptr, &newPassword, &generated, nullptr, nullptr);
  if (generated.bv_val) ber_memfree(generated.bv_val);
  return !Failed(code, "the password change", error);
}

bool LdapConnection::IsDn(const std::string& text) {
  LDAPDN dn = nullptr;
  if (ldap_str2dn(text.c_str(), &dn, LDAP_DN_FORMAT_LDAPV3) != LDAP_SUCCESS) return false;
  const bool named = dn != nullptr;
  if (dn) ldap_dnfree(dn);
  return named;
}

}  // namespace xo::directory::ldap
