// The interface behind CXoObjStore. The embedded SQLite store implements it;
// tests wrap it to make any chosen call fail.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "XoObjClasses.h"
#include "XoObjDict.h"
#include "XoObjStore.h"

namespace xo::store {

// What the store knows of an administrator before a session exists.
struct AdminCredentials {
  CXoObjId oid;
  std::string name;
  std::string passwordHash;
  bool directoryBound = false;
  CXoObjId userDirectory;
  CXoObjId scheme;
  int32_t flags = 0;
};

// What IsAllowed needs to decide: the session administrator's flags and
// whether the scope is a domain whose administrator list names it.
struct AdminRights {
  int32_t flags = 0;
  bool listedInScope = false;
};

// The store setting of how long a kept session may go unused, in minutes
// (0: the store keeps no sessions), and what a store without it allows.
inline const std::string kSessionIdleSetting = "session-idle-minutes";
constexpr int64_t kDefaultSessionIdleMinutes = 8 * 60;

struct AuditEntry {
  int64_t sequence = 0;
  int64_t time = 0;
  std::string admin;
  std::string operation;
  int32_t objectClass = 0;
  std::string oid;
  std::string name;
};

struct StoreInfo {
  std::string backend;
  std::string location;
  int32_t schemaVersion = 0;
  std::vector<std::pair<std::string, int64_t>> objectCounts;  // class name, count
};

class IStoreBackend {
 public:
  virtual ~IStoreBackend();

  // Sessions. Lookups by name need no session; everything else runs on the
  // connection of a begun session.
  virtual int32_t LookupAdmin(const std::string& name, AdminCredentials& out) = 0;
  virtual int32_t BeginSession(const AdminCredentials& admin, const std::string& sessionId) = 0;
  virtual int32_t EndSession(const std::string& sessionId) = 0;
  virtual int32_t ReadRights(const std::string& sessionId, const CXoObjId& scope,
                             AdminRights& out) = 0;
  // Reads a whole object, named by its identifier, on the store's own
  // connection: for what login needs before a session exists (the user
  // directory of a directory-bound administrator and its query scheme).
  virtual int32_t FetchWithoutSession(CXoObjBase& object) = 0;

  // Kept sessions (sql/KeptSessions.h), named by the digest of their token.
  // KeepSession records one for the administrator of a live session
  // (kNotSupported when the store keeps none). ResumeSession checks one and
  // notes its use, giving its administrator; one that has ended answers
  // kNoSession (unknown), kTimeout (idle too long) or kAuthFailed (its
  // administrator changed or was deleted), and is forgotten.
  virtual int32_t KeepSession(const std::string& sessionId, const std::string& tokenDigest) = 0;
  virtual int32_t ResumeSession(const std::string& tokenDigest, AdminCredentials& out) = 0;
  virtual int32_t DropKeptSession(const std::string& tokenDigest) = 0;

  // Objects.
  virtual int32_t Fetch(CXoObjBase& object, uint32_t prop, const XoPropValue* value,
                        const std::string& sessionId) = 0;
  virtual int32_t Save(CXoObjBase& object, bool overwrite, const std::string& sessionId) = 0;
  virtual int32_t Search(const CXoObjBase& templ, CXoObjIdArray& hits, uint32_t prop,
                         const XoPropValue& value, const std::string& sessionId) = 0;
  virtual int32_t SearchMultiple(const CXoObjBase& templ, CXoObjIdArray& hits,
                                 const XoObjSearchFilterList& filters,
                                 const std::string& sessionId) = 0;
  virtual int32_t Delete(const CXoObjId& id, const std::string& sessionId) = 0;
  virtual int32_t InvalidateCache(const CXoObjId& id, const CXoObjId& scope, bool flag,
                                  const std::string& sessionId) = 0;
  virtual int32_t FetchProperty(CXoObjBase& object, uint32_t prop, XoPropValue& out,
                                const std::string& sessionId) = 0;
  virtual int32_t SaveProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value,
                               const std::string& sessionId) = 0;
  // See CXoObjStore::FetchListNames.
  virtual int32_t FetchListNames(const CXoObjBase& object, uint32_t prop, CXoObjIdArray& ids,
                                 std::vector<std::string>& names, const std::string& sessionId) = 0;
  // See CXoObjStore::AddListMember and RemoveListMember.
  virtual int32_t AddListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                                const std::string& sessionId) = 0;
  virtual int32_t RemoveListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                                   const std::string& sessionId) = 0;

  // See CXoObjStore::ExpectFetches. Reading ahead is the backend's own
  // business: a backend (or a wrapper) that ignores the hint reads each
  // object when it is fetched.
  virtual void ExpectFetches(const CXoObjIdArray& ids, const std::string& sessionId);

  // See CXoObjStore::BeginReadSnapshot; a backend may ignore both.
  virtual void BeginReadSnapshot(const std::string& sessionId);
  virtual void EndReadSnapshot(const std::string& sessionId);

  // See CXoObjStore::BeginChange.
  virtual int32_t BeginChange(const std::string& sessionId) = 0;
  virtual int32_t EndChange(const std::string& sessionId, bool keep) = 0;

  // A transaction spanning several operations of one session.
  virtual int32_t BeginTransaction(const std::string& sessionId) = 0;
  virtual int32_t CommitTransaction(const std::string& sessionId) = 0;
  virtual int32_t RollbackTransaction(const std::string& sessionId) = 0;

  // The store's own records.
  virtual int32_t ReadSetting(const std::string& key, std::string& value) = 0;
  // Changes a setting, as the session's administrator (for the audit trail).
  virtual int32_t WriteSetting(const std::string& sessionId, const std::string& key,
                               const std::string& value) = 0;
  virtual int32_t ReadAudit(int64_t sinceTime, std::vector<AuditEntry>& out) = 0;
  virtual int32_t ReadInfo(StoreInfo& out) = 0;
};

// Where the store lives: "sqlite:PATH", a bare path, a PostgreSQL URI
// ("postgresql://..." or "postgres://...", whole in `path`), or the default file.
struct StoreLocation {
  std::string backend;  // "sqlite" or "postgresql"
  std::string path;
};
// Reads XO_POLICY_STORE (or the given URI when not empty).
StoreLocation ResolveLocation(const std::string& uri = "");
// The location as messages show it: a URI without its password.
std::string DisplayName(const StoreLocation& where);

// Creates a new store with its seeded objects and first administrator. Fails
// (kExists) when a store is already there.
struct NewStoreOptions {
  std::string adminName;
  std::string adminPassword;
  // Password-hashing cost for this store: "interactive" (default),
  // "moderate" or "minimum" (fast, for tests and benchmarks only).
  std::string hashCost = "interactive";
};
int32_t CreateStore(const StoreLocation& where, const NewStoreOptions& options,
                    std::string& message);

// Copies the whole store at `from`, identifiers, password hashes and audit
// trail included, into `to`: a new file, or an empty database.
int32_t CopyStore(const StoreLocation& from, const StoreLocation& to, std::string& message);

// The backend that the open store uses (null when no store is open).
IStoreBackend* CurrentBackend();

// Lets a test wrap the backend: the wrapper is applied to every backend that
// Init opens from now on, and to the one open now. Pass an empty function to
// stop wrapping new backends.
using BackendWrapper =
    std::function<std::unique_ptr<IStoreBackend>(std::unique_ptr<IStoreBackend>)>;
void SetBackendWrapper(BackendWrapper wrapper);

}  // namespace xo::store
