// A connection to a PostgreSQL database that holds a policy store, through
// libpq. Statements are prepared on the server once per connection; a
// connection that the server dropped is opened again before the next
// operation, so that a session outlives a restart of the server.
#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <memory>
#include <string>

#include "sql/Connection.h"

namespace xo::store::postgres {

// The store result for a failed command: its SQLSTATE, or the state of the
// connection when the server gave none.
int32_t MapPostgresError(const PGresult* result, const PGconn* connection);

const sql::Dialect& PostgresDialect();

class PostgresConnection : public sql::Connection {
 public:
  static std::unique_ptr<PostgresConnection> Open(const std::string& uri, std::string& message,
                                                  int32_t& code);
  ~PostgresConnection() override;

  const sql::Dialect& Sql() const override { return PostgresDialect(); }
  std::string LastError() const override;
  void Exec(const std::string& sql) override;

  // Opens the connection again when the server dropped it and no
  // transaction was open on it; throws kUnavailable when it cannot.
  PGconn* Ready();
  // Counts reconnections: statements prepared before one are prepared again.
  uint64_t Generation() const { return generation_; }

 protected:
  std::unique_ptr<sql::Statement> PrepareNew(const std::string& sql) override;
  bool InTransaction() const override;
  bool TryExec(const std::string& sql) noexcept override;

 private:
  explicit PostgresConnection(PGconn* connection) : connection_(connection) {}
  void Configure();

  PGconn* connection_;
  uint64_t generation_ = 0;
  uint64_t statements_ = 0;  // names the next prepared statement
};

}  // namespace xo::store::postgres
