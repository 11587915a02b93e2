#include <ldap.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <new>
#include <system_error>

#include "ldap/LdapConnection.h"
#include "ldap/NoSigpipe.h"

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

// Owns the cookie of a paged search, as the server last handed it back.
struct Cookie {
  berval value{0, nullptr};
  ~Cookie() { ber_memfree(value.bv_val); }
  void Replace(berval next) {
    ber_memfree(value.bv_val);
    value = next;
  }
};

void ReadEntry(LDAP* ld, LDAPMessage* item, LdapEntry& entry) {
  if (char* dn = ldap_get_dn(ld, item)) {
    entry.dn = dn;
    ldap_memfree(dn);
  }
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

bool IsLdaps(const std::string& uri) { return Lower(uri.substr(0, 8)) == "ldaps://"; }

// The CA certificates the system trusts, where the usual distributions keep
// them: OpenLDAP's library trusts nothing it is not given.
std::string SystemCaFile() {
  for (const char* path : {"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt",
                           "/etc/ssl/ca-bundle.pem", "/etc/ssl/cert.pem"}) {
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored)) return path;
  }
  return "";
}

// Every option the connection depends on is set on its own handle. A new
// handle starts from the library's process-wide defaults, which it reads
// once from ldap.conf, ~/.ldaprc and LDAP* environment variables; none of
// those may decide how a directory is searched or which servers TLS trusts.
// (The library's own LDAPNOINIT switch is an environment variable of the
// whole process, so it is not used.)
bool Configure(LDAP* ld, const ConnectOptions& options, bool tls, const std::string& caFile,
               std::string& error) {
  const int version = LDAP_VERSION3;
  const int neverDereference = LDAP_DEREF_NEVER;
  const timeval timeout{options.timeoutSeconds, 0};
  ldap_set_option(ld, LDAP_OPT_PROTOCOL_VERSION, &version);
  ldap_set_option(ld, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  ldap_set_option(ld, LDAP_OPT_DEREF, &neverDereference);
  // Connecting, and waiting for each synchronous answer, end with the
  // directory's search timeout.
  ldap_set_option(ld, LDAP_OPT_NETWORK_TIMEOUT, &timeout);
  ldap_set_option(ld, LDAP_OPT_TIMEOUT, &timeout);
  if (!tls) return true;

  // The certificate must chain to the CA certificates and name the host
  // (its subjectAltName, or else its CN); no client certificate is offered.
  const int demand = LDAP_OPT_X_TLS_DEMAND;
  const int allowCnForName = LDAP_OPT_X_TLS_ALLOW;
  const int tls12 = LDAP_OPT_X_TLS_PROTOCOL_TLS1_2;
  bool set = ldap_set_option(ld, LDAP_OPT_X_TLS_REQUIRE_CERT, &demand) == LDAP_OPT_SUCCESS &&
             ldap_set_option(ld, LDAP_OPT_X_TLS_REQUIRE_SAN, &allowCnForName) == LDAP_OPT_SUCCESS &&
             ldap_set_option(ld, LDAP_OPT_X_TLS_PROTOCOL_MIN, &tls12) == LDAP_OPT_SUCCESS &&
             ldap_set_option(ld, LDAP_OPT_X_TLS_CACERTFILE,
                             caFile.empty() ? nullptr : caFile.c_str()) == LDAP_OPT_SUCCESS;
  for (int option : {LDAP_OPT_X_TLS_CACERTDIR, LDAP_OPT_X_TLS_CERTFILE, LDAP_OPT_X_TLS_KEYFILE,
                     LDAP_OPT_X_TLS_CIPHER_SUITE, LDAP_OPT_X_TLS_ECNAME}) {
    set = set && ldap_set_option(ld, option, nullptr) == LDAP_OPT_SUCCESS;
  }
  // Only some TLS libraries know these; where one is unknown, nothing set it.
  ldap_set_option(ld, LDAP_OPT_X_TLS_CRLFILE, nullptr);
  ldap_set_option(ld, LDAP_OPT_X_TLS_PEERKEY_HASH, nullptr);
  // A context of the handle's own, made from the options above (a handle
  // otherwise shares the process-wide one).
  const int client = 0;
  if (set && ldap_set_option(ld, LDAP_OPT_X_TLS_NEWCTX, &client) == LDAP_OPT_SUCCESS) return true;
  error = "the TLS settings cannot be used";
  if (caFile.empty()) {
    error += ": no CA certificates (the system has none where expected; name a CA file)";
  } else {
    error += " (CA certificates '" + caFile + "')";
  }
  char* diagnostic = nullptr;
  if (ldap_get_option(ld, LDAP_OPT_DIAGNOSTIC_MESSAGE, &diagnostic) == LDAP_OPT_SUCCESS &&
      diagnostic) {
    if (*diagnostic) error += std::string(": ") + diagnostic;
    ldap_memfree(diagnostic);
  }
  return false;
}

}  // namespace

