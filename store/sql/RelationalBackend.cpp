#include "sql/RelationalBackend.h"

#include <new>

#include "XoAdmSession.h"
#include "XoStoreCodes.h"
#include "platform/Clock.h"
#include "sql/KeptSessions.h"
#include "sql/ObjectStore.h"
#include "sql/Schema.h"
#include "sql/Seed.h"

namespace xo::store::sql {
namespace {

enum class Mode {
  Single,  // one statement: its own snapshot is enough
  Read,    // several statements that must see one snapshot
  Write,   // takes the write lock up front
};

template <typename Work>
int32_t Run(Connection* connection, Mode mode, Work work) {
  if (!connection) return kNoSession;
  try {
    if (mode == Mode::Write) {
      connection->readAhead.Clear();  // what was read ahead may be about to change
      connection->BeginWrite();
    }
    if (mode == Mode::Read) connection->BeginRead();
    ObjectStore store(*connection);
    work(store);
    connection->Commit();
    return kOk;
  } catch (const StoreError& error) {
    connection->Rollback();
    return error.code;
  } catch (const std::bad_alloc&) {
    connection->Rollback();
    return kOutOfMemory;
  } catch (...) {
    connection->Rollback();
    return kInternal;
  }
}

AdminCredentials CredentialsOf(const CXoObjAdmin& admin) {
  AdminCredentials out;
  out.oid = admin.GetOid();
  out.name = admin.GetName();
  out.passwordHash = admin.GetAdminText();
  out.directoryBound = admin.GetDirectoryBound();
  out.userDirectory = admin.GetUserDirectoryOid();
  out.scheme = admin.GetSchemeOid();
  out.flags = admin.GetFlags();
  return out;
}

}  // namespace

RelationalBackend::RelationalBackend(std::string location, Connect connect,
                                     std::unique_ptr<Connection> control)
    : location_(std::move(location)), connect_(std::move(connect)), control_(std::move(control)) {
  control_->adminName = "(store)";
}

RelationalBackend::~RelationalBackend() = default;

int32_t RelationalBackend::CheckInitialised(Connection& connection, const std::string& location,
                                            std::string& message) {
  try {
    Use version(connection.Prepare("SELECT value FROM xo_meta WHERE key = 'schema_version'"));
    if (!version->Step()) {
      message = location + " is not an initialised policy store";
      return kNotInitialised;
    }
    if (version->Text(0) == "1") {
      version->Reset();
      try {
        UpgradeSchema(connection);
      } catch (const StoreError& error) {
        message = "cannot upgrade the policy store at " + location + " to schema version " +
                  std::to_string(kSchemaVersion) + ": " + connection.LastError();
        return error.code;
      }
      return kOk;
    }
    if (version->Text(0) != std::to_string(kSchemaVersion)) {
      message = location + " has schema version " + version->Text(0) + ", this library reads " +
                std::to_string(kSchemaVersion);
      return kSchemaMismatch;
    }
    return kOk;
  } catch (const StoreError& error) {
    message = location + " is not an initialised policy store (" + connection.LastError() + ")";
    return error.code == kInternal ? kNotInitialised : error.code;
  }
}

int32_t RelationalBackend::Initialise(Connection& connection, const std::string& location,
                                      const NewStoreOptions& options, std::string& message) {
  connection.adminName = "(init)";
  try {
    connection.Exec(connection.Sql().beginWrite);
    Use tables(connection.Prepare(connection.Sql().countTables));
    if (tables->Step() && tables->Int(0) > 0) {
      connection.Exec("ROLLBACK");
      message = "a policy store already exists at " + location + "; it was left untouched";
      return kExists;
    }
  } catch (const StoreError& error) {
    message = "cannot create the policy store at " + location + ": " + connection.LastError();
    return error.code;
  }
  try {
    CreateSchema(connection);
    ObjectStore store(connection);
    SeedStore(store, options, HashPassword(options.adminPassword, options.hashCost));
    Use meta(connection.Prepare("INSERT INTO xo_meta (key, value) VALUES (?1, ?2)"));
    const std::pair<std::string, std::string> settings[] = {
        {"schema_version", std::to_string(kSchemaVersion)},
        {"hash-cost", options.hashCost},
        {"created", std::to_string(platform::NowSeconds())}};
    for (const auto& [key, value] : settings) {
      meta->Reset();
      meta->Bind(1, key).Bind(2, value);
      meta->Step();
    }
    connection.Exec("COMMIT");
  } catch (const StoreError& error) {
    message = "cannot initialise the policy store at " + location + ": " + connection.LastError();
    try {
      connection.Exec("ROLLBACK");
    } catch (const StoreError&) {
      // The database ended the transaction itself.
    }
    return error.code;
  }
  message = "created a policy store at " + location;
  return kOk;
}

Connection* RelationalBackend::SessionConnection(const std::string& sessionId) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = sessions_.find(sessionId);
  return found == sessions_.end() ? nullptr : found->second.get();
}

