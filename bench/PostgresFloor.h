// The floor under the store's operations on PostgreSQL: the same work done
// with plain libpq on the same server, in a schema of its own, with prepared
// statements and nothing else (no rights, no audit, no objects).
#pragma once

#include <cstdint>
#include <string>

struct pg_conn;

namespace xo::bench {

class PostgresFloorTable {
 public:
  // A table of `rows` rows named DomainName(i), made on first use in this
  // process, with the same columns and indexes as FloorTable.
  explicit PostgresFloorTable(int64_t rows);
  ~PostgresFloorTable();
  PostgresFloorTable(const PostgresFloorTable&) = delete;
  PostgresFloorTable& operator=(const PostgresFloorTable&) = delete;

  // One row, committed on its own.
  bool Insert(const std::string& name);
  // The row with that name, read through the name index; false when absent.
  bool SelectByName(const std::string& name);

 private:
  pg_conn* connection_ = nullptr;
};

}  // namespace xo::bench
