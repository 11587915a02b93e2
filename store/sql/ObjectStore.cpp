#include "sql/ObjectStore.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <deque>
#include <unordered_set>

#include "XoAdmSession.h"
#include "XoStoreCodes.h"
#include "platform/Clock.h"
#include "sql/ReadAhead.h"

namespace xo::store::sql {
namespace {

constexpr int kMaxChain = 100000;

// What the audit trail calls an object: see CXoObjDictProp::LabelProp.
std::string Label(const CXoObjBase& object) {
  const uint32_t label = object.Dict().LabelProp();
  return label ? object.Text(label) : std::string();
}

// "UserDirectories" -> "user directories", for the audit trail's operations.
std::string Words(const std::string& propertyName) {
  std::string words;
  for (char c : propertyName) {
    if (std::isupper(static_cast<unsigned char>(c)) && !words.empty()) words += ' ';
    words += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return words;
}

[[noreturn]] void Fail(int32_t code) { throw StoreError{code}; }

bool Contains(const std::vector<int32_t>& classes, int32_t cls) {
  return std::find(classes.begin(), classes.end(), cls) != classes.end();
}

CXoObjIdArray SplitIds(const std::string& text) {
  CXoObjIdArray ids;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(' ', start);
    if (end == std::string::npos) end = text.size();
    if (end > start) ids.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  return ids;
}

// A well-formed identifier: a known class, or exactly the null "00-".
bool IsWellFormed(const CXoObjId& id) {
  return id.GetOidClass() != XoObjId_None || id.GetOidString() == "00-";
}

// Every (class, reference) that may point at objects of a class.
struct Incoming {
  const CXoObjDictProp* dict;
  const XoPropDef* def;
};
const std::vector<Incoming>& IncomingReferences(int32_t target) {
  static const auto* table = [] {
    auto* refs = new std::vector<std::vector<Incoming>>(XoObjId_LastValid + 1);
    for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
      for (const XoPropDef& def : dict->Props()) {
        if (def.storage != XoPropStorage::Column || def.type != XoPropType::Id) continue;
        for (int32_t cls : def.refClasses) (*refs)[cls].push_back({dict, &def});
      }
    }
    return refs;
  }();
  return (*table)[target];
}

}  // namespace

const ClassSql& ObjectStore::Sql(int32_t cls) {
  const ClassSql* sql = SqlFor(cls, db_.Sql());
  if (!sql) Fail(kInvalidId);
  return *sql;
}

const XoPropDef& ObjectStore::Property(const CXoObjDictProp& dict, uint32_t prop) {
  const XoPropDef* def = dict.Find(prop);
  if (!def) Fail(kBadProperty);
  return *def;
}

std::string ObjectStore::SearchText(const XoPropDef& def, const XoPropValue& value) {
  if (const std::string* text = std::get_if<std::string>(&value)) return *text;
  if (const CXoObjId* id = std::get_if<CXoObjId>(&value)) return id->GetOidString();
  if (const int32_t* number = std::get_if<int32_t>(&value)) return std::to_string(*number);
  if (const bool* flag = std::get_if<bool>(&value)) return *flag ? "1" : "0";
  if (const CXoObjTime* time = std::get_if<CXoObjTime>(&value)) return time->GetText();
  (void)def;
  Fail(kTypeMismatch);
}

bool ObjectStore::Exists(const CXoObjId& id) {
  const ClassSql* sql = SqlFor(id.GetOidClass(), db_.Sql());
  if (!sql) return false;
  Use exists(db_.Prepare(sql->exists));
  exists->Bind(1, id.GetOidString());
  return exists->Step();
}

void ObjectStore::BindColumns(Statement& statement, const ClassSql& sql, const CXoObjBase& object) {
  int parameter = 2;
  for (const XoPropDef* def : sql.columns) {
    switch (def->type) {
      case XoPropType::Int:
        statement.Bind(parameter, object.Int(def->number));
        break;
      case XoPropType::Bool:
        statement.Bind(parameter, int64_t{object.Flag(def->number)});
        break;
      case XoPropType::Id: {
        const CXoObjId& id = object.Id(def->number);
        statement.Bind(parameter, id.IsOidNull() ? std::string("00-") : id.GetOidString());
        break;
      }
      case XoPropType::Time:
        statement.Bind(parameter, object.Time(def->number).GetText());
        break;
      default:
        statement.Bind(parameter, object.Text(def->number));
        break;
    }
    ++parameter;
  }
}

void ObjectStore::ReadColumns(Statement& statement, const ClassSql& sql, CXoObjBase& object) {
  int column = 0;
  for (const XoPropDef* def : sql.columns) {
    switch (def->type) {
      case XoPropType::Int:
        object.Set(def->number, static_cast<int32_t>(statement.Int(column)));
        break;
      case XoPropType::Bool:
        object.Set(def->number, statement.Int(column) != 0);
        break;
      case XoPropType::Id:
        object.Set(def->number, CXoObjId(statement.Text(column)));
        break;
      case XoPropType::Time:
        object.Set(def->number, CXoObjTime(statement.Text(column)));
        break;
      default:
        object.Set(def->number, statement.Text(column));
        break;
    }
    ++column;
  }
  if (sql.columns.empty()) ++column;
  for (const XoPropDef* def : sql.lists)
    object.Set(def->number, SplitIds(statement.Text(column++)));
}

void ObjectStore::Load(CXoObjBase& object) {
  const CXoObjId& oid = object.GetOid();
  if (oid.GetOidClass() != object.GetClass()) {
    // An agent group serves wherever an agent can: read as an agent, it
    // shows its name and its agent type.
    if (object.GetClass() == XoObjId_Device && oid.GetOidClass() == XoObjId_DeviceGroup) {
      CXoObjDeviceGroup group(oid);
      Load(group);
      object.Set(CXoObjDevice::Name, group.GetName());
      object.Set(CXoObjDevice::Description, group.GetDescription());
      object.Set(CXoObjDevice::AgentType, group.GetVendorOid());
      return;
    }
    Fail(IsWellFormed(oid) && !oid.IsOidNull() ? kWrongClass : kInvalidId);
  }
  const ClassSql& sql = Sql(object.GetClass());
  Use select(db_.Prepare(sql.selectByOid));
  select->Bind(1, oid.GetOidString());
  if (!select->Step()) Fail(kNotFound);
  ReadColumns(*select, sql, object);
}

std::vector<std::unique_ptr<CXoObjBase>> ObjectStore::LoadMany(
    int32_t cls, const std::vector<std::string>& oids) {
  const ClassSql& sql = Sql(cls);
  // One statement per class: the identifiers are bound to a fixed number of
  // parameters, the unused ones to NULL, which matches nothing.
  static const std::string kParameters = [] {
    std::string list;
    for (size_t i = 1; i <= ReadAhead::kChunk; ++i)
      list += (i > 1 ? ", ?" : "?") + std::to_string(i);
    return list;
  }();
  Use select(db_.Prepare(sql.selectMany + " WHERE oid IN (" + kParameters + ")"));
  for (size_t i = 0; i < ReadAhead::kChunk; ++i) {
    if (i < oids.size()) {
      select->Bind(static_cast<int>(i + 1), oids[i]);
    } else {
      select->BindNull(static_cast<int>(i + 1));
    }
  }
  const int oidColumn =
      static_cast<int>((sql.columns.empty() ? 1 : sql.columns.size()) + sql.lists.size());
  std::vector<std::unique_ptr<CXoObjBase>> objects;
  while (select->Step()) {
    std::unique_ptr<CXoObjBase> object(
        CXoObjDictProp::MakeObject(CXoObjId(select->Text(oidColumn))));
    if (!object || object->GetClass() != cls) Fail(kInternal);
    ReadColumns(*select, sql, *object);
    objects.push_back(std::move(object));
  }
  return objects;
}

void ObjectStore::ValidateReference(const XoPropDef& def, const CXoObjId& id) {
  if (!IsWellFormed(id)) Fail(kInvalidId);
  if (id.IsOidNull()) {
    if (def.Is(XoProp_Required)) Fail(kInvalidId);
    return;
  }
  if (!def.refClasses.empty() && !Contains(def.refClasses, id.GetOidClass())) Fail(kWrongClass);
  if (!Exists(id)) Fail(kDanglingRef);
}

void ObjectStore::ValidateColumns(const CXoObjBase& object) {
  for (const XoPropDef& def : object.Dict().Props()) {
    if (def.storage != XoPropStorage::Column) continue;
    if (def.type == XoPropType::Text || def.type == XoPropType::Time) {
      const std::string& text = def.type == XoPropType::Text ? object.Text(def.number)
                                                             : object.Time(def.number).GetText();
      if (text.size() > def.maxLength) Fail(kTextTooLong);
      if (def.Is(XoProp_Required) && text.empty()) Fail(kNameRequired);
    } else if (def.type == XoPropType::Id) {
      ValidateReference(def, object.Id(def.number));
      if (Contains(def.refClasses, object.GetClass())) CheckParentLoop(object, def);
    }
  }
}

// A reference to the object's own class (a realm's parent) must not lead
// back to the object.
void ObjectStore::CheckParentLoop(const CXoObjBase& object, const XoPropDef& def) {
  CXoObjId current = object.Id(def.number);
  const ClassSql& sql = Sql(object.GetClass());
  std::string select =
      "SELECT " + ColumnName(def) + " FROM " + sql.dict->Table() + " WHERE oid = ?1";
  for (int step = 0; step < kMaxChain && current.GetOidClass() == object.GetClass(); ++step) {
    if (current.IsEqual(object.GetOid())) Fail(kCycle);
    Use parent(db_.Prepare(select));
    parent->Bind(1, current.GetOidString());
    if (!parent->Step()) return;
    current = CXoObjId(parent->Text(0));
  }
}

// A group may hold groups of its own kind, but never itself, however deep.
void ObjectStore::CheckGroupLoop(const CXoObjBase& object, const XoPropDef& def,
                                 const CXoObjIdArray& ids) {
  std::deque<CXoObjId> pending;
  std::unordered_set<std::string> seen;
  for (const CXoObjId& id : ids) {
    if (id.GetOidClass() == object.GetClass()) pending.push_back(id);
  }
  while (!pending.empty()) {
    CXoObjId group = pending.front();
    pending.pop_front();
    if (group.IsEqual(object.GetOid())) Fail(kCycle);
    if (!seen.insert(group.GetOidString()).second) continue;
    for (const CXoObjId& member : ReadList(group, def)) {
      if (member.GetOidClass() == object.GetClass()) pending.push_back(member);
    }
  }
}

void ObjectStore::ValidateList(const CXoObjBase& object, const XoPropDef& def,
                               const CXoObjIdArray& ids) {
  for (const CXoObjId& id : ids) {
    if (!IsWellFormed(id) || id.IsOidNull()) Fail(kInvalidId);
    if (!def.refClasses.empty() && !Contains(def.refClasses, id.GetOidClass())) Fail(kWrongClass);
    if (!Exists(id)) Fail(kDanglingRef);
  }
  if (def.storage == XoPropStorage::Stored && Contains(def.refClasses, object.GetClass())) {
    CheckGroupLoop(object, def, ids);
  }
}

CXoObjIdArray ObjectStore::NameHolders(const CXoObjBase& object) {
  const CXoObjDictProp& dict = object.Dict();
  CXoObjIdArray holders;
  if (!dict.NameProp() || !dict.Find(dict.NameProp())->Is(XoProp_Unique)) return holders;
  std::vector<Filter> filters;
  filters.emplace_back(dict.Find(dict.NameProp()), object.GetName());
  for (uint32_t prop : dict.NameScope()) {
    const XoPropDef* def = dict.Find(prop);
    filters.emplace_back(def, SearchText(*def, object.Get(prop)));
  }
  CXoObjBase templ(dict.Class());
  for (const CXoObjId& id : Search(templ, std::move(filters))) {
    if (!id.IsEqual(object.GetOid())) holders.push_back(id);
  }
  return holders;
}

void ObjectStore::Save(CXoObjBase& object, bool overwrite) {
  const ClassSql& sql = Sql(object.GetClass());
  const CXoObjId& oid = object.GetOid();
  if (oid.IsOidNull() || !IsWellFormed(oid)) Fail(kInvalidId);
  if (oid.GetOidClass() != object.GetClass()) Fail(kWrongClass);
  bool exists = Exists(oid);
  if (exists && !overwrite) Fail(kExists);
  ValidateColumns(object);
  CXoObjIdArray holders = NameHolders(object);
  bool adopted = false;
  if (!exists && overwrite && holders.size() == 1) {
    // Replacing by name: the object takes over the identifier of the one
    // that holds the name, so concurrent "add or replace" calls converge.
    // The lists of the stored object are kept: the caller never read them.
    object.SetOid(holders.front());
    exists = adopted = true;
    holders.clear();
  }
  // With the update flag, a name already held twice (a store out of order)
  // does not stop a new object; otherwise a taken name is refused.
  bool brokenStoreReplace = overwrite && !exists && holders.size() >= 2;
  if (!holders.empty() && !brokenStoreReplace) Fail(kNameTaken);
  for (const XoPropDef* def : sql.lists) {
    if (const CXoObjIdArray* ids = std::get_if<CXoObjIdArray>(&object.Get(def->number))) {
      ValidateList(object, *def, *ids);
    }
  }
  // Only an administrator already stored can stop being one of them.
  const bool guarded = exists && object.GetClass() == XoObjId_Admin;
  const int64_t systemAdmins = guarded ? PasswordSystemAdmins() : 0;
  Use write(db_.Prepare(exists ? sql.update : sql.insert));
  write->Bind(1, object.GetOid().GetOidString());
  BindColumns(*write, sql, object);
  write->Step();
  for (const XoPropDef* def : sql.lists) {
    const CXoObjIdArray* ids = std::get_if<CXoObjIdArray>(&object.Get(def->number));
    if (!ids || adopted) continue;  // a list that was not loaded is left as stored
    if (def->storage == XoPropStorage::Stored) {
      WriteStoredList(object.GetOid(), object.GetClass(), *def, *ids);
    } else {
      WriteInverseList(object.GetOid(), *def, *ids);
    }
  }
  if (guarded) KeepAPasswordSystemAdmin(systemAdmins);
  Audit(exists ? "update" : "create", object.GetClass(), object.GetOid().GetOidString(),
        Label(object));
}

CXoObjIdArray ObjectStore::ReadList(const CXoObjId& owner, const XoPropDef& def) {
  CXoObjIdArray ids;
  if (def.storage == XoPropStorage::Stored) {
    Use list(db_.Prepare("SELECT member FROM xo_list WHERE owner = ?1 AND prop = ?2 ORDER BY pos"));
    list->Bind(1, owner.GetOidString()).Bind(2, int64_t{def.number});
    while (list->Step()) ids.emplace_back(list->Text(0));
  } else if (def.storage == XoPropStorage::Inverse) {
    Use list(
        db_.Prepare("SELECT owner FROM xo_list WHERE member = ?1 AND owner_class = ?2 "
                    "AND prop = ?3 ORDER BY " +
                    db_.Sql().listOrder));
    list->Bind(1, owner.GetOidString()).Bind(2, int64_t{def.listClass});
    list->Bind(3, int64_t{def.listProp});
    while (list->Step()) ids.emplace_back(list->Text(0));
  } else if (def.storage == XoPropStorage::Derived) {
    const ClassSql& members = Sql(def.listClass);
    std::string select = "SELECT oid FROM " + std::string(members.dict->Table());
    if (def.listProp) {
      select += " WHERE " + ColumnName(Property(*members.dict, def.listProp)) + " = ?1";
    }
    Use list(db_.Prepare(select + " ORDER BY seq"));
    if (def.listProp) list->Bind(1, owner.GetOidString());
    while (list->Step()) ids.emplace_back(list->Text(0));
  }
  return ids;
}

// Rewrites only what changed behind the common prefix, so that appending a
// member costs one row however long the list is.
void ObjectStore::WriteStoredList(const CXoObjId& owner, int32_t ownerClass, const XoPropDef& def,
                                  const CXoObjIdArray& ids) {
  std::vector<std::pair<int64_t, std::string>> current;  // position, member
  {
    Use list(
        db_.Prepare("SELECT pos, member FROM xo_list WHERE owner = ?1 AND prop = ?2 ORDER BY pos"));
    list->Bind(1, owner.GetOidString()).Bind(2, int64_t{def.number});
    while (list->Step()) current.emplace_back(list->Int(0), list->Text(1));
  }
  size_t same = 0;
  while (same < current.size() && same < ids.size() &&
         current[same].second == ids[same].GetOidString()) {
    ++same;
  }
  if (same == current.size() && same == ids.size()) return;
  if (same < current.size()) {
    Use trim(db_.Prepare("DELETE FROM xo_list WHERE owner = ?1 AND prop = ?2 AND pos >= ?3"));
    trim->Bind(1, owner.GetOidString()).Bind(2, int64_t{def.number});
    trim->Bind(3, current[same].first);
    trim->Step();
  }
  int64_t pos = same == 0 ? 0 : current[same - 1].first + 1;
  Use insert(db_.Prepare(
      "INSERT INTO xo_list (owner, owner_class, prop, pos, member) VALUES (?1, ?2, ?3, ?4, ?5)"));
  for (size_t i = same; i < ids.size(); ++i, ++pos) {
    insert->Reset();
    insert->Bind(1, owner.GetOidString()).Bind(2, int64_t{ownerClass});
    insert->Bind(3, int64_t{def.number}).Bind(4, pos);
    insert->Bind(5, ids[i].GetOidString());
    insert->Step();
  }
}

// The owners' lists change so that exactly `owners` name the member; an
// owner that newly names it gets it at the end of its list.
void ObjectStore::WriteInverseList(const CXoObjId& member, const XoPropDef& def,
                                   const CXoObjIdArray& owners) {
  CXoObjIdArray current = ReadList(member, def);
  auto holds = [](const CXoObjIdArray& list, const CXoObjId& id) {
    return std::any_of(list.begin(), list.end(), [&](const CXoObjId& x) { return x.IsEqual(id); });
  };
  for (const CXoObjId& owner : current) {
    if (holds(owners, owner)) continue;
    Use drop(db_.Prepare("DELETE FROM xo_list WHERE owner = ?1 AND prop = ?2 AND member = ?3"));
    drop->Bind(1, owner.GetOidString()).Bind(2, int64_t{def.listProp});
    drop->Bind(3, member.GetOidString());
    drop->Step();
  }
  for (const CXoObjId& owner : owners) {
    if (holds(current, owner)) continue;
    current.push_back(owner);
    AppendListRow(owner, def.listClass, def.listProp, member);
  }
}

void ObjectStore::AppendListRow(const CXoObjId& owner, int32_t ownerClass, uint32_t prop,
                                const CXoObjId& member) {
  Use append(db_.Prepare(
      "INSERT INTO xo_list (owner, owner_class, prop, pos, member) VALUES (?1, ?2, ?3, "
      "(SELECT coalesce(max(pos) + 1, 0) FROM xo_list WHERE owner = ?1 AND prop = ?3), ?4)"));
  append->Bind(1, owner.GetOidString()).Bind(2, int64_t{ownerClass});
  append->Bind(3, int64_t{prop}).Bind(4, member.GetOidString());
  append->Step();
}

const XoPropDef& ObjectStore::StoredListOf(const CXoObjId& owner, uint32_t prop) {
  const ClassSql& sql = Sql(owner.GetOidClass());
  const XoPropDef& def = Property(*sql.dict, prop);
  if (def.storage != XoPropStorage::Stored) Fail(kBadProperty);
  if (!IsWellFormed(owner) || owner.IsOidNull()) Fail(kInvalidId);
  if (!Exists(owner)) Fail(kPropertyAbsent);
  return def;
}

// Found through the member's index, so the cost follows how many lists name
// the member, not how long this one is. The owner is compared as an
// expression, which keeps the planner off the list's own key: that would
// walk the whole list.
int64_t ObjectStore::FirstPosition(const CXoObjId& owner, const XoPropDef& def,
                                   const CXoObjId& member) {
  Use first(db_.Prepare(
      "SELECT min(pos) FROM xo_list WHERE member = ?1 AND owner_class = ?2 AND prop = ?3 AND "
      "owner || '' = ?4"));
  first->Bind(1, member.GetOidString()).Bind(2, int64_t{owner.GetOidClass()});
  first->Bind(3, int64_t{def.number}).Bind(4, owner.GetOidString());
  if (!first->Step() || first->IsNull(0)) return -1;
  return first->Int(0);
}

void ObjectStore::AddListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member) {
  const XoPropDef& def = StoredListOf(owner, prop);
  if (FirstPosition(owner, def, member) >= 0) Fail(kExists);
  const CXoObjBase object(static_cast<XoObjId_Class>(owner.GetOidClass()), owner);
  ValidateList(object, def, {member});
  AppendListRow(owner, owner.GetOidClass(), def.number, member);
  Audit("set " + Words(def.name), owner.GetOidClass(), owner.GetOidString(), LabelOf(owner));
}

