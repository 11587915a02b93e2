// The database schema and the SQL of each class, generated from the
// property dictionaries.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "XoObjDict.h"
#include "sql/Dialect.h"

namespace xo::store::sql {

class Connection;

// Version 2 added the table of kept sessions; a store of version 1 is
// upgraded in place when it is opened (UpgradeSchema).
constexpr int32_t kSchemaVersion = 2;

// The column of a property: its name in snake case ("AgentType" -> agent_type).
std::string ColumnName(const XoPropDef& def);

struct ClassSql {
  const CXoObjDictProp* dict = nullptr;
  std::vector<const XoPropDef*> columns;  // column properties, in property order
  std::vector<const XoPropDef*> lists;    // stored and inverse lists read with the row
  std::string selectByOid;                // columns, then one text per list
  std::string selectMany;                 // the same and the oid, for "WHERE oid IN (...)"
  std::string insert;                     // ?1 oid, then the columns
  std::string update;                     // ?1 oid, then the columns
  std::string exists;
  std::string deleteRow;
};

// The SQL of a class in a dialect; null for classes without a dictionary.
const ClassSql* SqlFor(int32_t cls, const Dialect& dialect);

// Creates every table and index of a new store.
void CreateSchema(Connection& connection);

// Brings a store of an earlier version to this one, in one write
// transaction; does nothing when another process did it first. Throws
// StoreError when the store cannot be written.
void UpgradeSchema(Connection& connection);

}  // namespace xo::store::sql
