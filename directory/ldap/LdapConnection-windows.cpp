// The connection through the system's LDAP library (wldap32). TLS trusts the
// certificates of the system's store; the library takes no CA file, so a CA
// file named in the settings is refused rather than silently ignored.
// clang-format off
#include <windows.h>
#include <winldap.h>
#include <winber.h>
// clang-format on

#include <algorithm>
#include <cctype>
#include <new>

#include "ldap/LdapConnection.h"

namespace xo::directory::ldap {
namespace {

constexpr char kPasswordModifyOid[] = "1.3.6.1.4.1.4203.1.11.1";

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

ULONG ScopeCode(Scope scope) {
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
  value.bv_len = static_cast<ULONG>(text.size());
  value.bv_val = const_cast<char*>(text.data());
  return value;
}

char* Text(const std::string& text) { return const_cast<char*>(text.c_str()); }

struct Result {
  LDAPMessage* message = nullptr;
  ~Result() {
    if (message) ldap_msgfree(message);
  }
};

struct Cookie {
  berval* value = nullptr;
  ~Cookie() { Replace(nullptr); }
  void Replace(berval* next) {
    if (value) ber_bvfree(value);
    value = next;
  }
};

void ReadEntry(LDAP* ld, LDAPMessage* item, LdapEntry& entry) {
  if (char* dn = ldap_get_dnA(ld, item)) {
    entry.dn = dn;
    ldap_memfreeA(dn);
  }
  BerElement* ber = nullptr;
  for (char* name = ldap_first_attributeA(ld, item, &ber); name;
       name = ldap_next_attributeA(ld, item, ber)) {
    std::vector<std::string>& values = entry.attributes[Lower(name)];
    if (berval** found = ldap_get_values_lenA(ld, item, name)) {
      for (berval** value = found; *value; ++value) {
        values.emplace_back((*value)->bv_val, (*value)->bv_len);
      }
      ldap_value_free_len(found);
    }
    ldap_memfreeA(name);
  }
  if (ber) ber_free(ber, 0);
}

std::vector<std::string> SplitUris(const std::string& uris) {
  std::vector<std::string> list;
  std::string uri;
  for (char c : uris + " ") {
    if (c == ' ' || c == ',' || c == '\t' || c == '\n' || c == '\r') {
      if (!uri.empty()) list.push_back(uri);
      uri.clear();
    } else {
      uri += c;
    }
  }
  return list;
}

// ldap://host[:port][/...] or ldaps://...; false for anything else.
bool ParseUri(const std::string& uri, bool& ldaps, std::string& host, ULONG& port) {
  const std::string lower = Lower(uri);
  size_t start = 0;
  if (lower.rfind("ldaps://", 0) == 0) {
    ldaps = true;
    start = 8;
  } else if (lower.rfind("ldap://", 0) == 0) {
    ldaps = false;
    start = 7;
  } else {
    return false;
  }
  std::string hostPort = uri.substr(start, uri.find('/', start) - start);
  port = ldaps ? LDAP_SSL_PORT : LDAP_PORT;
  const size_t colon = hostPort.rfind(':');
  if (colon != std::string::npos && hostPort.find(']', colon) == std::string::npos) {
    const std::string digits = hostPort.substr(colon + 1);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
      return false;
    }
    port = static_cast<ULONG>(std::stoul(digits));
    hostPort.resize(colon);
  }
  if (hostPort.size() > 2 && hostPort.front() == '[' && hostPort.back() == ']') {
    hostPort = hostPort.substr(1, hostPort.size() - 2);
  }
  host = hostPort.empty() ? "localhost" : hostPort;
  return true;
}

// The BER of a Password Modify request (RFC 3062): a SEQUENCE of the user
// identity [0] and the new password [2].
void AppendLength(std::string& out, size_t length) {
  if (length < 0x80) {
    out += static_cast<char>(length);
    return;
  }
  std::string bytes;
  for (; length; length >>= 8) bytes.insert(bytes.begin(), static_cast<char>(length & 0xff));
  out += static_cast<char>(0x80 | bytes.size());
  out += bytes;
}

std::string PasswordModifyRequest(const std::string& dn, const std::string& password) {
  std::string fields;
  fields += '\x80';
  AppendLength(fields, dn.size());
  fields += dn;
  fields += '\x82';
  AppendLength(fields, password.size());
  fields += password;
  std::string request = "\x30";
  AppendLength(request, fields.size());
  return request + fields;
}

}  // namespace

