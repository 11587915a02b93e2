#include "sql/StoreCopy.h"

#include <vector>

#include "XoStoreCodes.h"
#include "sql/RelationalBackend.h"
#include "sql/Schema.h"

namespace xo::store::sql {
namespace {

// A table, the column of its rows' sequence numbers in either database (the
// order rows were made in: the list table's is SQLite's rowid), and the
// columns that carry the rows.
struct CopiedTable {
  std::string name;
  bool listOrder;  // sequenced by the dialect's list order, not by "seq"
  std::vector<std::string> columns;
};

std::vector<CopiedTable> CopiedTables(const Dialect& source) {
  std::vector<CopiedTable> tables = {
      {"xo_audit", false, {"time", "admin", "operation", "class", "oid", "name"}},
      {"xo_list", true, {"owner", "owner_class", "prop", "pos", "member"}},
  };
  for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
    CopiedTable table{dict->Table(), false, {"oid"}};
    for (const XoPropDef* def : SqlFor(dict->Class(), source)->columns) {
      table.columns.push_back(ColumnName(*def));
    }
    tables.push_back(std::move(table));
  }
  return tables;
}

// Every value goes across as text: each database gives its numbers as text
// and takes them back into its number columns.
void CopyRows(Connection& source, Connection& target, const std::string& table,
              const std::string& sourceColumns, const std::string& targetColumns, size_t count,
              const std::string& order) {
  std::string parameters;
  for (size_t i = 1; i <= count; ++i) parameters += (i > 1 ? ", ?" : "?") + std::to_string(i);
  Use read(source.Prepare("SELECT " + sourceColumns + " FROM " + table + " ORDER BY " + order));
  Use write(target.Prepare("INSERT INTO " + table + " (" + targetColumns + ") VALUES (" +
                           parameters + ")"));
  while (read->Step()) {
    write->Reset();
    for (size_t i = 0; i < count; ++i) {
      write->Bind(static_cast<int>(i + 1), read->Text(static_cast<int>(i)));
    }
    write->Step();
  }
}

void CopyTable(Connection& source, Connection& target, const CopiedTable& table) {
  const std::string sourceKey = table.listOrder ? source.Sql().listOrder : "seq";
  const std::string targetKey = table.listOrder ? target.Sql().listOrder : "seq";
  std::string columns;
  for (const std::string& column : table.columns) columns += ", " + column;
  CopyRows(source, target, table.name, sourceKey + columns, targetKey + columns,
           table.columns.size() + 1, sourceKey);
  std::string renumber = target.Sql().sequenceAfterCopy;
  if (renumber.empty()) return;
  for (size_t at = renumber.find("TABLE"); at != std::string::npos;
       at = renumber.find("TABLE", at)) {
    renumber.replace(at, 5, table.name);
  }
  target.Exec(renumber);
}

void RollBack(Connection& connection) {
  try {
    connection.Exec("ROLLBACK");
  } catch (const StoreError&) {
    // No transaction was left to end.
  }
}

}  // namespace

int32_t CopyStore(Connection& source, const std::string& sourceName, Connection& target,
                  const std::string& targetName, std::string& message) {
  if (int32_t checked = RelationalBackend::CheckInitialised(source, sourceName, message);
      Failed(checked)) {
    return checked;
  }
  std::string step = "read " + sourceName;
  try {
    source.Exec(source.Sql().beginRead);
    step = "write " + targetName;
    target.Exec(target.Sql().beginWrite);
    Use tables(target.Prepare(target.Sql().countTables));
    if (tables->Step() && tables->Int(0) > 0) {
      RollBack(target);
      RollBack(source);
      message = targetName + " holds tables already; a store is copied only into an empty one";
      return kExists;
    }
    CreateSchema(target);
    CopyRows(source, target, "xo_meta", "key, value", "key, value", 2, "key");
    for (const CopiedTable& table : CopiedTables(source.Sql())) CopyTable(source, target, table);
    target.Exec("COMMIT");
    RollBack(source);
  } catch (const StoreError& error) {
    message = "cannot " + step + ": " + Describe(error.code);
    RollBack(target);
    RollBack(source);
    return error.code;
  }
  message = "copied " + sourceName + " to " + targetName;
  return kOk;
}

}  // namespace xo::store::sql
