#include "ldap/LdapProvider.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

#include "XoDsDir.h"
#include "ldap/Filters.h"

namespace xo::directory::ldap {
namespace {

const std::vector<std::string>& DescribingAttributes() {
  static const std::vector<std::string> kAttributes = {"objectClass", "displayName", "cn",
                                                       "ou",          "o",           "uid"};
  return kAttributes;
}

std::vector<std::string> With(std::vector<std::string> attributes,
                              const std::vector<std::string>& extra) {
  attributes.insert(attributes.end(), extra.begin(), extra.end());
  return attributes;
}

std::string DisplayName(const LdapEntry& entry) {
  for (const char* attribute : {"displayName", "cn", "ou", "o", "uid"}) {
    std::string value = entry.First(attribute);
    if (!value.empty()) return value;
  }
  return entry.dn;
}

DirEntry Describe(const LdapEntry& entry) {
  return {entry.dn, KindOf(entry.Values("objectClass")), DisplayName(entry)};
}

bool SameDn(const std::string& a, const std::string& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
           return std::tolower(x) == std::tolower(y);
         });
}

}  // namespace

Scope LdapProvider::SearchScope() const {
  switch (settings_.scope) {
    case xo::directory::SearchScope::Base:
      return Scope::Base;
    case xo::directory::SearchScope::OneLevel:
      return Scope::OneLevel;
    case xo::directory::SearchScope::Subtree:
      break;
  }
  return Scope::Subtree;
}

std::unique_ptr<LdapConnection> LdapProvider::Connect(std::string& error) const {
  ConnectOptions options{settings_.server, settings_.EffectiveTimeout(),
                         settings_.secureConnection};
  std::unique_ptr<LdapConnection> connection = LdapConnection::Open(options, error);
  if (connection && !settings_.bindUser.empty() &&
      !connection->Bind(settings_.bindUser, settings_.bindPassword, error)) {
    error = "binding as the directory's account " + settings_.bindUser + ": " + error;
    return nullptr;
  }
  return connection;
}

bool LdapProvider::FindUserByName(LdapConnection& connection, const std::string& name,
                                  const std::vector<std::string>& attributes, LdapEntry& found,
                                  std::string& error) const {
  const bool noFilter = settings_.lookupStart.empty() && settings_.lookupEnd.empty();
  const std::string filter =
      noFilter ? "(uid=" + EscapeFilterValue(name) + ")"
               : settings_.lookupStart + EscapeFilterValue(name) + settings_.lookupEnd;
  std::vector<LdapEntry> hits;
  if (!connection.Search(settings_.searchRoot, SearchScope(), filter, attributes, 2, hits, error)) {
    return false;
  }
  if (hits.size() != 1) {
    error = hits.empty() ? "no entry named '" + name + "'"
                         : "more than one entry is named '" + name + "'";
    return false;
  }
  found = std::move(hits.front());
  return true;
}

bool LdapProvider::Find(LdapConnection& connection, const std::string& entry,
                        const std::vector<std::string>& extra, LdapEntry& found,
                        std::string& error) const {
  if (entry.empty()) {
    error = "no entry was named";
    return false;
  }
  const std::vector<std::string> attributes = With(DescribingAttributes(), extra);
  if (LdapConnection::IsDn(entry)) {
    std::vector<LdapEntry> hits;
    if (!connection.Search(entry, Scope::Base, "(objectClass=*)", attributes, 1, hits, error)) {
      return false;
    }
    if (!hits.empty()) {
      found = std::move(hits.front());
      return true;
    }
  }
  return FindUserByName(connection, entry, attributes, found, error);
}

bool LdapProvider::FindKind(LdapConnection& connection, const std::string& entry, int32_t kind,
                            const std::vector<std::string>& extra, LdapEntry& found,
                            std::string& error) const {
  if (!Find(connection, entry, extra, found, error)) return false;
  if (KindOf(found.Values("objectClass")) != kind) {
    error = found.dn + " is not a " + XoDsObjectClassNames[kind];
    return false;
  }
  return true;
}

bool LdapProvider::Enumerate(std::vector<DirEntry>& entries, std::string& error) {
  std::unique_ptr<LdapConnection> connection = Connect(error);
  if (!connection) return false;
  // The root holds the listing but is not part of it; a subtree search may
  // return it, so the server is asked for one more than the limit.
  const size_t limit =
      settings_.maxResults > 0 ? static_cast<size_t>(settings_.maxResults) : SIZE_MAX;
  const int sizeLimit =
      settings_.maxResults > 0 && settings_.maxResults < INT32_MAX ? settings_.maxResults + 1 : 0;
  std::vector<LdapEntry> hits;
  if (!connection->Search(settings_.searchRoot, SearchScope(), kListedEntries,
                          DescribingAttributes(), sizeLimit, hits, error)) {
    return false;
  }
  entries.reserve(hits.size());
  for (const LdapEntry& hit : hits) {
    if (entries.size() == limit) break;
    if (settings_.scope != xo::directory::SearchScope::Base &&
        SameDn(hit.dn, settings_.searchRoot)) {
      continue;
    }
    entries.push_back(Describe(hit));
  }
  return true;
}