struct LdapConnection::Handle {
  LDAP* ld = nullptr;
  ~Handle() {
    if (ld) ldap_unbind_s(ld);
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
  const std::vector<std::string> uris = SplitUris(options.uris);
  if (uris.empty()) {
    error = "no LDAP server is named";
    return nullptr;
  }
  if (!options.caFile.empty()) {
    error = "a CA file cannot be used on Windows: TLS trusts the system's certificate store";
    return nullptr;
  }
  std::string failures;
  for (const std::string& uri : uris) {
    bool ldaps = false;
    std::string host;
    ULONG port = 0;
    if (!ParseUri(uri, ldaps, host, port)) {
      error = "cannot use the LDAP server '" + uri + "': not an ldap:// or ldaps:// URI";
      return nullptr;
    }
    auto handle = std::make_unique<Handle>();
    handle->ld = ldap_sslinitA(Text(host), port, ldaps ? 1 : 0);
    if (!handle->ld) {
      error = "cannot use the LDAP server '" + uri + "': " + ldap_err2stringA(LdapGetLastError());
      return nullptr;
    }
    LDAP* ld = handle->ld;
    const ULONG version = LDAP_VERSION3;
    const ULONG neverDereference = LDAP_DEREF_NEVER;
    const ULONG seconds = static_cast<ULONG>(options.timeoutSeconds);
    ldap_set_option(ld, LDAP_OPT_PROTOCOL_VERSION, &version);
    ldap_set_option(ld, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
    ldap_set_option(ld, LDAP_OPT_DEREF, &neverDereference);
    ldap_set_option(ld, LDAP_OPT_TIMELIMIT, &seconds);
    const bool tls = options.secure || ldaps;
    std::unique_ptr<LdapConnection> connection(
        new LdapConnection(std::move(handle), options.timeoutSeconds));
    l_timeval timeout{static_cast<LONG>(options.timeoutSeconds), 0};
    ULONG code = ldap_connect(ld, &timeout);
    if (code == LDAP_SUCCESS && tls && !ldaps) {
      ULONG serverCode = 0;
      code = ldap_start_tls_sA(ld, &serverCode, nullptr, nullptr, nullptr);
    }
    std::string failure;
    const char* what = !tls    ? "connecting to "
                       : ldaps ? "a secure connection to "
                               : "a secure connection (StartTLS) to ";
    if (!connection->Failed(static_cast<int>(code), what + uri, failure)) return connection;
    failures += (failures.empty() ? "" : "; ") + failure;
  }
  error = failures;
  return nullptr;
}

LdapConnection::LdapConnection(std::unique_ptr<Handle> handle, int timeoutSeconds)
    : handle_(std::move(handle)), timeoutSeconds_(timeoutSeconds) {}

LdapConnection::~LdapConnection() = default;

bool LdapConnection::Failed(int code, const std::string& what, std::string& error) {
  if (code == LDAP_SUCCESS) return false;
  broken_ = true;
  lost_ = lost_ || code == LDAP_SERVER_DOWN || code == LDAP_CONNECT_ERROR;
  error = what + " failed: " + ldap_err2stringA(static_cast<ULONG>(code));
  char* diagnostic = nullptr;
  if (ldap_get_option(handle_->ld, LDAP_OPT_SERVER_ERROR, &diagnostic) == LDAP_SUCCESS &&
      diagnostic) {
    if (*diagnostic) error += std::string(" (") + diagnostic + ")";
    ldap_memfreeA(diagnostic);
  }
  return true;
}

bool LdapConnection::Bind(const std::string& dn, const std::string& password, std::string& error) {
  if (dn.empty() || password.empty()) {
    error = dn.empty() ? "a bind names no entry" : "an empty password is never sent";
    return false;
  }
  const ULONG code = ldap_simple_bind_sA(handle_->ld, Text(dn), Text(password));
  return !Failed(static_cast<int>(code), "the bind", error);
}

bool LdapConnection::Search(const std::string& base, Scope scope, const std::string& filter,
                            const std::vector<std::string>& attributes, int sizeLimit,
                            std::vector<LdapEntry>& entries, std::string& error) {
  std::vector<char*> names;
  for (const std::string& name : attributes) names.push_back(Text(name));
  names.push_back(nullptr);
  l_timeval timeout{static_cast<LONG>(timeoutSeconds_), 0};
  Result result;
  const ULONG code = ldap_search_ext_sA(handle_->ld, Text(base), ScopeCode(scope), Text(filter),
                                        names.data(), 0, nullptr, nullptr, &timeout,
                                        static_cast<ULONG>(sizeLimit), &result.message);
  if (code == LDAP_NO_SUCH_OBJECT) return true;
  if (code != LDAP_SIZELIMIT_EXCEEDED && Failed(static_cast<int>(code), "the search", error)) {
    return false;
  }
  for (LDAPMessage* item = ldap_first_entry(handle_->ld, result.message); item;
       item = ldap_next_entry(handle_->ld, item)) {
    ReadEntry(handle_->ld, item, entries.emplace_back());
  }
  return true;
}

bool LdapConnection::SearchAll(const std::string& base, Scope scope, const std::string& filter,
                               const std::vector<std::string>& attributes, int pageSize,
                               const std::function<bool(LdapEntry&)>& take, bool& serverLimited,
                               std::string& error) {
  std::vector<char*> names;
  for (const std::string& name : attributes) names.push_back(Text(name));
  names.push_back(nullptr);
  serverLimited = false;
  Cookie cookie;
  berval empty{0, nullptr};
  for (;;) {
    LDAPControlA* page = nullptr;
    ULONG code = ldap_create_page_controlA(handle_->ld, static_cast<ULONG>(pageSize),
                                           cookie.value ? cookie.value : &empty, 0, &page);
    if (Failed(static_cast<int>(code), "the paged search", error)) return false;
    LDAPControlA* controls[] = {page, nullptr};
    l_timeval timeout{static_cast<LONG>(timeoutSeconds_), 0};
    Result result;
    code = ldap_search_ext_sA(handle_->ld, Text(base), ScopeCode(scope), Text(filter), names.data(),
                              0, controls, nullptr, &timeout, 0, &result.message);
    ldap_control_freeA(page);
    if (code == LDAP_NO_SUCH_OBJECT) return true;
    serverLimited = code == LDAP_SIZELIMIT_EXCEEDED || code == LDAP_ADMIN_LIMIT_EXCEEDED;
    if (!serverLimited && Failed(static_cast<int>(code), "the search", error)) return false;
    for (LDAPMessage* item = ldap_first_entry(handle_->ld, result.message); item;
         item = ldap_next_entry(handle_->ld, item)) {
      LdapEntry entry;
      ReadEntry(handle_->ld, item, entry);
      if (!take(entry)) {
        serverLimited = false;
        return true;
      }
    }
    if (serverLimited) return true;
    LDAPControlA** returned = nullptr;
    if (ldap_parse_resultA(handle_->ld, result.message, nullptr, nullptr, nullptr, nullptr,
                           &returned, FALSE) != LDAP_SUCCESS ||
        !returned) {
      return true;
    }
    ULONG estimate = 0;
    berval* next = nullptr;
    code = ldap_parse_page_controlA(handle_->ld, returned, &estimate, &next);
    ldap_controls_freeA(returned);
    if (code != LDAP_SUCCESS) return true;
    cookie.Replace(next);
    if (!cookie.value || cookie.value->bv_len == 0) return true;
  }
}

bool LdapConnection::Replace(const std::string& dn, const std::string& attribute,
                             const std::vector<std::string>& values, std::string& error) {
  std::vector<berval> bers;
  for (const std::string& value : values) bers.push_back(Ber(value));
  std::vector<berval*> pointers;
  for (berval& ber : bers) pointers.push_back(&ber);
  pointers.push_back(nullptr);
  LDAPModA mod{};
  mod.mod_op = LDAP_MOD_REPLACE | LDAP_MOD_BVALUES;
  mod.mod_type = Text(attribute);
  mod.mod_vals.modv_bvals = values.empty() ? nullptr : pointers.data();
  LDAPModA* mods[] = {&mod, nullptr};
  const ULONG code = ldap_modify_ext_sA(handle_->ld, Text(dn), mods, nullptr, nullptr);
  return !Failed(static_cast<int>(code), "the change", error);
}

bool LdapConnection::ChangePassword(const std::string& dn, const std::string& password,
                                    std::string& error) {
  std::string request = PasswordModifyRequest(dn, password);
  berval data = Ber(request);
  char* returnedOid = nullptr;
  berval* returned = nullptr;
  const ULONG code = ldap_extended_operation_sA(handle_->ld, const_cast<char*>(kPasswordModifyOid),
                                                &data, nullptr, nullptr, &returnedOid, &returned);
  if (returnedOid) ldap_memfreeA(returnedOid);
  if (returned) ber_bvfree(returned);
  return !Failed(static_cast<int>(code), "the password change", error);
}

}  // namespace xo::directory::ldap