void ObjectStore::RemoveListMember(const CXoObjId& owner, uint32_t prop, const CXoObjId& member) {
  const XoPropDef& def = StoredListOf(owner, prop);
  const int64_t position = FirstPosition(owner, def, member);
  if (position < 0) Fail(kNotFound);
  Use drop(db_.Prepare("DELETE FROM xo_list WHERE owner = ?1 AND prop = ?2 AND pos = ?3"));
  drop->Bind(1, owner.GetOidString()).Bind(2, int64_t{def.number}).Bind(3, position);
  drop->Step();
  Audit("set " + Words(def.name), owner.GetOidClass(), owner.GetOidString(), LabelOf(owner));
}

CXoObjIdArray ObjectStore::Search(const CXoObjBase& templ, std::vector<Filter> filters) {
  const CXoObjDictProp& dict = templ.Dict();
  if (dict.DomainProp() && !templ.GetDomainOid().IsOidNull()) {
    const XoPropDef* domain = dict.Find(dict.DomainProp());
    bool filtered = std::any_of(filters.begin(), filters.end(),
                                [domain](const Filter& f) { return f.first == domain; });
    if (!filtered) filters.emplace_back(domain, templ.GetDomainOid().GetOidString());
  }
  std::string select = "SELECT oid FROM " + std::string(dict.Table());
  for (size_t i = 0; i < filters.size(); ++i) {
    const XoPropDef& def = *filters[i].first;
    if (def.storage != XoPropStorage::Column && def.storage != XoPropStorage::Key) {
      Fail(kBadProperty);
    }
    if (filters[i].second.size() > std::max<uint32_t>(def.maxLength, 64)) Fail(kTextTooLong);
    select += (i ? " AND " : " WHERE ");
    select += (def.storage == XoPropStorage::Key ? std::string("oid") : ColumnName(def)) + " = ?" +
              std::to_string(i + 1);
  }
  Use search(db_.Prepare(select + " ORDER BY seq"));
  for (size_t i = 0; i < filters.size(); ++i) {
    const XoPropDef& def = *filters[i].first;
    const std::string& text = filters[i].second;
    if (def.type == XoPropType::Int || def.type == XoPropType::Bool) {
      int64_t number = 0;
      auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
      if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) return {};
      search->Bind(static_cast<int>(i + 1), number);
    } else {
      search->Bind(static_cast<int>(i + 1), text);
    }
  }
  CXoObjIdArray hits;
  while (search->Step()) hits.emplace_back(search->Text(0));
  return hits;
}