bool LdapProvider::Lookup(const std::string& entry, DirEntry& found, std::string& error) {
  std::unique_ptr<LdapConnection> connection = Connect(error);
  LdapEntry hit;
  if (!connection || !Find(*connection, entry, {}, hit, error)) return false;
  found = Describe(hit);
  return true;
}

bool LdapProvider::Authenticate(const std::string& user, const std::string& password,
                                std::string& error) {
  if (password.empty()) {
    error = "an empty password is never accepted";
    return false;
  }
  std::unique_ptr<LdapConnection> connection = Connect(error);
  LdapEntry hit;
  if (!connection || !FindKind(*connection, user, XoDs_User, {}, hit, error)) return false;
  return connection->Bind(hit.dn, password, error);
}

bool LdapProvider::SetPassword(const std::string& user, const std::string& password,
                               std::string& error) {
  std::unique_ptr<LdapConnection> connection = Connect(error);
  LdapEntry hit;
  if (!connection || !FindKind(*connection, user, XoDs_User, {}, hit, error)) return false;
  if (settings_.passwordAttr.empty()) return connection->ChangePassword(hit.dn, password, error);
  return connection->Replace(hit.dn, settings_.passwordAttr, {password}, error);
}

bool LdapProvider::GetDisabled(const std::string& user, int32_t& reason, std::string& error) {
  if (settings_.disabledAttr.empty()) {
    error = "the directory names no attribute for the disabled state";
    return false;
  }
  std::unique_ptr<LdapConnection> connection = Connect(error);
  LdapEntry hit;
  if (!connection ||
      !FindKind(*connection, user, XoDs_User, {settings_.disabledAttr}, hit, error)) {
    return false;
  }
  const std::string value = hit.First(settings_.disabledAttr);
  if (value.empty()) {
    reason = 0;
    return true;
  }
  int32_t parsed = 0;
  if (!ParseInteger(value, parsed)) {
    error = settings_.disabledAttr + " of " + hit.dn + " holds '" + value + "', not a number";
    return false;
  }
  reason = parsed;
  return true;
}

bool LdapProvider::SetDisabled(const std::string& user, int32_t reason, std::string& error) {
  if (settings_.disabledAttr.empty()) {
    error = "the directory names no attribute for the disabled state";
    return false;
  }
  std::unique_ptr<LdapConnection> connection = Connect(error);
  LdapEntry hit;
  if (!connection || !FindKind(*connection, user, XoDs_User, {}, hit, error)) return false;
  std::vector<std::string> values;
  if (reason != 0) values.push_back(std::to_string(reason));
  return connection->Replace(hit.dn, settings_.disabledAttr, values, error);
}

bool LdapProvider::GroupsOf(const std::string& user, std::vector<std::string>& groups,
                            std::string& error) {
  std::unique_ptr<LdapConnection> connection = Connect(error);
  LdapEntry hit;
  if (!connection || !FindKind(*connection, user, XoDs_User, {}, hit, error)) return false;
  const std::string dn = EscapeFilterValue(hit.dn);
  std::string filter = "(|(member=" + dn + ")(uniqueMember=" + dn + ")";
  for (const std::string& uid : hit.Values("uid")) {
    filter += "(memberUid=" + EscapeFilterValue(uid) + ")";
  }
  filter += ")";
  std::vector<LdapEntry> found;
  if (!connection->Search(settings_.searchRoot, SearchScope(), filter, {"1.1"},
                          settings_.maxResults, found, error)) {
    return false;
  }
  for (const LdapEntry& group : found) groups.push_back(group.dn);
  return true;
}

bool LdapProvider::MembersOf(const std::string& group, std::vector<std::string>& members,
                             std::string& error) {
  std::unique_ptr<LdapConnection> connection = Connect(error);
  LdapEntry hit;
  if (!connection || !FindKind(*connection, group, XoDs_UserGroup,
                               {"member", "uniqueMember", "memberUid"}, hit, error)) {
    return false;
  }
  for (const char* attribute : {"member", "uniqueMember"}) {
    for (const std::string& dn : hit.Values(attribute)) members.push_back(dn);
  }
  // Posix groups name their members by uid; a uid with no entry is skipped.
  for (const std::string& uid : hit.Values("memberUid")) {
    LdapEntry member;
    std::string ignored;
    if (FindUserByName(*connection, uid, {"1.1"}, member, ignored)) members.push_back(member.dn);
  }
  return true;
}

}  // namespace xo::directory::ldap
