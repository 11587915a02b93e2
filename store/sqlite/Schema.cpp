#include "sqlite/Schema.h"

#include <cctype>
#include <memory>

#include "sqlite/Connection.h"

namespace xo::store::sqlite {
namespace {

std::string ColumnType(const XoPropDef& def) {
  switch (def.type) {
    case XoPropType::Int:
    case XoPropType::Bool:
      return "INTEGER NOT NULL DEFAULT 0";
    case XoPropType::Id:
      return "TEXT NOT NULL DEFAULT '00-'";
    default:
      return "TEXT NOT NULL DEFAULT ''";
  }
}

// A list read together with the row, as one space-separated text.
std::string ListColumn(const CXoObjDictProp& dict, const XoPropDef& def) {
  std::string table = dict.Table();
  if (def.storage == XoPropStorage::Stored) {
    return "(SELECT group_concat(member, ' ') FROM (SELECT member FROM xo_list WHERE owner = " +
           table + ".oid AND prop = " + std::to_string(def.number) + " ORDER BY pos))";
  }
  return "(SELECT group_concat(owner, ' ') FROM (SELECT owner FROM xo_list WHERE member = " +
         table + ".oid AND owner_class = " + std::to_string(def.listClass) +
         " AND prop = " + std::to_string(def.listProp) + " ORDER BY rowid))";
}

std::unique_ptr<ClassSql> BuildClassSql(const CXoObjDictProp& dict) {
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
  for (const XoPropDef* def : sql->lists) select += ", " + ListColumn(dict, *def);
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

const ClassSql* SqlFor(int32_t cls) {
  static const auto* byClass = [] {
    auto* table = new std::vector<std::unique_ptr<ClassSql>>(XoObjId_LastValid + 1);
    for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
      (*table)[dict->Class()] = BuildClassSql(*dict);
    }
    return table;
  }();
  if (cls < 0 || cls > XoObjId_LastValid) return nullptr;
  return (*byClass)[cls].get();
}

void CreateSchema(Connection& connection) {
  connection.Exec(
      "CREATE TABLE xo_meta (key TEXT PRIMARY KEY, value TEXT NOT NULL);"
      "CREATE TABLE xo_list (owner TEXT NOT NULL, owner_class INTEGER NOT NULL,"
      " prop INTEGER NOT NULL, pos INTEGER NOT NULL, member TEXT NOT NULL,"
      " PRIMARY KEY (owner, prop, pos));"
      "CREATE INDEX xo_list_member ON xo_list (member, owner_class, prop);"
      "CREATE TABLE xo_audit (seq INTEGER PRIMARY KEY, time INTEGER NOT NULL,"
      " admin TEXT NOT NULL, operation TEXT NOT NULL, class INTEGER NOT NULL,"
      " oid TEXT NOT NULL, name TEXT NOT NULL);"
      "CREATE INDEX xo_audit_time ON xo_audit (time);"
      "CREATE INDEX xo_audit_oid ON xo_audit (oid);");
  for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
    std::string table = dict->Table();
    std::string ddl =
        "CREATE TABLE " + table + " (seq INTEGER PRIMARY KEY, oid TEXT NOT NULL UNIQUE";
    for (const XoPropDef& def : dict->Props()) {
      if (def.storage == XoPropStorage::Column)
        ddl += ", " + ColumnName(def) + " " + ColumnType(def);
    }
    connection.Exec((ddl + ")").c_str());
    for (const XoPropDef& def : dict->Props()) {
      if (def.storage != XoPropStorage::Column || !def.Is(XoProp_Searchable)) continue;
      std::string column = ColumnName(def);
      connection.Exec(
          ("CREATE INDEX " + table + "_" + column + " ON " + table + " (" + column + ")").c_str());
    }
    if (dict->NameProp() && !dict->NameScope().empty()) {
      std::string columns;
      for (uint32_t prop : dict->NameScope()) columns += ColumnName(*dict->Find(prop)) + ", ";
      columns += ColumnName(*dict->Find(dict->NameProp()));
      connection.Exec(
          ("CREATE INDEX " + table + "_scoped_name ON " + table + " (" + columns + ")").c_str());
    }
  }
}

}  // namespace xo::store::sqlite
