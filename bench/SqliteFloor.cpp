#include "SqliteFloor.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "BenchStores.h"

namespace xo::bench {

FloorTable::FloorTable(int64_t rows) {
  const std::string path = ScratchDirectory() + "/floor-" + std::to_string(rows) + ".db";
  const bool fresh = !std::filesystem::exists(path);
  if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK) {
    throw std::runtime_error("cannot open " + path + ": " + sqlite3_errmsg(db_));
  }
  Exec("PRAGMA journal_mode=WAL");
  Exec("PRAGMA synchronous=FULL");
  if (fresh) {
    Exec("CREATE TABLE domains(oid TEXT PRIMARY KEY, name TEXT NOT NULL UNIQUE, description TEXT)");
    insert_ = Prepare("INSERT INTO domains(oid, name, description) VALUES(?1, ?2, ?3)");
    Exec("BEGIN");
    for (int64_t i = 0; i < rows; ++i) {
      if (!Insert(DomainName(i))) throw std::runtime_error(sqlite3_errmsg(db_));
    }
    Exec("COMMIT");
  } else {
    insert_ = Prepare("INSERT INTO domains(oid, name, description) VALUES(?1, ?2, ?3)");
  }
  select_ = Prepare("SELECT oid, name, description FROM domains WHERE name = ?1");
}

FloorTable::~FloorTable() {
  sqlite3_finalize(insert_);
  sqlite3_finalize(select_);
  sqlite3_close(db_);
}

bool FloorTable::Insert(const std::string& name) {
  // An identifier of the store's shape: class prefix and a UUID-sized tail.
  char oid[48];
  static uint64_t serial = 0;
  std::snprintf(oid, sizeof oid, "03-%08llx-0000-4000-8000-%012llx",
                static_cast<unsigned long long>(serial >> 48),
                static_cast<unsigned long long>(serial & 0xffffffffffffULL));
  ++serial;
  sqlite3_bind_text(insert_, 1, oid, -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(insert_, 2, name.c_str(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(insert_, 3, "benchmark domain", -1, SQLITE_STATIC);
  const int stepped = sqlite3_step(insert_);
  sqlite3_reset(insert_);
  return stepped == SQLITE_DONE;
}

bool FloorTable::SelectByName(const std::string& name) {
  sqlite3_bind_text(select_, 1, name.c_str(), static_cast<int>(name.size()), SQLITE_STATIC);
  bool found = false;
  while (sqlite3_step(select_) == SQLITE_ROW) found = sqlite3_column_text(select_, 0) != nullptr;
  sqlite3_reset(select_);
  return found;
}

void FloorTable::Exec(const char* sql) {
  char* error = nullptr;
  if (sqlite3_exec(db_, sql, nullptr, nullptr, &error) != SQLITE_OK) {
    std::string message = error ? error : "unknown error";
    sqlite3_free(error);
    throw std::runtime_error(std::string(sql) + ": " + message);
  }
}

sqlite3_stmt* FloorTable::Prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(std::string(sql) + ": " + sqlite3_errmsg(db_));
  }
  return statement;
}

}  // namespace xo::bench