XoPropValue ObjectStore::ReadProperty(const CXoObjBase& object, uint32_t prop) {
  const XoPropDef& def = Property(object.Dict(), prop);
  if (object.GetOid().GetOidClass() != object.GetClass()) {
    Fail(IsWellFormed(object.GetOid()) && !object.GetOid().IsOidNull() ? kWrongClass : kInvalidId);
  }
  // A list of an object that is not stored (yet) is absent rather than an
  // error: callers about to create the object read it as empty.
  if (!Exists(object.GetOid())) Fail(def.type == XoPropType::IdList ? kPropertyAbsent : kNotFound);
  if (def.storage == XoPropStorage::Key) return object.GetOid();
  if (def.type == XoPropType::IdList) return ReadList(object.GetOid(), def);
  CXoObjBase loaded(object.GetClass(), object.GetOid());
  Load(loaded);
  return loaded.Get(prop);
}

namespace {

// The column that holds the names of a class's objects.
std::string NameColumn(const CXoObjDictProp& dict) {
  const XoPropDef* name = dict.NameProp() ? dict.Find(dict.NameProp()) : nullptr;
  return name ? ColumnName(*name) : std::string("''");
}

// The query behind ReadListNames: ?1 the owner, rows of (identifier, name),
// the name NULL for an identifier no table holds. A stored list may name
// objects of several classes, each looked up in its own table.
std::string ListNamesQuery(const XoPropDef& def, const Dialect& dialect) {
  if (def.storage == XoPropStorage::Derived) {
    const CXoObjDictProp& members = *SqlFor(def.listClass, dialect)->dict;
    std::string select =
        "SELECT oid, " + NameColumn(members) + " FROM " + std::string(members.Table());
    if (def.listProp) {
      select += " WHERE " + ColumnName(*members.Find(def.listProp)) + " = ?1";
    }
    return select + " ORDER BY seq";
  }
  // Each member is looked up only in the table of its class, which its
  // identifier begins with ("0b-" for a rule).
  std::string name = "CASE substr(l.member, 1, 3)";
  for (int32_t cls : def.refClasses) {
    const CXoObjDictProp& members = *SqlFor(cls, dialect)->dict;
    char prefix[8];
    std::snprintf(prefix, sizeof prefix, "%02x-", static_cast<unsigned>(cls));
    name += " WHEN '" + std::string(prefix) + "' THEN (SELECT " + NameColumn(members) + " FROM " +
            members.Table() + " WHERE oid = l.member)";
  }
  return "SELECT l.member, " + name +
         " END FROM xo_list l WHERE l.owner = ?1 AND l.prop = " + std::to_string(def.number) +
         " ORDER BY l.pos";
}

}  // namespace

