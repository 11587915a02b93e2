#include "sql/Schema.h"

#include <cctype>
#include <map>
#include <memory>
#include <mutex>

#include "sql/Connection.h"
#include "sql/KeptSessions.h"

namespace xo::store::sql {
namespace {

std::string ColumnType(const XoPropDef& def, const Dialect& dialect) {
  switch (def.type) {
    case XoPropType::Int:
    case XoPropType::Bool:
      return dialect.integer + " NOT NULL DEFAULT 0";
    case XoPropType::Id:
      return dialect.text + " NOT NULL DEFAULT '00-'";
    default:
      return dialect.text + " NOT NULL DEFAULT ''";
  }
}

// A list read together with the row, as one space-separated text.
std::string ListColumn(const CXoObjDictProp& dict, const XoPropDef& def, const Dialect& dialect) {
  std::string table = dict.Table();
  if (def.storage == XoPropStorage::Stored) {
    return "(SELECT " + dialect.joinTexts +
           "(member, ' ') FROM (SELECT member FROM xo_list WHERE owner = " + table +
           ".oid AND prop = " + std::to_string(def.number) + " ORDER BY pos) AS list)";
  }
  return "(SELECT " + dialect.joinTexts +
         "(owner, ' ') FROM (SELECT owner FROM xo_list WHERE member = " + table +
         ".oid AND owner_class = " + std::to_string(def.listClass) +
         " AND prop = " + std::to_string(def.listProp) + " ORDER BY " + dialect.listOrder +
         ") AS list)";
}

std::unique_ptr<ClassSql> BuildClassSql(const CXoObjDictProp& dict, const Dialect& dialect) {
  auto sql = std::make_unique<ClassSql>();
  sql->dict = &dict;
  std::string table = dict.Table();
  std::string select = "SELECT ";
  std::string insertColumns = "oid";
  std::string insertValues = "?1";
  std::string assignments;
  int parameter = 2;
  for (const XoPropDef& def : dict.Props()) {
    if (def.storage == XoPropStorage::Column) {
      sql->columns.push_back(&def);
      std::string column = ColumnName(def);
      select += (sql->columns.size() > 1 ? ", " : "") + column;
      insertColumns += ", " + column;
      insertValues += ", ?" + std::to_string(parameter);
      assignments +=
          (assignments.empty() ? "" : ", ") + column + " = ?" + std::to_string(parameter);
      ++parameter;
    } else if (def.storage == XoPropStorage::Stored || def.storage == XoPropStorage::Inverse) {
      sql->lists.push_back(&def);
    }
  }
  if (sql->columns.empty()) select += "oid";
  for (const XoPropDef* def : sql->lists) select += ", " + ListColumn(dict, *def, dialect);
  sql->selectByOid = select + " FROM " + table + " WHERE oid = ?1";
  sql->selectMany = select + ", oid FROM " + table;
  sql->insert = "INSERT INTO " + table + " (" + insertColumns + ") VALUES (" + insertValues + ")";
  sql->update = assignments.empty() ? "UPDATE " + table + " SET oid = oid WHERE oid = ?1"
                                    : "UPDATE " + table + " SET " + assignments + " WHERE oid = ?1";
  sql->exists = "SELECT 1 FROM " + table + " WHERE oid = ?1";
  sql->deleteRow = "DELETE FROM " + table + " WHERE oid = ?1";
  return sql;
}

}  // namespace

std::string ColumnName(const XoPropDef& def) {
  std::string name;
  for (const char* p = def.name; *p; ++p) {
    char c = *p;
    if (std::isupper(static_cast<unsigned char>(c))) {
      if (!name.empty() && !std::isdigit(static_cast<unsigned char>(name.back()))) name += '_';
      name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else {
      name += c;
    }
  }
  return name;
}

const ClassSql* SqlFor(int32_t cls, const Dialect& dialect) {
  using Table = std::vector<std::unique_ptr<ClassSql>>;
  static std::mutex mutex;
  static std::map<const Dialect*, Table> byDialect;
  if (cls < 0 || cls > XoObjId_LastValid) return nullptr;
  std::lock_guard<std::mutex> lock(mutex);
  Table& byClass = byDialect[&dialect];
  if (byClass.empty()) {
    byClass.resize(XoObjId_LastValid + 1);
    for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
      byClass[dict->Class()] = BuildClassSql(*dict, dialect);
    }
  }
  return byClass[cls].get();
}

void CreateSchema(Connection& connection) {
  const Dialect& sql = connection.Sql();
  connection.Exec("CREATE TABLE xo_meta (key " + sql.text + " PRIMARY KEY, value " + sql.text +
                  " NOT NULL)");
  connection.Exec("CREATE TABLE xo_list (owner " + sql.text + " NOT NULL, owner_class " +
                  sql.integer + " NOT NULL, prop " + sql.integer + " NOT NULL, pos " + sql.integer +
                  " NOT NULL, member " + sql.text + " NOT NULL" + sql.listSequenceColumn +
                  ", PRIMARY KEY (owner, prop, pos))");
  connection.Exec("CREATE INDEX xo_list_member ON xo_list (member, owner_class, prop)");
  connection.Exec("CREATE TABLE xo_audit (seq " + sql.sequenceKey + ", time " + sql.integer +
                  " NOT NULL, admin " + sql.text + " NOT NULL, operation " + sql.text +
                  " NOT NULL, class " + sql.integer + " NOT NULL, oid " + sql.text +
                  " NOT NULL, name " + sql.text + " NOT NULL)");
  connection.Exec("CREATE INDEX xo_audit_time ON xo_audit (time)");
  connection.Exec("CREATE INDEX xo_audit_oid ON xo_audit (oid)");
  CreateKeptSessionTable(connection);
  for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
    std::string table = dict->Table();
    std::string ddl = "CREATE TABLE " + table + " (seq " + sql.sequenceKey + ", oid " + sql.text +
                      " NOT NULL UNIQUE";
    for (const XoPropDef& def : dict->Props()) {
      if (def.storage == XoPropStorage::Column)
        ddl += ", " + ColumnName(def) + " " + ColumnType(def, sql);
    }
    connection.Exec(ddl + ")");
    for (const XoPropDef& def : dict->Props()) {
      if (def.storage != XoPropStorage::Column || !def.Is(XoProp_Searchable)) continue;
      std::string column = ColumnName(def);
      connection.Exec("CREATE INDEX " + table + "_" + column + " ON " + table + " (" + column +
                      ")");
    }
    if (dict->NameProp() && !dict->NameScope().empty()) {
      std::string columns;
      for (uint32_t prop : dict->NameScope()) columns += ColumnName(*dict->Find(prop)) + ", ";
      columns += ColumnName(*dict->Find(dict->NameProp()));
      connection.Exec("CREATE INDEX " + table + "_scoped_name ON " + table + " (" + columns + ")");
    }
  }
}

void UpgradeSchema(Connection& connection) {
  connection.Exec(connection.Sql().beginWrite);
  try {
    std::string found;
    {
      Use version(connection.Prepare("SELECT value FROM xo_meta WHERE key = 'schema_version'"));
      if (version->Step()) found = version->Text(0);
    }
    if (found == "1") CreateKeptSessionTable(connection);
    Use mark(connection.Prepare("UPDATE xo_meta SET value = ?1 WHERE key = 'schema_version'"));
    mark->Bind(1, std::to_string(kSchemaVersion));
    mark->Step();
    connection.Exec("COMMIT");
  } catch (const StoreError&) {
    try {
      connection.Exec("ROLLBACK");
    } catch (const StoreError&) {
      // The database ended the transaction itself.
    }
    throw;
  }
}

}  // namespace xo::store::sql
