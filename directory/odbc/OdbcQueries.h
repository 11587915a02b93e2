// The fifteen query texts of an ODBC query scheme (CXoObjODBCQuery), and what
// each one is given and must answer. Parameters are bound to the query's
// '?' markers in the order listed; a query must have exactly that many
// markers. Columns are read by position, as text; their names do not matter.
//
// An entry is named by its key: any text the database keeps unique for the
// entry (a users' table's key, or "users/alice" built in the query). Keys are
// the paths that the directory reports and accepts back.
//
//  #  purpose               parameters              result columns
//  1  enumerate             none                    key, kind, display name (one row per entry)
//  2  look up an entry      key                     key, display name (no row: not there)
//  3  entry kind            key                     kind: 1 user, 2 group, 5 organisational unit
//  4  authenticate          key, password           first column non-zero when the password is
//                                                   right (e.g. SELECT count(*) ... WHERE ...)
//  5  get password          key                     the stored password; used to check a password
//                                                   only when query 4 is empty
//  6  set password          new password, key       none (an UPDATE); changing no row is a failure
//  7  get disabled state    key                     the disabled reason as an integer; NULL, empty
//                                                   or no column value reads as 0, not disabled
//  8  set disabled state    reason (integer), key   none (an UPDATE); changing no row is a failure
//  9  groups of a user      key                     group key (one row per group)
// 10  members of a group    key                     member key (one row per member)
// 11  look up a user        user name               key, display name (the name a person logs in
//                                                   with; exactly one row)
// 12-15                     reserved: leave them empty
//
// Queries 1 to 4 and 11 are needed to list and to log in (4 or 5); the rest
// only for the operations that use them.
#pragma once

namespace xo::directory::odbc {

enum OdbcQuery : int {
  kEnumerate = 1,
  kLookUpEntry = 2,
  kEntryKind = 3,
  kAuthenticate = 4,
  kGetPassword = 5,
  kSetPassword = 6,
  kGetDisabled = 7,
  kSetDisabled = 8,
  kGroupsOfUser = 9,
  kMembersOfGroup = 10,
  kLookUpUser = 11,
};

// The reserved queries after it are never run, so never loaded.
constexpr int kLastUsedQuery = kLookUpUser;

}  // namespace xo::directory::odbc
