#include "sqlite/SqliteConnection.h"

#include "XoStoreCodes.h"

namespace xo::store::sqlite {

using sql::StoreError;

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

const sql::Dialect& SqliteDialect() {
  static const sql::Dialect dialect{
      .name = "sqlite",
      // Writers take the file's write lock up front and wait for it on the
      // busy timeout.
      .beginWrite = "BEGIN IMMEDIATE",
      .beginRead = "BEGIN",
      .joinTexts = "group_concat",
      .sequenceKey = "INTEGER PRIMARY KEY",
      .listSequenceColumn = "",
      .listOrder = "rowid",
      .integer = "INTEGER",
      .text = "TEXT",
      .countTables = "SELECT count(*) FROM sqlite_master",
      .sequenceAfterCopy = "",
  };
  return dialect;
}

namespace {

class SqliteStatement : public sql::Statement {
 public:
  explicit SqliteStatement(sqlite3_stmt* stmt) : stmt_(stmt) {}
  ~SqliteStatement() override { sqlite3_finalize(stmt_); }

  Statement& Bind(int index, std::string_view text) override {
    return Check(sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()),
                                   SQLITE_TRANSIENT));
  }
  Statement& Bind(int index, int64_t value) override {
    return Check(sqlite3_bind_int64(stmt_, index, value));
  }
  Statement& BindNull(int index) override { return Check(sqlite3_bind_null(stmt_, index)); }

  bool Step() override {
    const int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    throw StoreError{MapSqliteError(rc)};
  }
  void Reset() override {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }

  std::string Text(int column) const override {
    const unsigned char* text = sqlite3_column_text(stmt_, column);
    if (!text) return std::string();
    return std::string(reinterpret_cast<const char*>(text),
                       static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
  }
  int64_t Int(int column) const override { return sqlite3_column_int64(stmt_, column); }
  bool IsNull(int column) const override {
    return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
  }

 private:
  Statement& Check(int rc) {
    if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
    return *this;
  }
  sqlite3_stmt* stmt_;
};

}  // namespace

std::unique_ptr<SqliteConnection> SqliteConnection::Open(const std::string& path, bool create,
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
  std::unique_ptr<SqliteConnection> connection(new SqliteConnection(db));
  sqlite3_busy_timeout(db, 10000);
  sqlite3_extended_result_codes(db, 1);
  try {
    connection->Exec(
        "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=OFF;"
        // Each operation is a savepoint; its statement journal stays in
        // memory instead of costing a temporary file's writes on every change.
        "PRAGMA temp_store=MEMORY;"
        // A domain of 100,000 rules is a few tens of megabytes: keep its
        // pages in the connection's cache rather than copying them in from
        // the file again on every read. Pages are taken only as they are used.
        "PRAGMA cache_size=-32768");
  } catch (const StoreError& error) {
    message = "cannot use the policy store at " + path + ": " + sqlite3_errmsg(db);
    code = error.code;
    return nullptr;
  }
  code = kOk;
  return connection;
}

SqliteConnection::~SqliteConnection() {
  ForgetStatements();
  sqlite3_close(db_);
}

std::unique_ptr<sql::Statement> SqliteConnection::PrepareNew(const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  int rc = sqlite3_prepare_v3(db_, sql.c_str(), static_cast<int>(sql.size()),
                              SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
  if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
  return std::make_unique<SqliteStatement>(stmt);
}

void SqliteConnection::Exec(const std::string& sql) {
  // A single statement is prepared once: BEGIN, COMMIT and the savepoints
  // run on every operation.
  if (sql.find(';') == std::string::npos) {
    sql::Use statement(Prepare(sql));
    statement->Step();
    return;
  }
  const int rc = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) throw StoreError{MapSqliteError(rc)};
}

bool SqliteConnection::TryExec(const std::string& sql) noexcept {
  return sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

}  // namespace xo::store::sqlite