void ObjectStore::ReadListNames(const CXoObjBase& object, uint32_t prop, CXoObjIdArray& ids,
                                std::vector<std::string>& names) {
  const XoPropDef& def = Property(object.Dict(), prop);
  if (def.storage != XoPropStorage::Derived && def.storage != XoPropStorage::Stored) {
    Fail(kBadProperty);
  }
  if (object.GetOid().GetOidClass() != object.GetClass()) {
    Fail(IsWellFormed(object.GetOid()) && !object.GetOid().IsOidNull() ? kWrongClass : kInvalidId);
  }
  if (!Exists(object.GetOid())) Fail(kPropertyAbsent);
  ids.clear();
  names.clear();
  Use list(db_.Prepare(ListNamesQuery(def, db_.Sql())));
  if (def.storage == XoPropStorage::Stored || def.listProp) {
    list->Bind(1, object.GetOid().GetOidString());
  }
  while (list->Step()) {
    ids.emplace_back(list->Text(0));
    // No table of the list's classes holds the member: it is gone, or of a
    // class the list does not hold, which is for the caller to judge.
    if (list->IsNull(1) && Contains(def.refClasses, ids.back().GetOidClass())) Fail(kNotFound);
    names.push_back(list->IsNull(1) ? std::string() : list->Text(1));
  }
}

