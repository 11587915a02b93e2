#include "support/StoreFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <vector>

#include "XoObjDict.h"
#include "support/StoreServer.h"

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

// A store's file: its URI without "sqlite:".
std::string FileOf(const std::string& store) {
  return store.starts_with("sqlite:") ? store.substr(7) : store;
}

std::vector<std::string> Columns(const std::string& store, const std::string& table) {
  if (OnServer(store)) return ServerColumns(store, table);
  return QueryStoreFile(store, "SELECT name FROM pragma_table_info('" + table + "')");
}

}  // namespace

std::string SnapshotStoreFile(const std::string& store) {
  if (OnServer(store)) return ServerSnapshot(store);
  // One read-only connection for the whole snapshot: under wine, opening the
  // file again and again beside the library's own connections now and then fails.
  Db db = Open(FileOf(store), SQLITE_OPEN_READONLY);
  std::string snapshot;
  for (const std::string& table :
       Rows(db.get(),
            "SELECT name FROM sqlite_master WHERE type = 'table' AND name != "
            "'xo_kept_session' ORDER BY name")) {
    snapshot += "[" + table + "]\n";
    for (const std::string& row : Rows(db.get(), "SELECT * FROM \"" + table + "\" ORDER BY 1")) {
      snapshot += row + "\n";
    }
  }
  return snapshot;
}

// Reads read-only; a statement that changes the store opens it for writing.
std::vector<std::string> QueryStoreFile(const std::string& store, const std::string& sql) {
  if (OnServer(store)) return ServerRows(store, sql);
  const bool reads = sql.starts_with("SELECT") || sql.starts_with("PRAGMA");
  return Rows(Open(FileOf(store), reads ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE).get(), sql);
}

bool StoreIsSound(const std::string& store) {
  if (OnServer(store)) return ServerRows(store, "SELECT 1") == std::vector<std::string>{"1"};
  return QueryStoreFile(store, "PRAGMA integrity_check") == std::vector<std::string>{"ok"};
}

CXoObjId DuplicateObject(const std::string& store, const CXoObjId& id) {
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(id.GetOidClass());
  if (dict == nullptr) {
    ADD_FAILURE() << "no class for " << id.GetOidString();
    return CXoObjId();
  }
  const std::string table = "\"" + std::string(dict->Table()) + "\"";
  std::string columns;
  for (const std::string& column : Columns(store, dict->Table())) {
    if (column != "seq" && column != "oid") columns += ", " + column;
  }
  const CXoObjId copy = CXoObjId::NewOid(id.GetOidClass());
  QueryStoreFile(store, "INSERT INTO " + table + " (oid" + columns + ") SELECT '" +
                            copy.GetOidString() + "'" + columns + " FROM " + table +
                            " WHERE oid = '" + id.GetOidString() + "'");
  if (QueryStoreFile(store, "SELECT count(*) FROM " + table + " WHERE oid = '" +
                                copy.GetOidString() + "'") != std::vector<std::string>{"1"}) {
    ADD_FAILURE() << "could not duplicate " << id.GetOidString();
  }
  return copy;
}

}  // namespace xo::test
