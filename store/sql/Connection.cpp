#include "sql/Connection.h"

#include "XoStoreCodes.h"

namespace xo::store::sql {

Statement& Connection::Prepare(const std::string& sql) {
  auto found = statements_.find(sql);
  if (found != statements_.end()) return *found->second;
  std::unique_ptr<Statement> prepared = PrepareNew(sql);
  return *statements_.emplace(sql, std::move(prepared)).first->second;
}

void Connection::BeginSnapshot() noexcept {
  if (Spanning() || snapshot_ || operationOpen_) return;
  snapshot_ = TryExec(Sql().beginRead);
}

void Connection::EndSnapshot() noexcept {
  if (!snapshot_) return;
  snapshot_ = false;
  // Nothing was written: ending it is only giving the read snapshot back.
  if (InTransaction()) TryExec("ROLLBACK");
}

void Connection::Begin(const std::string& begin) {
  if (Spanning()) {
    Exec("SAVEPOINT xo_operation");
    operationIsSavepoint_ = true;
  } else {
    Exec(begin);
    operationIsSavepoint_ = false;
  }
  operationOpen_ = true;
}

void Connection::BeginWrite() {
  EndSnapshot();
  Begin(Sql().beginWrite);
}

void Connection::BeginRead() {
  if (snapshot_) return;  // the snapshot's transaction serves the read
  Begin(Sql().beginRead);
}

void Connection::Commit() {
  if (!operationOpen_) return;
  Exec(operationIsSavepoint_ ? "RELEASE SAVEPOINT xo_operation" : "COMMIT");
  operationOpen_ = false;
}

void Connection::Rollback() {
  if (!operationOpen_) return;
  operationOpen_ = false;
  if (operationIsSavepoint_) {
    TryExec("ROLLBACK TO SAVEPOINT xo_operation");
    TryExec("RELEASE SAVEPOINT xo_operation");
  } else if (InTransaction()) {
    TryExec("ROLLBACK");
  }
}

void Connection::BeginSessionTransaction() {
  if (Spanning()) throw StoreError{kTransaction};
  EndSnapshot();
  Exec(Sql().beginWrite);
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
  if (InTransaction()) Exec("ROLLBACK");
}

void Connection::BeginChange() {
  if (Spanning()) return;
  EndSnapshot();
  Exec(Sql().beginWrite);
  change_ = true;
}

void Connection::EndChange(bool keep) {
  if (!change_) return;
  change_ = false;
  if (!InTransaction()) return;  // the database gave the transaction up itself
  if (keep) {
    try {
      Exec("COMMIT");
      return;
    } catch (const StoreError&) {
      TryExec("ROLLBACK");
      throw;
    }
  }
  TryExec("ROLLBACK");
}

}  // namespace xo::store::sql
