// User directories served by an LDAP server.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "KeptConnection.h"
#include "Provider.h"
#include "ldap/DistinguishedName.h"
#include "ldap/LdapConnection.h"

namespace xo::directory::ldap {

// Every entry it reads or changes lies under the search root: an entry named
// by a DN outside it is refused, and the members of a group are given only
// where they lie under it. Listings and group look-ups page through the
// server's answers, so that they end only at the directory's maximum number
// of results. The provider keeps its connection, bound as the directory's
// account, from one operation to the next.
class LdapProvider : public Provider {
 public:
  explicit LdapProvider(Settings settings);

  bool Enumerate(std::vector<DirEntry>& entries, std::string& error) override;
  bool EnumerateReportingCut(std::vector<DirEntry>& entries, bool& cut,
                             std::string& error) override;
  bool Lookup(const std::string& entry, DirEntry& found, std::string& error) override;
  bool Authenticate(const std::string& user, const std::string& password,
                    std::string& error) override;
  bool SetPassword(const std::string& user, const std::string& password,
                   std::string& error) override;
  bool GetDisabled(const std::string& user, int32_t& reason, std::string& error) override;
  bool SetDisabled(const std::string& user, int32_t reason, std::string& error) override;
  bool GroupsOf(const std::string& user, std::vector<std::string>& groups,
                std::string& error) override;
  bool MembersOf(const std::string& group, std::vector<std::string>& members,
                 std::string& error) override;

 private:
  // A connection bound as the directory's own account, or anonymous when
  // the directory names none (or names one without a password and does not
  // require credentials).
  std::unique_ptr<LdapConnection> Connect(std::string& error) const;
  ConnectOptions Options() const;
  // Runs `operation` (LdapConnection&, error) -> bool on the kept connection.
  template <class Operation>
  bool OnConnection(Operation&& operation, std::string& error);
  // Find (or FindKind, unless `kind` is kAnyKind) on the kept connection.
  static constexpr int32_t kAnyKind = -1;
  bool FindOnConnection(const std::string& entry, int32_t kind,
                        const std::vector<std::string>& extra, LdapEntry& found,
                        std::string& error);
  // An entry by its DN, or else a user by name through the lookup filter,
  // with the attributes that name its kind and display name and `extra`.
  bool Find(LdapConnection& connection, const std::string& entry,
            const std::vector<std::string>& extra, LdapEntry& found, std::string& error) const;
  bool FindUserByName(LdapConnection& connection, const std::string& name,
                      const std::vector<std::string>& attributes, LdapEntry& found,
                      std::string& error) const;
  // Find, and the entry must be of the given kind.
  bool FindKind(LdapConnection& connection, const std::string& entry, int32_t kind,
                const std::vector<std::string>& extra, LdapEntry& found, std::string& error) const;
  // Whether a DN lies under the search root (false for text that is no DN).
  bool UnderRoot(const std::string& dn) const;
  Scope SearchScope() const;
  // The directory's maximum number of results, or no limit.
  size_t MaxResults() const;

  Settings settings_;
  bool rootParsed_ = false;
  Dn root_;
  KeptConnection<LdapConnection> connection_;
};

}  // namespace xo::directory::ldap
