// One database connection with its prepared statements, as the relational
// store sees it: statements, and the transactions that every store operation
// runs in. Each backend (SQLite, PostgreSQL) supplies the connection itself,
// its dialect and its error codes; the rules of when a transaction or a
// savepoint begins and ends are the same for both and live here. A
// connection serves one session (or the store's own lookups) at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "XoObjId.h"
#include "sql/Dialect.h"
#include "sql/ReadAhead.h"

namespace xo::store::sql {

// Thrown inside the store with a store result; caught at its boundary.
struct StoreError {
  int32_t code;
};

// A prepared statement. Parameters are numbered from 1 and written "?N" in
// the SQL text of every dialect; columns are numbered from 0.
class Statement {
 public:
  virtual ~Statement() = default;
  virtual Statement& Bind(int index, std::string_view text) = 0;
  virtual Statement& Bind(int index, int64_t value) = 0;
  virtual Statement& BindNull(int index) = 0;
  // True for a row, false when done; throws on error.
  virtual bool Step() = 0;
  // Makes the statement ready to run again, with no parameters bound.
  virtual void Reset() = 0;
  virtual std::string Text(int column) const = 0;
  virtual int64_t Int(int column) const = 0;
  virtual bool IsNull(int column) const = 0;
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
  Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  virtual ~Connection() = default;

  virtual const Dialect& Sql() const = 0;
  // The database's description of the last failure, for messages.
  virtual std::string LastError() const = 0;

  // A prepared statement for the SQL text, prepared once per connection.
  Statement& Prepare(const std::string& sql);
  // Runs statements without results; throws on error.
  virtual void Exec(const std::string& sql) = 0;

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

 protected:
  virtual std::unique_ptr<Statement> PrepareNew(const std::string& sql) = 0;
  // Whether a transaction is open: the database may have ended one itself.
  virtual bool InTransaction() const = 0;
  // Runs SQL when failure needs no answer: a rollback, a lock given back.
  virtual bool TryExec(const std::string& sql) noexcept = 0;
  // Drops the prepared statements, before the connection closes.
  void ForgetStatements() { statements_.clear(); }
  // Whether a transaction of the store's is open: a connection lost now
  // loses it, and must not be opened again silently.
  bool HoldsTransaction() const { return operationOpen_ || Spanning() || snapshot_; }

 private:
  std::unordered_map<std::string, std::unique_ptr<Statement>> statements_;
  bool operationOpen_ = false;
  bool operationIsSavepoint_ = false;
  bool sessionTransaction_ = false;
  bool change_ = false;
  bool snapshot_ = false;

  // A transaction that spans operations: each operation is a savepoint in it.
  bool Spanning() const { return sessionTransaction_ || change_; }
  void Begin(const std::string& begin);
};

}  // namespace xo::store::sql
