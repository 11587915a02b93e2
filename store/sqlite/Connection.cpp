#include "sqlite/Connection.h"

#include "XoStoreCodes.h"

namespace xo::store::sqlite {

int32_t MapSqliteError(int rc) {
  switch (rc & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return kBusy;
    case SQLITE_NOMEM:
      return kOutOfMemory;
    case SQLITE_IOERR:
      return kIoError;
    case SQLITE_FULL:
      return kDiskFull;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return kCorrupt;
    case SQLITE_READONLY:
      return kReadOnly;
    case SQLITE_CONSTRAINT:
      return kConstraint;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return kUnavailable;
    case SQLITE_TOOBIG:
      return kTextTooLong;
    default:
      return kInternal;
  }
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

Statement& Statement::Bind(int index, std::string_view text) {
  int rc =
      sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
  return *this;
}

Statement& Statement::Bind(int index, int64_t value) {
  int rc = sqlite3_bind_int64(stmt_, index, value);
  if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
  return *this;
}

Statement& Statement::BindNull(int index) {
  int rc = sqlite3_bind_null(stmt_, index);
  if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
  return *this;
}

bool Statement::Step() {
  int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  throw StoreError{MapSqliteError(rc)};
}

void Statement::Reset() {
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

std::string Statement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(stmt_, column);
  if (!text) return std::string();
  return std::string(reinterpret_cast<const char*>(text),
                     static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
}

int64_t Statement::Int(int column) const { return sqlite3_column_int64(stmt_, column); }

bool Statement::IsNull(int column) const {
  return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

std::unique_ptr<Connection> Connection::Open(const std::string& path, bool create,
                                             std::string& message, int32_t& code) {
  sqlite3* db = nullptr;
  int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
  int rc = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
  if (rc != SQLITE_OK) {
    message = "cannot open the policy store at " + path + ": " +
              (db ? sqlite3_errmsg(db) : sqlite3_errstr(rc));
    code = MapSqliteError(rc);
    sqlite3_close(db);
    return nullptr;
  }
  std::unique_ptr<Connection> connection(new Connection(db));
  sqlite3_busy_timeout(db, 10000);
  sqlite3_extended_result_codes(db, 1);
  try {
    connection->Exec("PRAGMA journal_mode=WAL");
    connection->Exec("PRAGMA synchronous=FULL");
    connection->Exec("PRAGMA foreign_keys=OFF");
    // Each operation is a savepoint; its statement journal stays in memory
    // instead of costing a temporary file's writes on every change.
    connection->Exec("PRAGMA temp_store=MEMORY");
    // A domain of 100,000 rules is a few tens of megabytes: keep its pages in
    // the connection's cache rather than copying them in from the file again
    // on every read. Pages are taken only as they are used.
    connection->Exec("PRAGMA cache_size=-32768");
  } catch (const StoreError& error) {
    message = "cannot use the policy store at " + path + ": " + sqlite3_errmsg(db);
    code = error.code;
    return nullptr;
  }
  code = kOk;
  return connection;
}

Connection::~Connection() {
  statements_.clear();
  sqlite3_close(db_);
}

Statement& Connection::Prepare(const std::string& sql) {
  auto found = statements_.find(sql);
  if (found != statements_.end()) return *found->second;
  sqlite3_stmt* stmt = nullptr;
  int rc = sqlite3_prepare_v3(db_, sql.c_str(), static_cast<int>(sql.size()),
                              SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
  if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
  auto inserted = statements_.emplace(sql, std::make_unique<Statement>(stmt));
  return *inserted.first->second;
}

void Connection::Exec(const char* sql) {
  int rc = sqlite3_exec(db_, sql, nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
}

void Connection::BeginSnapshot() noexcept {
  if (Spanning() || snapshot_ || operationOpen_) return;
  snapshot_ = sqlite3_exec(db_, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
}

void Connection::EndSnapshot() noexcept {
  if (!snapshot_) return;
  snapshot_ = false;
  // Nothing was written: ending it is only giving the read lock back.
  if (!sqlite3_get_autocommit(db_)) sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
}

void Connection::BeginWrite() {
  EndSnapshot();
  if (Spanning()) {
    Use savepoint(Prepare("SAVEPOINT xo_operation"));
    savepoint->Step();
    operationIsSavepoint_ = true;
  } else {
    Use begin(Prepare("BEGIN IMMEDIATE"));
    begin->Step();
    operationIsSavepoint_ = false;
  }
  operationOpen_ = true;
}

void Connection::BeginRead() {
  if (snapshot_) return;  // the snapshot's transaction serves the read
  if (Spanning()) {
    Use savepoint(Prepare("SAVEPOINT xo_operation"));
    savepoint->Step();
    operationIsSavepoint_ = true;
  } else {
    Use begin(Prepare("BEGIN"));
    begin->Step();
    operationIsSavepoint_ = false;
  }
  operationOpen_ = true;
}

void Connection::Commit() {
  if (!operationOpen_) return;
  Use commit(Prepare(operationIsSavepoint_ ? "RELEASE xo_operation" : "COMMIT"));
  commit->Step();
  operationOpen_ = false;
}

void Connection::Rollback() {
  if (!operationOpen_) return;
  operationOpen_ = false;
  if (operationIsSavepoint_) {
    sqlite3_exec(db_, "ROLLBACK TO xo_operation; RELEASE xo_operation", nullptr, nullptr, nullptr);
  } else if (!sqlite3_get_autocommit(db_)) {
    sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void Connection::BeginSessionTransaction() {
  if (Spanning()) throw StoreError{kTransaction};
  EndSnapshot();
  Exec("BEGIN IMMEDIATE");
  sessionTransaction_ = true;
}

void Connection::CommitSessionTransaction() {
  if (!sessionTransaction_) throw StoreError{kTransaction};
  Exec("COMMIT");
  sessionTransaction_ = false;
}

void Connection::RollbackSessionTransaction() {
  if (!sessionTransaction_) throw StoreError{kTransaction};
  sessionTransaction_ = false;
  if (!sqlite3_get_autocommit(db_)) Exec("ROLLBACK");
}

void Connection::BeginChange() {
  if (Spanning()) return;
  EndSnapshot();
  Exec("BEGIN IMMEDIATE");
  change_ = true;
}

void Connection::EndChange(bool keep) {
  if (!change_) return;
  change_ = false;
  if (sqlite3_get_autocommit(db_)) return;  // SQLite gave the transaction up itself
  if (keep) {
    const int rc = sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr);
    if (rc == SQLITE_OK) return;
    sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
    throw StoreError{MapSqliteError(rc)};
  }
  sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
}

}  // namespace xo::store::sqlite
