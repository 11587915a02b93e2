// One connection to an LDAP server through the LDAP C API. This file and its
// .cpp are the only ones that speak that API.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace xo::directory::ldap {

// An entry as a search returned it; attribute names are kept in lower case.
struct LdapEntry {
  std::string dn;
  std::map<std::string, std::vector<std::string>> attributes;

  const std::vector<std::string>& Values(const std::string& attribute) const;
  // The first value, or "" when the attribute is absent.
  std::string First(const std::string& attribute) const;
};

enum class Scope { Base, OneLevel, Subtree };

struct ConnectOptions {
  std::string uris;         // one or more, separated by blanks or commas
  int timeoutSeconds = 30;  // connect, and every operation
  bool startTls = false;    // upgrade a plain ldap:// connection before anything else
};

class LdapConnection {
 public:
  // Prepares the connection; the server is first reached by the first
  // operation (or by StartTLS when asked for).
  static std::unique_ptr<LdapConnection> Open(const ConnectOptions& options, std::string& error);
  ~LdapConnection();
  LdapConnection(const LdapConnection&) = delete;
  LdapConnection& operator=(const LdapConnection&) = delete;

  // A simple bind; an empty DN binds anonymously. Callers must refuse an
  // empty password for a named user themselves: the protocol treats that as
  // an unauthenticated bind, which servers accept.
  bool Bind(const std::string& dn, const std::string& password, std::string& error);
  // False for a failed search; an entry that is not there (a missing base)
  // is a successful search with no results. A size limit of 0 means none; a
  // search that reaches it keeps what it received.
  bool Search(const std::string& base, Scope scope, const std::string& filter,
              const std::vector<std::string>& attributes, int sizeLimit,
              std::vector<LdapEntry>& entries, std::string& error);
  // Replaces every value of an attribute; no values removes the attribute.
  bool Replace(const std::string& dn, const std::string& attribute,
               const std::vector<std::string>& values, std::string& error);
  // Sets a password through the Password Modify extended operation, so that
  // the server stores it in its own form.
  bool ChangePassword(const std::string& dn, const std::string& password, std::string& error);

  // Whether a text parses as a distinguished name with at least one RDN.
  static bool IsDn(const std::string& text);

 private:
  struct Handle;
  explicit LdapConnection(std::unique_ptr<Handle> handle, int timeoutSeconds);
  bool Failed(int code, const char* what, std::string& error);

  std::unique_ptr<Handle> handle_;
  int timeoutSeconds_;
};

}  // namespace xo::directory::ldap