void ObjectStore::WriteProperty(const CXoObjId& id, uint32_t prop, const XoPropValue& value) {
  const ClassSql& sql = Sql(id.GetOidClass());
  const XoPropDef& def = Property(*sql.dict, prop);
  if (def.storage == XoPropStorage::Key || def.storage == XoPropStorage::Derived) {
    Fail(kBadProperty);
  }
  std::unique_ptr<CXoObjBase> object(CXoObjDictProp::MakeObject(id));
  if (!object) Fail(kInvalidId);
  Load(*object);
  if (def.type == XoPropType::IdList) {
    const CXoObjIdArray* ids = std::get_if<CXoObjIdArray>(&value);
    if (!ids) Fail(kTypeMismatch);
    ValidateList(*object, def, *ids);
    if (def.storage == XoPropStorage::Stored) {
      WriteStoredList(id, id.GetOidClass(), def, *ids);
    } else {
      WriteInverseList(id, def, *ids);
    }
    Audit("set " + Words(def.name), id.GetOidClass(), id.GetOidString(), Label(*object));
    return;
  }
  XoPropValue converted = value;
  if (def.type == XoPropType::Id) {
    if (const std::string* text = std::get_if<std::string>(&value)) converted = CXoObjId(*text);
  } else if (def.type == XoPropType::Time) {
    if (const std::string* text = std::get_if<std::string>(&value)) converted = CXoObjTime(*text);
  }
  bool matches = (def.type == XoPropType::Text && std::holds_alternative<std::string>(converted)) ||
                 (def.type == XoPropType::Int && std::holds_alternative<int32_t>(converted)) ||
                 (def.type == XoPropType::Bool && std::holds_alternative<bool>(converted)) ||
                 (def.type == XoPropType::Id && std::holds_alternative<CXoObjId>(converted)) ||
                 (def.type == XoPropType::Time && std::holds_alternative<CXoObjTime>(converted));
  if (!matches) Fail(kTypeMismatch);
  for (const XoPropDef* list : sql.lists) object->Clear(list->number);
  object->Set(prop, converted);
  Save(*object, true);
}