int32_t RelationalBackend::LookupAdmin(const std::string& name, AdminCredentials& out) {
  std::lock_guard<std::mutex> lock(mutex_);
  return Run(control_.get(), Mode::Read, [&](ObjectStore& store) {
    const CXoObjDictProp& dict = *CXoObjDictProp::ForClass(XoObjId_Admin);
    CXoObjIdArray hits = store.Search(CXoObjAdmin(), {{dict.Find(CXoObjAdmin::Name), name}});
    if (hits.size() != 1) throw StoreError{kNotFound};
    CXoObjAdmin admin(hits.front());
    store.Load(admin);
    out = CredentialsOf(admin);
  });
}

int32_t RelationalBackend::KeepSession(const std::string& sessionId,
                                       const std::string& tokenDigest) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Write, [&](ObjectStore& store) {
    KeptSessions(*connection, store).Keep(tokenDigest, connection->adminOid);
  });
}

// Read first, as most uses find the session live and recently noted; only
// an ended session or an old last use is written.
int32_t RelationalBackend::ResumeSession(const std::string& tokenDigest, AdminCredentials& out) {
  std::lock_guard<std::mutex> lock(mutex_);
  KeptState state = KeptState::Unknown;
  CXoObjAdmin admin;
  int32_t result = Run(control_.get(), Mode::Read, [&](ObjectStore& store) {
    state = KeptSessions(*control_, store).Check(tokenDigest, admin);
  });
  if (Failed(result) || state == KeptState::Unknown) return Failed(result) ? result : kNoSession;
  if (state != KeptState::Live) {
    result = Run(control_.get(), Mode::Write, [&](ObjectStore& store) {
      KeptSessions kept(*control_, store);
      if (state == KeptState::Stale) {
        kept.Touch(tokenDigest);
      } else {
        kept.Drop(tokenDigest);
      }
    });
    if (Failed(result)) return result;
    if (state == KeptState::Idle) return kTimeout;
    if (state == KeptState::Changed) return kAuthFailed;
  }
  out = CredentialsOf(admin);
  return kOk;
}

int32_t RelationalBackend::DropKeptSession(const std::string& tokenDigest) {
  std::lock_guard<std::mutex> lock(mutex_);
  return Run(control_.get(), Mode::Write,
             [&](ObjectStore& store) { KeptSessions(*control_, store).Drop(tokenDigest); });
}

int32_t RelationalBackend::BeginSession(const AdminCredentials& admin,
                                        const std::string& sessionId) {
  std::string message;
  int32_t code = kOk;
  std::unique_ptr<Connection> connection = connect_(message, code);
  if (!connection) return code;
  connection->adminName = admin.name;
  connection->adminOid = admin.oid;
  std::lock_guard<std::mutex> lock(mutex_);
  if (!sessions_.emplace(sessionId, std::move(connection)).second) return kExists;
  return kOk;
}

int32_t RelationalBackend::EndSession(const std::string& sessionId) {
  std::unique_ptr<Connection> ended;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = sessions_.find(sessionId);
    if (found == sessions_.end()) return kNoSession;
    ended = std::move(found->second);
    sessions_.erase(found);
  }
  if (ended->InSessionTransaction()) {
    try {
      ended->RollbackSessionTransaction();
    } catch (const StoreError&) {
      // The connection closes below, which drops the transaction anyway.
    }
  }
  return kOk;
}

int32_t RelationalBackend::ReadRights(const std::string& sessionId, const CXoObjId& scope,
                                      AdminRights& out) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Single, [&](ObjectStore&) {
    static const std::string select = [] {
      const CXoObjDictProp& admin = *CXoObjDictProp::ForClass(XoObjId_Admin);
      return "SELECT " + ColumnName(*admin.Find(CXoObjAdmin::AdminFlags)) +
             ", EXISTS (SELECT 1 FROM xo_list WHERE owner = ?2 AND prop = " +
             std::to_string(CXoObjDomain::Admins) + " AND member = ?1) FROM " + admin.Table() +
             " WHERE oid = ?1";
    }();
    Use rights(connection->Prepare(select));
    rights->Bind(1, connection->adminOid.GetOidString()).Bind(2, scope.GetOidString());
    out = AdminRights{};
    if (rights->Step()) {
      out.flags = static_cast<int32_t>(rights->Int(0));
      out.listedInScope = rights->Int(1) != 0;
    }
  });
}

