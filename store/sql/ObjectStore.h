// Object operations on one connection, driven by the property dictionaries:
// loading, validating and writing objects, searching, cascading deletes and
// the audit trail. Failures are thrown as StoreError.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "XoObjClasses.h"
#include "XoObjDict.h"
#include "sql/Connection.h"
#include "sql/Schema.h"

namespace xo::store::sql {

// A property and the text it must equal.
using Filter = std::pair<const XoPropDef*, std::string>;

class ObjectStore {
 public:
  explicit ObjectStore(Connection& connection) : db_(connection) {}

  bool Exists(const CXoObjId& id);
  // Fills the object named by its identifier; kNotFound when there is none.
  void Load(CXoObjBase& object);
  // Reads the objects of one class named by the identifiers, in one query;
  // those no longer in the store are left out.
  std::vector<std::unique_ptr<CXoObjBase>> LoadMany(int32_t cls,
                                                    const std::vector<std::string>& oids);
  // Validates and writes the whole object, with the name rules of its class.
  void Save(CXoObjBase& object, bool overwrite);
  // Deletes the object and everything it owns.
  void Remove(const CXoObjId& id);
  CXoObjIdArray Search(const CXoObjBase& templ, std::vector<Filter> filters);
  XoPropValue ReadProperty(const CXoObjBase& object, uint32_t prop);
  // An identifier-list property with the name of every object it names, in
  // list order, read in one query.
  void ReadListNames(const CXoObjBase& object, uint32_t prop, CXoObjIdArray& ids,
                     std::vector<std::string>& names);
  void WriteProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value);
  // One member of a stored list added at its end (kExists when the list
  // names it already), or its first copy taken out (kNotFound when the list
  // does not name it). The rest of the list is neither read nor written.
  void AddListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member);
  void RemoveListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member);
  void Audit(const std::string& operation, int32_t cls, const std::string& oid,
             const std::string& name);

  // The property definition, or kBadProperty.
  static const XoPropDef& Property(const CXoObjDictProp& dict, uint32_t prop);
  // The text a search compares a property with.
  static std::string SearchText(const XoPropDef& def, const XoPropValue& value);

 private:
  const ClassSql& Sql(int32_t cls);
  void BindColumns(Statement& statement, const ClassSql& sql, const CXoObjBase& object);
  void ReadColumns(Statement& statement, const ClassSql& sql, CXoObjBase& object);
  void ValidateColumns(const CXoObjBase& object);
  void ValidateReference(const XoPropDef& def, const CXoObjId& id);
  void ValidateList(const CXoObjBase& object, const XoPropDef& def, const CXoObjIdArray& ids);
  void CheckParentLoop(const CXoObjBase& object, const XoPropDef& def);
  void CheckGroupLoop(const CXoObjBase& object, const XoPropDef& def, const CXoObjIdArray& ids);
  CXoObjIdArray NameHolders(const CXoObjBase& object);
  CXoObjIdArray ReadList(const CXoObjId& owner, const XoPropDef& def);
  void WriteStoredList(const CXoObjId& owner, int32_t ownerClass, const XoPropDef& def,
                       const CXoObjIdArray& ids);
  void WriteInverseList(const CXoObjId& member, const XoPropDef& def, const CXoObjIdArray& owners);
  // The stored list `prop` of an owner in the store (kPropertyAbsent when
  // the owner is not).
  const XoPropDef& StoredListOf(const CXoObjId& owner, uint32_t prop);
  // Where the owner's list first names the member, or -1.
  int64_t FirstPosition(const CXoObjId& owner, const XoPropDef& def, const CXoObjId& member);
  void AppendListRow(const CXoObjId& owner, int32_t ownerClass, uint32_t prop,
                     const CXoObjId& member);
  std::string LabelOf(const CXoObjId& id);
  // The administrators who hold the system right and log in with a password
  // of their own, which no directory outage can keep out.
  int64_t PasswordSystemAdmins();
  // Refuses a change that leaves none of them where there were some.
  void KeepAPasswordSystemAdmin(int64_t before);

  Connection& db_;
};

}  // namespace xo::store::sql