std::string ObjectStore::LabelOf(const CXoObjId& id) {
  const ClassSql& sql = Sql(id.GetOidClass());
  if (!sql.dict->LabelProp()) return std::string();
  Use select(db_.Prepare("SELECT " + ColumnName(*sql.dict->Find(sql.dict->LabelProp())) + " FROM " +
                         sql.dict->Table() + " WHERE oid = ?1"));
  select->Bind(1, id.GetOidString());
  return select->Step() ? select->Text(0) : std::string();
}

void ObjectStore::Remove(const CXoObjId& id) {
  if (!IsWellFormed(id) || id.IsOidNull()) Fail(kInvalidId);
  int32_t cls = id.GetOidClass();
  if (cls == XoObjId_Root || !SqlFor(cls, db_.Sql())) Fail(kInvalidArgument);
  if (!Exists(id)) Fail(kNotFound);
  const bool guarded = cls == XoObjId_Admin;
  const int64_t systemAdmins = guarded ? PasswordSystemAdmins() : 0;

  // Everything the object owns, transitively.
  std::vector<CXoObjId> doomed{id};
  std::unordered_set<std::string> inSet{id.GetOidString()};
  for (size_t next = 0; next < doomed.size(); ++next) {
    CXoObjId current = doomed[next];
    for (const Incoming& ref : IncomingReferences(current.GetOidClass())) {
      if (ref.def->onDelete != XoOnDelete::Cascade) continue;
      CXoObjBase templ(ref.dict->Class());
      for (const CXoObjId& owned : Search(templ, {{ref.def, current.GetOidString()}})) {
        if (inSet.insert(owned.GetOidString()).second) doomed.push_back(owned);
      }
    }
  }
  // Refused while anything outside the deletion still uses one of them.
  for (const CXoObjId& victim : doomed) {
    for (const Incoming& ref : IncomingReferences(victim.GetOidClass())) {
      if (ref.def->onDelete != XoOnDelete::Restrict) continue;
      CXoObjBase templ(ref.dict->Class());
      for (const CXoObjId& user : Search(templ, {{ref.def, victim.GetOidString()}})) {
        if (!inSet.count(user.GetOidString())) Fail(kInUse);
      }
    }
  }
  for (const CXoObjId& victim : doomed) {
    for (const Incoming& ref : IncomingReferences(victim.GetOidClass())) {
      if (ref.def->onDelete != XoOnDelete::Nullify) continue;
      Use clear(db_.Prepare("UPDATE " + std::string(ref.dict->Table()) + " SET " +
                            ColumnName(*ref.def) + " = '00-' WHERE " + ColumnName(*ref.def) +
                            " = ?1"));
      clear->Bind(1, victim.GetOidString());
      clear->Step();
    }
    std::string name = LabelOf(victim);
    Use row(db_.Prepare(Sql(victim.GetOidClass()).deleteRow));
    row->Bind(1, victim.GetOidString());
    row->Step();
    Use owned(db_.Prepare("DELETE FROM xo_list WHERE owner = ?1"));
    owned->Bind(1, victim.GetOidString());
    owned->Step();
    Use named(db_.Prepare("DELETE FROM xo_list WHERE member = ?1"));
    named->Bind(1, victim.GetOidString());
    named->Step();
    Audit("delete", victim.GetOidClass(), victim.GetOidString(), name);
  }
  if (guarded) KeepAPasswordSystemAdmin(systemAdmins);
}