int32_t RelationalBackend::FetchWithoutSession(CXoObjBase& object) {
  std::lock_guard<std::mutex> lock(mutex_);
  return Run(control_.get(), Mode::Single, [&](ObjectStore& store) { store.Load(object); });
}

int32_t RelationalBackend::Fetch(CXoObjBase& object, uint32_t prop, const XoPropValue* value,
                                 const std::string& sessionId) {
  if (prop == 0 && !value) {
    Connection* connection = SessionConnection(sessionId);
    return Run(connection, Mode::Single, [&](ObjectStore& store) {
      if (!connection->readAhead.Active() || !connection->readAhead.Serve(object, store)) {
        store.Load(object);
      }
    });
  }
  return Run(SessionConnection(sessionId), Mode::Read, [&](ObjectStore& store) {
    if (!value) throw StoreError{kInvalidArgument};
    const XoPropDef& def = ObjectStore::Property(object.Dict(), prop);
    CXoObjIdArray hits = store.Search(object, {{&def, ObjectStore::SearchText(def, *value)}});
    if (hits.empty()) throw StoreError{kNotFound};
    object.SetOid(hits.front());
    store.Load(object);
  });
}

int32_t RelationalBackend::Save(CXoObjBase& object, bool overwrite, const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Write,
             [&](ObjectStore& store) { store.Save(object, overwrite); });
}

int32_t RelationalBackend::Search(const CXoObjBase& templ, CXoObjIdArray& hits, uint32_t prop,
                                  const XoPropValue& value, const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Single, [&](ObjectStore& store) {
    const XoPropDef& def = ObjectStore::Property(templ.Dict(), prop);
    hits = store.Search(templ, {{&def, ObjectStore::SearchText(def, value)}});
  });
}

int32_t RelationalBackend::SearchMultiple(const CXoObjBase& templ, CXoObjIdArray& hits,
                                          const XoObjSearchFilterList& filters,
                                          const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Single, [&](ObjectStore& store) {
    std::vector<Filter> resolved;
    for (const XoObjSearchFilter_s& filter : filters) {
      resolved.emplace_back(&ObjectStore::Property(templ.Dict(), filter.prop), filter.value);
    }
    hits = store.Search(templ, std::move(resolved));
  });
}

int32_t RelationalBackend::Delete(const CXoObjId& id, const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Write,
             [&](ObjectStore& store) { store.Remove(id); });
}

// The store keeps no object cache of its own: every reader reads committed
// data, and every change is already in the audit trail. Invalidation only
// checks that the object is there.
int32_t RelationalBackend::InvalidateCache(const CXoObjId& id, const CXoObjId& scope, bool,
                                           const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Single, [&](ObjectStore& store) {
    if (!store.Exists(id)) throw StoreError{kNotFound};
    (void)scope;
  });
}

int32_t RelationalBackend::FetchProperty(CXoObjBase& object, uint32_t prop, XoPropValue& out,
                                         const std::string& sessionId) {
  Connection* connection = SessionConnection(sessionId);
  if (connection && connection->readAhead.Active()) {
    // A walk reading one column of each object (a name) takes it from the
    // row read ahead.
    const XoPropDef* def = object.Dict().Find(prop);
    if (def && def->storage == XoPropStorage::Column) {
      CXoObjBase row(object.GetClass(), object.GetOid());
      bool served = false;
      const int32_t result = Run(connection, Mode::Single, [&](ObjectStore& store) {
        served = connection->readAhead.Serve(row, store);
      });
      if (result != kOk) return result;
      if (served) {
        out = row.Get(prop);
        return kOk;
      }
    }
  }
  return Run(connection, Mode::Read,
             [&](ObjectStore& store) { out = store.ReadProperty(object, prop); });
}

void RelationalBackend::BeginReadSnapshot(const std::string& sessionId) {
  if (Connection* connection = SessionConnection(sessionId)) connection->BeginSnapshot();
}

void RelationalBackend::EndReadSnapshot(const std::string& sessionId) {
  if (Connection* connection = SessionConnection(sessionId)) connection->EndSnapshot();
}

