#include "ldap/LdapProvider.h"

#include <algorithm>
#include <cstdint>

#include "XoDsDir.h"
#include "ldap/FilterValue.h"
#include "ldap/Filters.h"

namespace xo::directory::ldap {
namespace {

// Entries asked for in one page of a paged search.
constexpr size_t kPageSize = 500;

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

// A uniqueMember value without the optional UID that may follow its DN
// ("cn=a,dc=b#'0101'B").
std::string WithoutUid(const std::string& value) {
  const size_t hash = value.rfind("#'");
  const bool uid = hash != std::string::npos && value.size() >= hash + 4 &&
                   value.compare(value.size() - 2, 2, "'B") == 0;
  return uid ? value.substr(0, hash) : value;
}

// A page no larger than a search that wants `wanted` entries needs.
int PageSizeFor(size_t wanted) { return static_cast<int>(std::min(wanted, kPageSize)); }

}  // namespace

LdapProvider::LdapProvider(Settings settings) : settings_(std::move(settings)) {
  rootParsed_ = Dn::Parse(settings_.searchRoot, root_);
}

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

size_t LdapProvider::MaxResults() const {
  return settings_.maxResults > 0 ? static_cast<size_t>(settings_.maxResults) : SIZE_MAX;
}

bool LdapProvider::UnderRoot(const std::string& dn) const {
  Dn parsed;
  return rootParsed_ && Dn::Parse(dn, parsed) && parsed.IsUnder(root_);
}

ConnectOptions LdapProvider::Options() const {
  return {settings_.server, settings_.EffectiveTimeout(), settings_.secureConnection,
          settings_.caFile};
}

std::unique_ptr<LdapConnection> LdapProvider::Connect(std::string& error) const {
  const ConnectOptions options = Options();
  const bool named = !settings_.bindUser.empty();
  if (named && settings_.bindPassword.empty() && settings_.requireCredentials) {
    error = "the directory requires credentials, but its account " + settings_.bindUser +
            " has no password";
    return nullptr;
  }
  std::unique_ptr<LdapConnection> connection = LdapConnection::Open(options, error);
  if (connection && named && !settings_.bindPassword.empty() &&
      !connection->Bind(settings_.bindUser, settings_.bindPassword, error)) {
    error = "binding as the directory's account " + settings_.bindUser + ": " + error;
    return nullptr;
  }
  return connection;
}

template <class Operation>
bool LdapProvider::OnConnection(Operation&& operation, std::string& error) {
  return connection_.Use([this](std::string& failure) { return Connect(failure); }, operation,
                         error);
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
  Dn dn;
  if (Dn::Parse(entry, dn)) {
    if (!rootParsed_ || !dn.IsUnder(root_)) {
      // Text that reads as a DN may still be a user's name, which is looked
      // up under the root.
      if (FindUserByName(connection, entry, attributes, found, error)) return true;
      error = entry + " is not under the directory's search root '" + settings_.searchRoot + "'";
      return false;
    }
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
  bool cut = false;
  return EnumerateReportingCut(entries, cut, error);
}

bool LdapProvider::EnumerateReportingCut(std::vector<DirEntry>& entries, bool& cut,
                                         std::string& error) {
  // The root holds the listing but is not part of it (unless the listing is
  // of the root alone). One entry more than the maximum tells that there are
  // more.
  const size_t limit = MaxResults();
  const bool skipRoot = settings_.scope != xo::directory::SearchScope::Base && rootParsed_;
  const size_t wanted = limit == SIZE_MAX ? SIZE_MAX : limit + 2;
  std::vector<DirEntry> listed;
  bool more = false;
  bool serverLimited = false;
  const bool searched = OnConnection(
      [&](LdapConnection& connection, std::string& failure) {
        listed.clear();
        more = false;
        return connection.SearchAll(
            settings_.searchRoot, SearchScope(), kListedEntries, DescribingAttributes(),
            PageSizeFor(wanted),
            [&](LdapEntry& hit) {
              Dn dn;
              if (skipRoot && Dn::Parse(hit.dn, dn) && dn == root_) return true;
              if (listed.size() == limit) {
                more = true;
                return false;
              }
              listed.push_back(Describe(hit));
              return true;
            },
            serverLimited, failure);
      },
      error);
  if (!searched) return false;
  cut = more || serverLimited;
  entries.insert(entries.end(), std::make_move_iterator(listed.begin()),
                 std::make_move_iterator(listed.end()));
  return true;
}

bool LdapProvider::Lookup(const std::string& entry, DirEntry& found, std::string& error) {
  LdapEntry hit;
  if (!FindOnConnection(entry, kAnyKind, {}, hit, error)) return false;
  found = Describe(hit);
  return true;
}

bool LdapProvider::FindOnConnection(const std::string& entry, int32_t kind,
                                    const std::vector<std::string>& extra, LdapEntry& found,
                                    std::string& error) {
  return OnConnection(
      [&](LdapConnection& connection, std::string& failure) {
        return kind == kAnyKind ? Find(connection, entry, extra, found, failure)
                                : FindKind(connection, entry, kind, extra, found, failure);
      },
      error);
}

bool LdapProvider::Authenticate(const std::string& user, const std::string& password,
                                std::string& error) {
  if (password.empty()) {
    error = "an empty password is never accepted";
    return false;
  }
  LdapEntry hit;
  if (!FindOnConnection(user, XoDs_User, {}, hit, error)) return false;
  // The user's bind goes over a connection of its own, which is closed
  // afterwards: the kept one stays bound as the directory's account.
  std::unique_ptr<LdapConnection> connection = LdapConnection::Open(Options(), error);
  return connection && connection->Bind(hit.dn, password, error);
}

bool LdapProvider::SetPassword(const std::string& user, const std::string& password,
                               std::string& error) {
  return OnConnection(
      [&](LdapConnection& connection, std::string& failure) {
        LdapEntry hit;
        if (!FindKind(connection, user, XoDs_User, {}, hit, failure)) return false;
        if (settings_.passwordAttr.empty()) {
          return connection.ChangePassword(hit.dn, password, failure);
        }
        return connection.Replace(hit.dn, settings_.passwordAttr, {password}, failure);
      },
      error);
}

bool LdapProvider::GetDisabled(const std::string& user, int32_t& reason, std::string& error) {
  if (settings_.disabledAttr.empty()) {
    error = "the directory names no attribute for the disabled state";
    return false;
  }
  LdapEntry hit;
  if (!FindOnConnection(user, XoDs_User, {settings_.disabledAttr}, hit, error)) return false;
  const std::string value = hit.First(settings_.disabledAttr);
  if (value.empty()) {
    reason = 0;
    return true;
  }
  if (!ParseInteger(value, reason)) {
    error = settings_.disabledAttr + " of " + hit.dn + " holds '" + value + "', not a number";
    return false;
  }
  return true;
}

bool LdapProvider::SetDisabled(const std::string& user, int32_t reason, std::string& error) {
  if (settings_.disabledAttr.empty()) {
    error = "the directory names no attribute for the disabled state";
    return false;
  }
  std::vector<std::string> values;
  if (reason != 0) values.push_back(std::to_string(reason));
  return OnConnection(
      [&](LdapConnection& connection, std::string& failure) {
        LdapEntry hit;
        return FindKind(connection, user, XoDs_User, {}, hit, failure) &&
               connection.Replace(hit.dn, settings_.disabledAttr, values, failure);
      },
      error);
}

bool LdapProvider::GroupsOf(const std::string& user, std::vector<std::string>& groups,
                            std::string& error) {
  const size_t limit = MaxResults();
  std::vector<std::string> found;
  const bool searched = OnConnection(
      [&](LdapConnection& connection, std::string& failure) {
        found.clear();
        LdapEntry hit;
        if (!FindKind(connection, user, XoDs_User, {}, hit, failure)) return false;
        const std::string dn = EscapeFilterValue(hit.dn);
        std::string filter = "(|(member=" + dn + ")(uniqueMember=" + dn + ")";
        for (const std::string& uid : hit.Values("uid")) {
          filter += "(memberUid=" + EscapeFilterValue(uid) + ")";
        }
        filter += ")";
        bool serverLimited = false;
        return connection.SearchAll(
            settings_.searchRoot, SearchScope(), filter, {"1.1"}, PageSizeFor(limit),
            [&](LdapEntry& group) {
              found.push_back(std::move(group.dn));
              return found.size() < limit;
            },
            serverLimited, failure);
      },
      error);
  if (!searched) return false;
  groups.insert(groups.end(), found.begin(), found.end());
  return true;
}

bool LdapProvider::MembersOf(const std::string& group, std::vector<std::string>& members,
                             std::string& error) {
  LdapEntry hit;
  if (!FindOnConnection(group, XoDs_UserGroup, {"member", "uniqueMember", "memberUid"}, hit,
                        error)) {
    return false;
  }
  const size_t limit = MaxResults();
  std::vector<std::string> found;
  for (const std::string& dn : hit.Values("member")) {
    if (found.size() < limit && UnderRoot(dn)) found.push_back(dn);
  }
  for (const std::string& value : hit.Values("uniqueMember")) {
    const std::string dn = WithoutUid(value);
    if (found.size() < limit && UnderRoot(dn)) found.push_back(dn);
  }
  // Posix groups name their members by uid; a uid with no entry is skipped.
  for (const std::string& uid : hit.Values("memberUid")) {
    if (found.size() == limit) break;
    LdapEntry member;
    std::string ignored;
    const bool named = OnConnection(
        [&](LdapConnection& connection, std::string& failure) {
          return FindUserByName(connection, uid, {"1.1"}, member, failure);
        },
        ignored);
    if (named) found.push_back(member.dn);
  }
  members.insert(members.end(), found.begin(), found.end());
  return true;
}

}  // namespace xo::directory::ldap
