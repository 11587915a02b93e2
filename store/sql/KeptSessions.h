// Kept sessions: logins that outlast the process that made them, so that a
// tool can work on for its user without asking for the password again. Each
// is named by the digest of a random token that only its holder knows; the
// store keeps the digest, the administrator, when it was last used and a
// fingerprint of what the administrator was at login (name, password hash,
// directory binding, flags and domains), so that a change to any of them
// ends it.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjClasses.h"
#include "sql/Connection.h"
#include "sql/ObjectStore.h"

namespace xo::store::sql {

// The table of kept sessions, in a new store or one made before it existed.
void CreateKeptSessionTable(Connection& connection);

// Where a kept session stands when it is about to be used.
enum class KeptState {
  Live,     // in use within the idle time
  Stale,    // live, but its last use is old enough to be written again
  Unknown,  // no such token: never kept, or ended
  Idle,     // unused for longer than the store allows
  Changed,  // its administrator was changed or deleted since
};

class KeptSessions {
 public:
  KeptSessions(Connection& connection, ObjectStore& store) : db_(connection), store_(store) {}

  // The store's idle time in minutes; 0 when it keeps no sessions.
  int64_t IdleMinutes();
  // Records a kept session of the administrator, and forgets those of
  // every administrator that have been idle too long. kNotSupported when the
  // store keeps none.
  void Keep(const std::string& tokenDigest, const CXoObjId& admin);
  // Reads the session and its administrator (loaded into `admin`).
  KeptState Check(const std::string& tokenDigest, CXoObjAdmin& admin);
  void Touch(const std::string& tokenDigest);
  void Drop(const std::string& tokenDigest);

 private:
  std::string Fingerprint(const CXoObjAdmin& admin);

  Connection& db_;
  ObjectStore& store_;
};

// Writes one of the store's settings, with a line in the audit trail.
void WriteSetting(Connection& connection, ObjectStore& store, const std::string& key,
                  const std::string& value);

}  // namespace xo::store::sql
