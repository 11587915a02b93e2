#include "support/StoreFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <vector>

#include "XoObjDict.h"

namespace xo::test {

namespace {

struct CloseDb {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Db = std::unique_ptr<sqlite3, CloseDb>;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

Db Open(const std::string& path, int flags) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, flags, nullptr) != SQLITE_OK) {
    ADD_FAILURE() << "cannot open " << path << ": " << sqlite3_errmsg(db);
  }
  sqlite3_busy_timeout(db, 5000);
  return Db(db);
}

Statement Prepare(sqlite3* db, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db);
  }
  return Statement(statement);
}

std::vector<std::string> Column(sqlite3* db, const std::string& sql, int column) {
  std::vector<std::string> values;
  Statement statement = Prepare(db, sql);
  while (statement && sqlite3_step(statement.get()) == SQLITE_ROW) {
    const unsigned char* text = sqlite3_column_text(statement.get(), column);
    values.emplace_back(text ? reinterpret_cast<const char*>(text) : "NULL");
  }
  return values;
}

}  // namespace

std::string SnapshotStoreFile(const std::string& path) {
  Db db = Open(path, SQLITE_OPEN_READONLY);
  std::string snapshot;
  for (const std::string& table :
       Column(db.get(), "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name", 0)) {
    snapshot += "[" + table + "]\n";
    Statement rows = Prepare(db.get(), "SELECT * FROM \"" + table + "\" ORDER BY 1");
    while (rows && sqlite3_step(rows.get()) == SQLITE_ROW) {
      for (int i = 0; i < sqlite3_column_count(rows.get()); ++i) {
        const unsigned char* text = sqlite3_column_text(rows.get(), i);
        snapshot += text ? reinterpret_cast<const char*>(text) : "NULL";
        snapshot += '|';
      }
      snapshot += '\n';
    }
  }
  return snapshot;
}

std::vector<std::string> QueryStoreFile(const std::string& path, const std::string& sql) {
  Db db = Open(path, SQLITE_OPEN_READONLY);
  std::vector<std::string> rows;
  Statement statement = Prepare(db.get(), sql);
  while (statement && sqlite3_step(statement.get()) == SQLITE_ROW) {
    std::string row;
    for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
      const unsigned char* text = sqlite3_column_text(statement.get(), i);
      row += (i ? "|" : "") + std::string(text ? reinterpret_cast<const char*>(text) : "NULL");
    }
    rows.push_back(row);
  }
  return rows;
}

CXoObjId DuplicateObject(const std::string& path, const CXoObjId& id) {
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(id.GetOidClass());
  if (dict == nullptr) {
    ADD_FAILURE() << "no class for " << id.GetOidString();
    return CXoObjId();
  }
  const std::string table = dict->Table();
  Db db = Open(path, SQLITE_OPEN_READWRITE);
  std::string columns;
  for (const std::string& column : Column(db.get(), "PRAGMA table_info(\"" + table + "\")", 1)) {
    if (column == "seq" || column == "oid") continue;
    columns += ", " + column;
  }
  const CXoObjId copy = CXoObjId::NewOid(id.GetOidClass());
  Statement insert =
      Prepare(db.get(), "INSERT INTO \"" + table + "\" (oid" + columns + ") SELECT ?1" + columns +
                            " FROM \"" + table + "\" WHERE oid = ?2");
  sqlite3_bind_text(insert.get(), 1, copy.GetOidString().c_str(), -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(insert.get(), 2, id.GetOidString().c_str(), -1, SQLITE_TRANSIENT);
  if (sqlite3_step(insert.get()) != SQLITE_DONE || sqlite3_changes(db.get()) != 1) {
    ADD_FAILURE() << "could not duplicate " << id.GetOidString() << ": "
                  << sqlite3_errmsg(db.get());
  }
  return copy;
}

}  // namespace xo::test
