// The floor under the store's operations: the same kind of work done with
// plain SQLite on a table of the same size, with the store's journal mode and
// synchronous setting, and nothing else (no rights, no audit, no objects).
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace xo::bench {

class FloorTable {
 public:
  // Opens (making on first use) a table of `rows` rows named DomainName(i).
  explicit FloorTable(int64_t rows);
  ~FloorTable();
  FloorTable(const FloorTable&) = delete;
  FloorTable& operator=(const FloorTable&) = delete;

  // One row; outside an explicit transaction it is committed on its own.
  bool Insert(const std::string& name);
  // The row with that name, read through the name index; false when absent.
  bool SelectByName(const std::string& name);

 private:
  void Exec(const char* sql);
  sqlite3_stmt* Prepare(const char* sql);

  sqlite3* db_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
};

}  // namespace xo::bench
