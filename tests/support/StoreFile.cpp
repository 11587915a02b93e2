#include "support/StoreFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <vector>

#include "XoObjDict.h"

namespace xo::test {
namespace {

using Db = std::unique_ptr<sqlite3, decltype(&sqlite3_close_v2)>;

Db Open(const std::string& path, int flags) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, flags, nullptr) != SQLITE_OK) {
    ADD_FAILURE() << "cannot open " << path << ": " << sqlite3_errmsg(db);
  }
  sqlite3_busy_timeout(db, 5000);
  return Db(db, &sqlite3_close_v2);
}

// The rows of a statement, each row's columns joined by '|'; `bind` gives
// the statement's parameters ?1, ?2, ...
std::vector<std::string> Rows(sqlite3* db, const std::string& sql,
                              const std::vector<std::string>& bind = {}) {
  std::vector<std::string> rows;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db);
  }
  for (size_t i = 0; i < bind.size(); ++i) {
    sqlite3_bind_text(statement, static_cast<int>(i + 1), bind[i].c_str(), -1, SQLITE_TRANSIENT);
  }
  while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
    std::string row;
    for (int i = 0; i < sqlite3_column_count(statement); ++i) {
      const unsigned char* text = sqlite3_column_text(statement, i);
      row += (i ? "|" : "") + std::string(text ? reinterpret_cast<const char*>(text) : "NULL");
    }
    rows.push_back(row);
  }
  sqlite3_finalize(statement);
  return rows;
}

}  // namespace

std::string SnapshotStoreFile(const std::string& path) {
  Db db = Open(path, SQLITE_OPEN_READONLY);
  std::string snapshot;
  for (const std::string& table :
       Rows(db.get(), "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
    snapshot += "[" + table + "]\n";
    for (const std::string& row : Rows(db.get(), "SELECT * FROM \"" + table + "\" ORDER BY 1")) {
      snapshot += row + "\n";
    }
  }
  return snapshot;
}

std::vector<std::string> QueryStoreFile(const std::string& path, const std::string& sql) {
  return Rows(Open(path, SQLITE_OPEN_READONLY).get(), sql);
}

CXoObjId DuplicateObject(const std::string& path, const CXoObjId& id) {
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(id.GetOidClass());
  if (dict == nullptr) {
    ADD_FAILURE() << "no class for " << id.GetOidString();
    return CXoObjId();
  }
  const std::string table = "\"" + std::string(dict->Table()) + "\"";
  Db db = Open(path, SQLITE_OPEN_READWRITE);
  std::string columns;
  for (const std::string& column :
       Rows(db.get(), "SELECT name FROM pragma_table_info(?1)", {std::string(dict->Table())})) {
    if (column != "seq" && column != "oid") columns += ", " + column;
  }
  const CXoObjId copy = CXoObjId::NewOid(id.GetOidClass());
  Rows(db.get(),
       "INSERT INTO " + table + " (oid" + columns + ") SELECT ?1" + columns + " FROM " + table +
           " WHERE oid = ?2",
       {copy.GetOidString(), id.GetOidString()});
  if (sqlite3_changes(db.get()) != 1) {
    ADD_FAILURE() << "could not duplicate " << id.GetOidString() << ": "
                  << sqlite3_errmsg(db.get());
  }
  return copy;
}

}  // namespace xo::test
