#include "PostgresFloor.h"

#include <libpq-fe.h>

#include <map>
#include <memory>
#include <stdexcept>

#include "support/StoreServer.h"

namespace xo::bench {
namespace {

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

Result Check(PGconn* connection, PGresult* result, const std::string& what) {
  Result owned(result, &PQclear);
  const ExecStatusType status = PQresultStatus(result);
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
    throw std::runtime_error(what + ": " + PQerrorMessage(connection));
  }
  return owned;
}

void Exec(PGconn* connection, const std::string& sql) {
  Check(connection, PQexec(connection, sql.c_str()), sql);
}

void Prepare(PGconn* connection, const char* name, const char* sql, int parameters) {
  Check(connection, PQprepare(connection, name, sql, parameters, nullptr), sql);
}

// The schema of each size's table, made once per process.
const std::string& FloorSchema(int64_t rows) {
  static std::map<int64_t, std::string> schemas;
  auto found = schemas.find(rows);
  if (found != schemas.end()) return found->second;
  std::string store = test::NewServerStore();
  std::unique_ptr<PGconn, decltype(&PQfinish)> connection(PQconnectdb(store.c_str()), &PQfinish);
  if (PQstatus(connection.get()) != CONNECTION_OK) {
    throw std::runtime_error("cannot connect to " + store + ": " +
                             PQerrorMessage(connection.get()));
  }
  Exec(connection.get(),
       "CREATE TABLE domains(oid TEXT PRIMARY KEY, name TEXT NOT NULL UNIQUE, description TEXT)");
  // The rows are filled in one statement: their names are what the
  // benchmarks look up, the identifiers only need the store's shape.
  Exec(connection.get(),
       "INSERT INTO domains SELECT '03-' || md5(i::text), 'domain-' || lpad(i::text, 6, '0'), "
       "'benchmark domain' FROM generate_series(0, " +
           std::to_string(rows - 1) + ") AS i");
  Exec(connection.get(), "ANALYZE domains");
  return schemas.emplace(rows, store).first->second;
}

}  // namespace

PostgresFloorTable::PostgresFloorTable(int64_t rows) {
  const std::string& store = FloorSchema(rows);
  connection_ = PQconnectdb(store.c_str());
  if (PQstatus(connection_) != CONNECTION_OK) {
    std::string message = PQerrorMessage(connection_);
    PQfinish(connection_);
    throw std::runtime_error("cannot connect to " + store + ": " + message);
  }
  Prepare(connection_, "insert", "INSERT INTO domains(oid, name, description) VALUES($1, $2, $3)",
          3);
  Prepare(connection_, "select", "SELECT oid, name, description FROM domains WHERE name = $1", 1);
}

PostgresFloorTable::~PostgresFloorTable() { PQfinish(connection_); }

bool PostgresFloorTable::Insert(const std::string& name) {
  const std::string oid = "03-floor-" + name;
  const char* values[] = {oid.c_str(), name.c_str(), "benchmark domain"};
  Result result(PQexecPrepared(connection_, "insert", 3, values, nullptr, nullptr, 0), &PQclear);
  return PQresultStatus(result.get()) == PGRES_COMMAND_OK;
}

bool PostgresFloorTable::SelectByName(const std::string& name) {
  const char* values[] = {name.c_str()};
  Result result(PQexecPrepared(connection_, "select", 1, values, nullptr, nullptr, 0), &PQclear);
  return PQresultStatus(result.get()) == PGRES_TUPLES_OK && PQntuples(result.get()) == 1 &&
         !PQgetisnull(result.get(), 0, 0);
}

}  // namespace xo::bench
