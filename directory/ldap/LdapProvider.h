// User directories served by an LDAP server.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Provider.h"
#include "ldap/LdapConnection.h"

namespace xo::directory::ldap {

class LdapProvider : public Provider {
 public:
  explicit LdapProvider(Settings settings) : settings_(std::move(settings)) {}

  bool Enumerate(std::vector<DirEntry>& entries, std::string& error) override;
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
  // the directory has none.
  std::unique_ptr<LdapConnection> Connect(std::string& error) const;
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
  Scope SearchScope() const;

  Settings settings_;
};

}  // namespace xo::directory::ldap