void RelationalBackend::ExpectFetches(const CXoObjIdArray& ids, const std::string& sessionId) {
  if (Connection* connection = SessionConnection(sessionId)) {
    try {
      connection->readAhead.Expect(ids);
    } catch (const std::bad_alloc&) {
      connection->readAhead.Clear();  // no room to read ahead: read as fetched
    }
  }
}

int32_t RelationalBackend::SaveProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value,
                                        const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Write,
             [&](ObjectStore& store) { store.WriteProperty(id, prop, value); });
}

int32_t RelationalBackend::FetchListNames(const CXoObjBase& object, uint32_t prop,
                                          CXoObjIdArray& ids, std::vector<std::string>& names,
                                          const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Read,
             [&](ObjectStore& store) { store.ReadListNames(object, prop, ids, names); });
}

int32_t RelationalBackend::AddListMember(const CXoObjId& owner, uint32_t prop,
                                         const CXoObjId& member, const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Write,
             [&](ObjectStore& store) { store.AddListMember(owner, prop, member); });
}

int32_t RelationalBackend::RemoveListMember(const CXoObjId& owner, uint32_t prop,
                                            const CXoObjId& member, const std::string& sessionId) {
  return Run(SessionConnection(sessionId), Mode::Write,
             [&](ObjectStore& store) { store.RemoveListMember(owner, prop, member); });
}

int32_t RelationalBackend::BeginChange(const std::string& sessionId) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Single, [&](ObjectStore&) {
    connection->readAhead.Clear();
    connection->BeginChange();
  });
}

int32_t RelationalBackend::EndChange(const std::string& sessionId, bool keep) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Single, [&](ObjectStore&) {
    connection->readAhead.Clear();
    connection->EndChange(keep);
  });
}

int32_t RelationalBackend::BeginTransaction(const std::string& sessionId) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Single, [&](ObjectStore&) {
    connection->readAhead.Clear();
    connection->BeginSessionTransaction();
  });
}

int32_t RelationalBackend::CommitTransaction(const std::string& sessionId) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Single, [&](ObjectStore&) {
    connection->readAhead.Clear();
    connection->CommitSessionTransaction();
  });
}

int32_t RelationalBackend::RollbackTransaction(const std::string& sessionId) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Single, [&](ObjectStore&) {
    connection->readAhead.Clear();
    connection->RollbackSessionTransaction();
  });
}

int32_t RelationalBackend::ReadSetting(const std::string& key, std::string& value) {
  std::lock_guard<std::mutex> lock(mutex_);
  return Run(control_.get(), Mode::Single, [&](ObjectStore&) {
    Use select(control_->Prepare("SELECT value FROM xo_meta WHERE key = ?1"));
    select->Bind(1, key);
    if (!select->Step()) throw StoreError{kNotFound};
    value = select->Text(0);
  });
}

int32_t RelationalBackend::WriteSetting(const std::string& sessionId, const std::string& key,
                                        const std::string& value) {
  Connection* connection = SessionConnection(sessionId);
  return Run(connection, Mode::Write,
             [&](ObjectStore& store) { sql::WriteSetting(*connection, store, key, value); });
}

int32_t RelationalBackend::ReadAudit(int64_t sinceTime, std::vector<AuditEntry>& out) {
  std::lock_guard<std::mutex> lock(mutex_);
  return Run(control_.get(), Mode::Single, [&](ObjectStore&) {
    Use select(control_->Prepare(
        "SELECT seq, time, admin, operation, class, oid, name FROM xo_audit WHERE time >= ?1 "
        "ORDER BY seq"));
    select->Bind(1, sinceTime);
    out.clear();
    while (select->Step()) {
      out.push_back({select->Int(0), select->Int(1), select->Text(2), select->Text(3),
                     static_cast<int32_t>(select->Int(4)), select->Text(5), select->Text(6)});
    }
  });
}

int32_t RelationalBackend::ReadInfo(StoreInfo& out) {
  std::lock_guard<std::mutex> lock(mutex_);
  return Run(control_.get(), Mode::Read, [&](ObjectStore&) {
    out = StoreInfo{};
    out.backend = control_->Sql().name;
    out.location = location_;
    out.schemaVersion = kSchemaVersion;
    for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
      Use count(control_->Prepare("SELECT count(*) FROM " + std::string(dict->Table())));
      count->Step();
      out.objectCounts.emplace_back(dict->ClassName(), count->Int(0));
    }
  });
}

}  // namespace xo::store::sql
