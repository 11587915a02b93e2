// A connection to an SQLite store file, in WAL mode with a busy timeout, so
// that several processes can share the file.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

#include "sql/Connection.h"

namespace xo::store::sqlite {

// The store result for an SQLite error code.
int32_t MapSqliteError(int rc);

const sql::Dialect& SqliteDialect();

class SqliteConnection : public sql::Connection {
 public:
  // Opens the file; with `create` a missing file is created.
  static std::unique_ptr<SqliteConnection> Open(const std::string& path, bool create,
                                                std::string& message, int32_t& code);
  ~SqliteConnection() override;

  const sql::Dialect& Sql() const override { return SqliteDialect(); }
  std::string LastError() const override { return sqlite3_errmsg(db_); }
  void Exec(const std::string& sql) override;

 protected:
  std::unique_ptr<sql::Statement> PrepareNew(const std::string& sql) override;
  bool InTransaction() const override { return !sqlite3_get_autocommit(db_); }
  bool TryExec(const std::string& sql) noexcept override;

 private:
  explicit SqliteConnection(sqlite3* db) : db_(db) {}
  sqlite3* db_;
};

}  // namespace xo::store::sqlite
