// One SQLite connection with its prepared statements. A connection serves
// one session (or the store's own lookups) at a time.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "XoObjId.h"
#include "sqlite/ReadAhead.h"

namespace xo::store::sqlite {

// Thrown inside the backend with a store result; caught at its boundary.
struct StoreError {
  int32_t code;
};

// The store result for an SQLite error code.
int32_t MapSqliteError(int rc);

class Statement {
 public:
  explicit Statement(sqlite3_stmt* stmt) : stmt_(stmt) {}
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement();

  Statement& Bind(int index, std::string_view text);
  Statement& Bind(int index, int64_t value);
  Statement& BindNull(int index);
  // True for a row, false when done; throws on error.
  bool Step();
  void Reset();
  std::string Text(int column) const;
  int64_t Int(int column) const;
  bool IsNull(int column) const;
  sqlite3_stmt* Raw() const { return stmt_; }

 private:
  sqlite3_stmt* stmt_;
};

// Resets a statement when the scope ends, so it can be reused.
class Use {
 public:
  explicit Use(Statement& statement) : statement_(statement) {}
  ~Use() { statement_.Reset(); }
  Statement* operator->() { return &statement_; }
  Statement& operator*() { return statement_; }

 private:
  Statement& statement_;
};

class Connection {
 public:
  // Opens the file; with `create` a missing file is created.
  static std::unique_ptr<Connection> Open(const std::string& path, bool create,
                                          std::string& message, int32_t& code);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  sqlite3* Db() const { return db_; }
  // A prepared statement for the SQL text, prepared once per connection.
  Statement& Prepare(const std::string& sql);
  void Exec(const char* sql);

  // Write transactions take the write lock up front. Inside a transaction
  // that the session opened itself, each operation is a savepoint instead.
  void BeginWrite();
  void BeginRead();
  void Commit();
  void Rollback();
  bool InOperation() const { return operationOpen_; }

  // A read transaction held across operations (see
  // CXoObjStore::BeginReadSnapshot). A write, or a session transaction,
  // ends it first. Failing to begin it leaves every read its own transaction.
  void BeginSnapshot() noexcept;
  void EndSnapshot() noexcept;

  void BeginSessionTransaction();
  void CommitSessionTransaction();
  void RollbackSessionTransaction();
  bool InSessionTransaction() const { return sessionTransaction_; }

  // A change that reads what it replaces (see CXoObjStore::BeginChange):
  // the write lock is taken now and held until EndChange, and the
  // operations in between are savepoints of its transaction. Inside a
  // session transaction, which holds the lock already, both do nothing.
  void BeginChange();
  void EndChange(bool keep);

  // Rows read ahead for the session's current walk over many objects.
  ReadAhead readAhead;

  // Who works on this connection, for the audit trail.
  std::string adminName;
  CXoObjId adminOid;

 private:
  explicit Connection(sqlite3* db) : db_(db) {}
  sqlite3* db_;
  std::unordered_map<std::string, std::unique_ptr<Statement>> statements_;
  bool operationOpen_ = false;
  bool operationIsSavepoint_ = false;
  bool sessionTransaction_ = false;
  bool change_ = false;
  bool snapshot_ = false;

  // A transaction that spans operations: each operation is a savepoint in it.
  bool Spanning() const { return sessionTransaction_ || change_; }
};

}  // namespace xo::store::sqlite