struct LdapConnection::Handle {
  LDAP* ld = nullptr;
  ~Handle() {
    if (!ld) return;
    NoSigpipe guard;
    ldap_unbind_ext_s(ld, nullptr, nullptr);
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
  const std::string caFile = options.caFile.empty() ? SystemCaFile() : options.caFile;
  NoSigpipe guard;
  std::string failures;
  for (const std::string& uri : uris) {
    auto handle = std::make_unique<Handle>();
    const int initialized = ldap_initialize(&handle->ld, uri.c_str());
    if (initialized != LDAP_SUCCESS) {
      error = "cannot use the LDAP server '" + uri + "': " + ldap_err2string(initialized);
      return nullptr;
    }
    // An ldaps:// server speaks TLS from the start; any other is upgraded
    // with StartTLS when the connection must be secure, and is not used when
    // that fails.
    const bool ldaps = IsLdaps(uri);
    const bool tls = options.secure || ldaps;
    if (!Configure(handle->ld, options, tls, caFile, error)) return nullptr;
    std::unique_ptr<LdapConnection> connection(
        new LdapConnection(std::move(handle), options.timeoutSeconds));
    LDAP* ld = connection->handle_->ld;
    const int code = tls && !ldaps ? ldap_start_tls_s(ld, nullptr, nullptr) : ldap_connect(ld);
    std::string failure;
    const char* what = !tls    ? "connecting to "
                       : ldaps ? "a secure connection to "
                               : "a secure connection (StartTLS) to ";
    if (!connection->Failed(code, what + uri, failure)) return connection;
    // The library reports a certificate it does not trust only as a failure
    // to connect.
    if (tls && code == LDAP_CONNECT_ERROR) {
      failure += "; is the server's certificate for this host, from a CA in '" + caFile + "'?";
    }
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
  error = what + " failed: " + ldap_err2string(code);
  char* diagnostic = nullptr;
  if (ldap_get_option(handle_->ld, LDAP_OPT_DIAGNOSTIC_MESSAGE, &diagnostic) == LDAP_OPT_SUCCESS &&
      diagnostic) {
    if (*diagnostic) error += std::string(" (") + diagnostic + ")";
    ldap_memfree(diagnostic);
  }
  return true;
}

bool LdapConnection::Bind(const std::string& dn, const std::string& password, std::string& error) {
  if (dn.empty() || password.empty()) {
    error = dn.empty() ? "a bind names no entry" : "an empty password is never sent";
    return false;
  }
  NoSigpipe guard;
  berval credentials = Ber(password);
  const int code = ldap_sasl_bind_s(handle_->ld, dn.c_str(), LDAP_SASL_SIMPLE, &credentials,
                                    nullptr, nullptr, nullptr);
  return !Failed(code, "the bind", error);
}

bool LdapConnection::Search(const std::string& base, Scope scope, const std::string& filter,
                            const std::vector<std::string>& attributes, int sizeLimit,
                            std::vector<LdapEntry>& entries, std::string& error) {
  std::vector<char*> names;
  for (const std::string& name : attributes) names.push_back(const_cast<char*>(name.c_str()));
  names.push_back(nullptr);
  timeval timeout{timeoutSeconds_, 0};
  NoSigpipe guard;
  Result result;
  const int code =
      ldap_search_ext_s(handle_->ld, base.c_str(), ScopeCode(scope), filter.c_str(), names.data(),
                        0, nullptr, nullptr, &timeout, sizeLimit, &result.message);
  if (code == LDAP_NO_SUCH_OBJECT) return true;
  if (code != LDAP_SIZELIMIT_EXCEEDED && Failed(code, "the search", error)) return false;
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
  for (const std::string& name : attributes) names.push_back(const_cast<char*>(name.c_str()));
  names.push_back(nullptr);
  serverLimited = false;
  NoSigpipe guard;
  Cookie cookie;
  // Each page is one request; a search stopped early leaves the server's
  // paging state to the end of the connection.
  for (;;) {
    LDAPControl* page = nullptr;
    int code = ldap_create_page_control(handle_->ld, pageSize, &cookie.value, 0, &page);
    if (Failed(code, "the paged search", error)) return false;
    LDAPControl* controls[] = {page, nullptr};
    timeval timeout{timeoutSeconds_, 0};
    Result result;
    code = ldap_search_ext_s(handle_->ld, base.c_str(), ScopeCode(scope), filter.c_str(),
                             names.data(), 0, controls, nullptr, &timeout, 0, &result.message);
    ldap_control_free(page);
    if (code == LDAP_NO_SUCH_OBJECT) return true;
    serverLimited = code == LDAP_SIZELIMIT_EXCEEDED || code == LDAP_ADMINLIMIT_EXCEEDED;
    if (!serverLimited && Failed(code, "the search", error)) return false;
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
    // The last page comes back with an empty cookie, or without the control
    // from a server that does not page.
    LDAPControl** returned = nullptr;
    if (ldap_parse_result(handle_->ld, result.message, nullptr, nullptr, nullptr, nullptr,
                          &returned, 0) != LDAP_SUCCESS) {
      return true;
    }
    berval next{0, nullptr};
    ber_int_t estimate = 0;
    LDAPControl* response = ldap_control_find(LDAP_CONTROL_PAGEDRESULTS, returned, nullptr);
    code = response ? ldap_parse_pageresponse_control(handle_->ld, response, &estimate, &next)
                    : LDAP_CONTROL_NOT_FOUND;
    ldap_controls_free(returned);
    if (code != LDAP_SUCCESS) return true;
    cookie.Replace(next);
    if (cookie.value.bv_len == 0) return true;
  }
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
  NoSigpipe guard;
  const int code = ldap_modify_ext_s(handle_->ld, dn.c_str(), mods, nullptr, nullptr);
  return !Failed(code, "the change", error);
}

bool LdapConnection::ChangePassword(const std::string& dn, const std::string& password,
                                    std::string& error) {
  berval user = Ber(dn);
  berval newPassword = Ber(password);
  berval generated{0, nullptr};
  NoSigpipe guard;
  const int code =
      ldap_passwd_s(handle_->ld, &user, nullptr, &newPassword, &generated, nullptr, nullptr);
  if (generated.bv_val) ber_memfree(generated.bv_val);
  return !Failed(code, "the password change", error);
}

}  // namespace xo::directory::ldap
