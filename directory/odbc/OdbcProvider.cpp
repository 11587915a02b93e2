#include "odbc/OdbcProvider.h"

#include <limits>

#include "XoDsDir.h"
#include "XoObjClasses.h"

namespace xo::directory::odbc {
namespace {

const char* QueryName(OdbcQuery query) {
  switch (query) {
    case kEnumerate:
      return "enumerate";
    case kLookUpEntry:
      return "look up an entry";
    case kEntryKind:
      return "entry kind";
    case kAuthenticate:
      return "authenticate";
    case kGetPassword:
      return "get password";
    case kSetPassword:
      return "set password";
    case kGetDisabled:
      return "get disabled state";
    case kSetDisabled:
      return "set disabled state";
    case kGroupsOfUser:
      return "groups of a user";
    case kMembersOfGroup:
      return "members of a group";
    case kLookUpUser:
      return "look up a user";
  }
  return "unknown";
}

std::string Label(OdbcQuery query) {
  return "query " + std::to_string(static_cast<int>(query)) + " (" + QueryName(query) + ")";
}

std::string Column(const OdbcRow& row, size_t index) {
  return index < row.size() && row[index] ? *row[index] : std::string();
}

// A connection-string value in braces, so that ';' and '=' in it stay literal.
std::string Braced(const std::string& value) {
  std::string braced = "{";
  for (char c : value) {
    braced += c;
    if (c == '}') braced += '}';
  }
  return braced + "}";
}

bool SameSecret(const std::string& given, const std::string& stored) {
  if (stored.empty() || given.size() != stored.size()) return false;
  unsigned char difference = 0;
  for (size_t i = 0; i < given.size(); ++i) {
    difference |= static_cast<unsigned char>(given[i] ^ stored[i]);
  }
  return difference == 0;
}

}  // namespace

OdbcProvider::OdbcProvider(Settings settings, const CXoObjODBCQuery& queries)
    : settings_(std::move(settings)) {
  for (int query = 1; query <= kLastUsedQuery; ++query) {
    queries_[query] = queries.GetQuery(query - 1);
  }
}

std::unique_ptr<OdbcConnection> OdbcProvider::Connect(std::string& error) const {
  std::string text = settings_.server;
  if (!settings_.bindUser.empty()) {
    if (!text.empty() && text.back() != ';') text += ';';
    text += "UID=" + Braced(settings_.bindUser) + ";PWD=" + Braced(settings_.bindPassword);
  }
  return OdbcConnection::Open(text, settings_.EffectiveTimeout(), error);
}

bool OdbcProvider::HasQuery(OdbcQuery query) const { return !queries_[query].empty(); }

bool OdbcProvider::Run(OdbcConnection& connection, OdbcQuery query,
                       const std::vector<OdbcParam>& params, std::vector<OdbcRow>& rows,
                       std::string& error, int maxRows, int64_t* changed) const {
  if (!HasQuery(query)) {
    error = "the query scheme has no " + Label(query);
    return false;
  }
  if (!connection.Run(queries_[query], params, maxRows, rows, error, changed)) {
    error = Label(query) + ": " + error;
    return false;
  }
  return true;
}

bool OdbcProvider::Change(OdbcConnection& connection, OdbcQuery query,
                          const std::vector<OdbcParam>& params, std::string& error) const {
  std::vector<OdbcRow> rows;
  int64_t changed = 0;
  if (!Run(connection, query, params, rows, error, 0, &changed)) return false;
  // A driver that cannot count what it changed (-1) is not taken at its word.
  if (changed < 1) {
    error = Label(query) + " matched no row";
    return false;
  }
  return true;
}

bool OdbcProvider::Find(OdbcConnection& connection, const std::string& entry, DirEntry& found,
                        std::string& error) const {
  if (entry.empty()) {
    error = "no entry was named";
    return false;
  }
  std::vector<OdbcRow> rows;
  if (!Run(connection, kLookUpEntry, {entry}, rows, error, 1)) return false;
  if (rows.empty() && HasQuery(kLookUpUser)) {
    if (!Run(connection, kLookUpUser, {entry}, rows, error, 2)) return false;
    if (rows.size() > 1) {
      error = "more than one entry is named '" + entry + "'";
      return false;
    }
  }
  if (rows.empty()) {
    error = "no entry named '" + entry + "'";
    return false;
  }
  found.path = Column(rows.front(), 0);
  found.displayName = Column(rows.front(), 1);
  std::vector<OdbcRow> kind;
  if (!Run(connection, kEntryKind, {found.path}, kind, error, 1)) return false;
  found.kind = XoDs_Unknown;
  if (!kind.empty() && !ParseInteger(Column(kind.front(), 0), found.kind)) {
    found.kind = XoDs_Unknown;
  }
  return true;
}

bool OdbcProvider::FindKind(OdbcConnection& connection, const std::string& entry, int32_t kind,
                            DirEntry& found, std::string& error) const {
  if (!Find(connection, entry, found, error)) return false;
  if (found.kind != kind) {
    error = found.path + " is not a " + XoDsObjectClassNames[kind];
    return false;
  }
  return true;
}

bool OdbcProvider::Keys(OdbcConnection& connection, OdbcQuery query, const std::string& key,
                        std::vector<std::string>& keys, std::string& error) const {
  std::vector<OdbcRow> rows;
  if (!Run(connection, query, {key}, rows, error, settings_.maxResults)) return false;
  for (const OdbcRow& row : rows) keys.push_back(Column(row, 0));
  return true;
}

bool OdbcProvider::Enumerate(std::vector<DirEntry>& entries, std::string& error) {
  bool cut = false;
  return EnumerateReportingCut(entries, cut, error);
}

template <class Operation>
bool OdbcProvider::OnConnection(Operation&& operation, std::string& error) {
  return connection_.Use([this](std::string& failure) { return Connect(failure); }, operation,
                         error);
}

// One row more than the maximum is read, to tell whether the maximum cut
// the listing.
bool OdbcProvider::EnumerateReportingCut(std::vector<DirEntry>& entries, bool& cut,
                                         std::string& error) {
  std::vector<OdbcRow> rows;
  const int max = settings_.maxResults;
  const int limit = max <= 0 ? 0 : max == std::numeric_limits<int>::max() ? max : max + 1;
  const bool read = OnConnection(
      [&](OdbcConnection& connection, std::string& failure) {
        rows.clear();
        return Run(connection, kEnumerate, {}, rows, failure, limit);
      },
      error);
  if (!read) return false;
  cut = settings_.maxResults > 0 && rows.size() > static_cast<size_t>(settings_.maxResults);
  if (cut) rows.resize(static_cast<size_t>(settings_.maxResults));
  entries.reserve(rows.size());
  for (const OdbcRow& row : rows) {
    DirEntry& entry = entries.emplace_back();
    entry.path = Column(row, 0);
    if (!ParseInteger(Column(row, 1), entry.kind)) entry.kind = XoDs_Unknown;
    entry.displayName = Column(row, 2);
  }
  return true;
}

bool OdbcProvider::Lookup(const std::string& entry, DirEntry& found, std::string& error) {
  return OnConnection([&](OdbcConnection& connection,
                          std::string& failure) { return Find(connection, entry, found, failure); },
                      error);
}

bool OdbcProvider::Authenticate(const std::string& user, const std::string& password,
                                std::string& error) {
  if (password.empty()) {
    error = "an empty password is never accepted";
    return false;
  }
  return OnConnection(
      [&](OdbcConnection& connection, std::string& failure) {
        return CheckPassword(connection, user, password, failure);
      },
      error);
}

bool OdbcProvider::CheckPassword(OdbcConnection& connection, const std::string& user,
                                 const std::string& password, std::string& error) const {
  DirEntry found;
  if (!FindKind(connection, user, XoDs_User, found, error)) return false;
  // Fails closed: only one row, holding the whole number 1 (or the stored
  // password, when there is no authenticate query), lets a user in. Two
  // rows, an empty or NULL answer, "2", "yes" or "true" refuse.
  std::vector<OdbcRow> rows;
  bool accepted = false;
  if (HasQuery(kAuthenticate) || !HasQuery(kGetPassword)) {
    if (!Run(connection, kAuthenticate, {found.path, password}, rows, error, 2)) return false;
    int32_t answer = 0;
    accepted = rows.size() == 1 && ParseInteger(Column(rows.front(), 0), answer) && answer == 1;
  } else {
    if (!Run(connection, kGetPassword, {found.path}, rows, error, 2)) return false;
    accepted = rows.size() == 1 && SameSecret(password, Column(rows.front(), 0));
  }
  if (!accepted) error = "wrong password for " + found.path;
  return accepted;
}

bool OdbcProvider::SetPassword(const std::string& user, const std::string& password,
                               std::string& error) {
  return ChangeUser(user, kSetPassword, {password}, error);
}

bool OdbcProvider::SetDisabled(const std::string& user, int32_t reason, std::string& error) {
  return ChangeUser(user, kSetDisabled, {reason}, error);
}

bool OdbcProvider::ChangeUser(const std::string& user, OdbcQuery query,
                              std::vector<OdbcParam> params, std::string& error) {
  return OnConnection(
      [&](OdbcConnection& connection, std::string& failure) {
        DirEntry found;
        if (!FindKind(connection, user, XoDs_User, found, failure)) return false;
        std::vector<OdbcParam> withKey = params;
        withKey.push_back(found.path);
        return Change(connection, query, withKey, failure);
      },
      error);
}

bool OdbcProvider::GetDisabled(const std::string& user, int32_t& reason, std::string& error) {
  DirEntry found;
  std::vector<OdbcRow> rows;
  const bool read = OnConnection(
      [&](OdbcConnection& connection, std::string& failure) {
        rows.clear();
        return FindKind(connection, user, XoDs_User, found, failure) &&
               Run(connection, kGetDisabled, {found.path}, rows, failure, 1);
      },
      error);
  if (!read) return false;
  const std::string value = rows.empty() ? "" : Column(rows.front(), 0);
  if (value.empty()) {
    reason = 0;
    return true;
  }
  if (!ParseInteger(value, reason)) {
    error = "the disabled state of " + found.path + " is '" + value + "', not a number";
    return false;
  }
  return true;
}

bool OdbcProvider::GroupsOf(const std::string& user, std::vector<std::string>& groups,
                            std::string& error) {
  return RelatedKeys(user, XoDs_User, kGroupsOfUser, groups, error);
}

bool OdbcProvider::MembersOf(const std::string& group, std::vector<std::string>& members,
                             std::string& error) {
  return RelatedKeys(group, XoDs_UserGroup, kMembersOfGroup, members, error);
}

bool OdbcProvider::RelatedKeys(const std::string& entry, int32_t kind, OdbcQuery query,
                               std::vector<std::string>& keys, std::string& error) {
  std::vector<std::string> found;
  const bool read = OnConnection(
      [&](OdbcConnection& connection, std::string& failure) {
        found.clear();
        DirEntry hit;
        return FindKind(connection, entry, kind, hit, failure) &&
               Keys(connection, query, hit.path, found, failure);
      },
      error);
  if (read) keys.insert(keys.end(), found.begin(), found.end());
  return read;
}

}  // namespace xo::directory::odbc
