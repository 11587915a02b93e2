// One connection to an LDAP server through the LDAP C API. This file and its
// .cpp are the only ones that speak that API, apart from the parsing of DNs
// (DistinguishedName) and the escaping of filter values (FilterValue).
#pragma once

#include <functional>
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
  std::string uris;         // one or more, separated by blanks or commas, tried in order
  int timeoutSeconds = 30;  // connect, and every operation
  // TLS on every connection: an ldaps:// URI as it is, any other URI
  // upgraded with StartTLS before anything else is sent. A server that
  // cannot do TLS is not used.
  bool secure = false;
  // The CA certificates (PEM) that TLS trusts; empty for the system's.
  std::string caFile;
};

class LdapConnection {
 public:
  // Connects to the first server of the list that answers (and, for a
  // secure connection or an ldaps:// URI, completes TLS with a certificate
  // that the CA certificates vouch for and that names the host).
  static std::unique_ptr<LdapConnection> Open(const ConnectOptions& options, std::string& error);
  ~LdapConnection();
  LdapConnection(const LdapConnection&) = delete;
  LdapConnection& operator=(const LdapConnection&) = delete;

  // A simple bind as a named entry. An empty DN or password is refused
  // before anything is sent: the protocol reads a DN without a password as
  // an unauthenticated bind, which servers may accept as anonymous.
  bool Bind(const std::string& dn, const std::string& password, std::string& error);
  // One search request, for look-ups of an entry or two: false for a failed
  // search; an entry that is not there (a missing base) is a successful
  // search with no results. A search that reaches the size limit (0 for
  // none) keeps what it received.
  bool Search(const std::string& base, Scope scope, const std::string& filter,
              const std::vector<std::string>& attributes, int sizeLimit,
              std::vector<LdapEntry>& entries, std::string& error);
  // Every entry a search finds, in the server's order, fetched in pages of
  // `pageSize` (the paged-results control), so that the server's limit on a
  // single search does not end it. Each entry goes to `take`; the search
  // stops early when `take` returns false. `serverLimited` tells that the
  // server ended the search before its last entry (its own limit on paged
  // searches; or it ignores the control and applied its size limit).
  bool SearchAll(const std::string& base, Scope scope, const std::string& filter,
                 const std::vector<std::string>& attributes, int pageSize,
                 const std::function<bool(LdapEntry&)>& take, bool& serverLimited,
                 std::string& error);
  // Replaces every value of an attribute; no values removes the attribute.
  bool Replace(const std::string& dn, const std::string& attribute,
               const std::vector<std::string>& values, std::string& error);
  // Sets a password through the Password Modify extended operation, so that
  // the server stores it in its own form.
  bool ChangePassword(const std::string& dn, const std::string& password, std::string& error);
  // Whether an operation failed: the server may have closed the connection
  // or lost its state, so the connection is not used again.
  bool Broken() const { return broken_; }
  // Whether the server closed the connection or could not be reached.
  bool Lost() const { return lost_; }

 private:
  struct Handle;
  explicit LdapConnection(std::unique_ptr<Handle> handle, int timeoutSeconds);
  bool Failed(int code, const std::string& what, std::string& error);

  std::unique_ptr<Handle> handle_;
  int timeoutSeconds_;
  bool broken_ = false;
  bool lost_ = false;
};

}  // namespace xo::directory::ldap
