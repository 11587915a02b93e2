// The relational store over any database that supplies connections: every
// session works on a connection of its own; every operation is one
// transaction.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "StoreBackend.h"
#include "sql/Connection.h"

namespace xo::store::sql {

// Opens another connection to the same database, for a new session.
using Connect = std::function<std::unique_ptr<Connection>(std::string& message, int32_t& code)>;

class RelationalBackend : public IStoreBackend {
 public:
  // A backend over an initialised store (see CheckInitialised), with the
  // connection for the store's own lookups; `location` names it in messages.
  RelationalBackend(std::string location, Connect connect, std::unique_ptr<Connection> control);
  ~RelationalBackend() override;

  // Whether the connection's database holds a store of this schema version.
  static int32_t CheckInitialised(Connection& connection, const std::string& location,
                                  std::string& message);
  // Makes a new store in an empty database: its schema, its seeded objects
  // and its first administrator, in one transaction. kExists when the
  // database holds tables already.
  static int32_t Initialise(Connection& connection, const std::string& location,
                            const NewStoreOptions& options, std::string& message);

  int32_t LookupAdmin(const std::string& name, AdminCredentials& out) override;
  int32_t BeginSession(const AdminCredentials& admin, const std::string& sessionId) override;
  int32_t EndSession(const std::string& sessionId) override;
  int32_t ReadRights(const std::string& sessionId, const CXoObjId& scope,
                     AdminRights& out) override;
  int32_t FetchWithoutSession(CXoObjBase& object) override;

  int32_t KeepSession(const std::string& sessionId, const std::string& tokenDigest) override;
  int32_t ResumeSession(const std::string& tokenDigest, AdminCredentials& out) override;
  int32_t DropKeptSession(const std::string& tokenDigest) override;

  int32_t Fetch(CXoObjBase& object, uint32_t prop, const XoPropValue* value,
                const std::string& sessionId) override;
  int32_t Save(CXoObjBase& object, bool overwrite, const std::string& sessionId) override;
  int32_t Search(const CXoObjBase& templ, CXoObjIdArray& hits, uint32_t prop,
                 const XoPropValue& value, const std::string& sessionId) override;
  int32_t SearchMultiple(const CXoObjBase& templ, CXoObjIdArray& hits,
                         const XoObjSearchFilterList& filters,
                         const std::string& sessionId) override;
  int32_t Delete(const CXoObjId& id, const std::string& sessionId) override;
  int32_t InvalidateCache(const CXoObjId& id, const CXoObjId& scope, bool flag,
                          const std::string& sessionId) override;
  int32_t FetchProperty(CXoObjBase& object, uint32_t prop, XoPropValue& out,
                        const std::string& sessionId) override;
  int32_t SaveProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value,
                       const std::string& sessionId) override;
  int32_t FetchListNames(const CXoObjBase& object, uint32_t prop, CXoObjIdArray& ids,
                         std::vector<std::string>& names, const std::string& sessionId) override;
  int32_t AddListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                        const std::string& sessionId) override;
  int32_t RemoveListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member,
                           const std::string& sessionId) override;

  void ExpectFetches(const CXoObjIdArray& ids, const std::string& sessionId) override;
  void BeginReadSnapshot(const std::string& sessionId) override;
  void EndReadSnapshot(const std::string& sessionId) override;

  int32_t BeginChange(const std::string& sessionId) override;
  int32_t EndChange(const std::string& sessionId, bool keep) override;

  int32_t BeginTransaction(const std::string& sessionId) override;
  int32_t CommitTransaction(const std::string& sessionId) override;
  int32_t RollbackTransaction(const std::string& sessionId) override;

  int32_t ReadSetting(const std::string& key, std::string& value) override;
  int32_t WriteSetting(const std::string& sessionId, const std::string& key,
                       const std::string& value) override;
  int32_t ReadAudit(int64_t sinceTime, std::vector<AuditEntry>& out) override;
  int32_t ReadInfo(StoreInfo& out) override;

 private:
  Connection* SessionConnection(const std::string& sessionId);

  std::string location_;
  Connect connect_;
  std::mutex mutex_;  // guards control_ and sessions_
  std::unique_ptr<Connection> control_;
  std::unordered_map<std::string, std::unique_ptr<Connection>> sessions_;
};

}  // namespace xo::store::sql