int64_t ObjectStore::PasswordSystemAdmins() {
  static const std::string count = [] {
    const CXoObjDictProp& admin = *CXoObjDictProp::ForClass(XoObjId_Admin);
    const auto column = [&](uint32_t prop) { return ColumnName(*admin.Find(prop)); };
    return "SELECT count(*) FROM " + std::string(admin.Table()) + " WHERE (" +
           column(CXoObjAdmin::AdminFlags) + " & " + std::to_string(XO_ADMFLAG_SYSTEM) +
           ") != 0 AND " + column(CXoObjAdmin::DirectoryBound) + " = 0 AND " +
           column(CXoObjAdmin::AdminText) + " != ''";
  }();
  Use select(db_.Prepare(count));
  select->Step();
  return select->Int(0);
}

void ObjectStore::KeepAPasswordSystemAdmin(int64_t before) {
  if (before > 0 && PasswordSystemAdmins() == 0) Fail(kLastSystemAdmin);
}

void ObjectStore::Audit(const std::string& operation, int32_t cls, const std::string& oid,
                        const std::string& name) {
  Use insert(db_.Prepare(
      "INSERT INTO xo_audit (time, admin, operation, class, oid, name) VALUES (?1, ?2, ?3, ?4, "
      "?5, ?6)"));
  insert->Bind(1, platform::NowSeconds()).Bind(2, db_.adminName).Bind(3, operation);
  insert->Bind(4, int64_t{cls}).Bind(5, oid).Bind(6, name);
  insert->Step();
}

}  // namespace xo::store::sql
