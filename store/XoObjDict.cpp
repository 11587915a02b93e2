#include "XoObjDict.h"

#include <algorithm>
#include <memory>

#include "XoObjClasses.h"

namespace {

constexpr uint32_t kMaxText = 1023;
constexpr uint32_t kStored = XoProp_Storable;
constexpr uint32_t kNameFlags = XoProp_Required | XoProp_Unique | XoProp_Searchable | kStored;

XoPropDef Key() {
  return {0,
          "Oid",
          XoPropType::Id,
          XoProp_Required | XoProp_Searchable | kStored,
          64,
          XoPropStorage::Key,
          XoOnDelete::Keep,
          {},
          0,
          0};
}
XoPropDef Text(uint32_t n, const char* name, uint32_t flags = kStored) {
  return {n, name, XoPropType::Text, flags, kMaxText, XoPropStorage::Column, XoOnDelete::Keep, {},
          0, 0};
}
XoPropDef NameText(uint32_t n) { return Text(n, "Name", kNameFlags); }
XoPropDef Int(uint32_t n, const char* name) {
  return {n, name, XoPropType::Int, kStored, 0, XoPropStorage::Column, XoOnDelete::Keep, {}, 0, 0};
}
XoPropDef Bool(uint32_t n, const char* name) {
  return {n, name, XoPropType::Bool, kStored, 0, XoPropStorage::Column, XoOnDelete::Keep, {}, 0, 0};
}
XoPropDef Time(uint32_t n, const char* name) {
  return {n, name, XoPropType::Time, kStored, kMaxText, XoPropStorage::Column, XoOnDelete::Keep, {},
          0, 0};
}
XoPropDef Ref(uint32_t n, const char* name, std::vector<int32_t> classes, XoOnDelete onDelete,
              uint32_t flags = kStored | XoProp_Searchable) {
  return {n, name, XoPropType::Id, flags, 64, XoPropStorage::Column, onDelete, std::move(classes),
          0, 0};
}
XoPropDef Required(XoPropDef def) {
  def.flags |= XoProp_Required;
  return def;
}
XoPropDef DomainRef() { return Required(Ref(1, "Domain", {XoObjId_Domain}, XoOnDelete::Cascade)); }
// An ordered list of identifiers written by the API.
XoPropDef StoredList(uint32_t n, const char* name, std::vector<int32_t> classes) {
  return {n,
          name,
          XoPropType::IdList,
          kStored | XoProp_List | XoProp_Collection,
          64,
          XoPropStorage::Stored,
          XoOnDelete::Keep,
          std::move(classes),
          0,
          0};
}
// The other side of a stored list: the owners whose list names this object.
XoPropDef InverseList(uint32_t n, const char* name, int32_t ownerClass, uint32_t ownerProp) {
  return {n,
          name,
          XoPropType::IdList,
          kStored | XoProp_List | XoProp_Collection,
          64,
          XoPropStorage::Inverse,
          XoOnDelete::Keep,
          {ownerClass},
          ownerClass,
          ownerProp};
}
// The objects of a class that point here (or all of them when memberProp is 0).
XoPropDef DerivedList(uint32_t n, const char* name, int32_t memberClass, uint32_t memberProp) {
  return {n,
          name,
          XoPropType::IdList,
          XoProp_List | XoProp_Collection,
          64,
          XoPropStorage::Derived,
          XoOnDelete::Keep,
          {memberClass},
          memberClass,
          memberProp};
}

std::vector<XoPropDef> Props(std::initializer_list<XoPropDef> defs) {
  std::vector<XoPropDef> props{Key()};
  props.insert(props.end(), defs);
  return props;
}

std::vector<XoPropDef> GroupProps(bool inDomain, std::vector<int32_t> memberClasses) {
  std::vector<XoPropDef> props{Key()};
  if (inDomain) props.push_back(DomainRef());
  uint32_t n = inDomain ? 2 : 1;
  props.push_back(NameText(n));
  props.push_back(Text(n + 1, "Description"));
  props.push_back(Required(Ref(n + 2, "Vendor", {XoObjId_Vendor}, XoOnDelete::Restrict)));
  props.push_back(StoredList(n + 3, "Members", std::move(memberClasses)));
  return props;
}

std::vector<std::unique_ptr<CXoObjDictProp>> BuildDictionaries() {
  std::vector<std::unique_ptr<CXoObjDictProp>> d;
  auto add = [&d](XoObjId_Class cls, const char* name, const char* table,
                  std::vector<XoPropDef> props, std::vector<uint32_t> scope) {
    d.push_back(
        std::make_unique<CXoObjDictProp>(cls, name, table, std::move(props), std::move(scope)));
  };
  const XoOnDelete kCascade = XoOnDelete::Cascade, kRestrict = XoOnDelete::Restrict,
                   kNullify = XoOnDelete::Nullify, kKeep = XoOnDelete::Keep;

  add(XoObjId_Device, "Device", "device",
      Props({NameText(1), Text(2, "Description"), Text(3, "String1"), Text(4, "String2"),
             Required(Ref(5, "AgentType", {XoObjId_Vendor}, kRestrict)), Int(6, "IntValue")}),
      {});
  add(XoObjId_DeviceGroup, "DeviceGroup", "device_group",
      GroupProps(false, {XoObjId_Device, XoObjId_DeviceGroup}), {});
  add(XoObjId_Domain, "Domain", "domain",
      Props({NameText(1), Text(2, "Description"), DerivedList(3, "Realms", XoObjId_Realm, 1),
             StoredList(4, "UserDirectories", {XoObjId_UserDirectory}),
             DerivedList(5, "Rules", XoObjId_Rule, 1),
             DerivedList(6, "RuleGroups", XoObjId_RuleGroup, 1),
             DerivedList(7, "Responses", XoObjId_Response, 1),
             DerivedList(8, "ResponseGroups", XoObjId_ResponseGroup, 1),
             DerivedList(9, "Policies", XoObjId_Policy, 1),
             StoredList(10, "Admins", {XoObjId_Admin})}),
      {});
  add(XoObjId_Policy, "Policy", "policy",
      Props({DomainRef(), NameText(2), Text(3, "Description"), Text(4, "Text1"),
             Time(5, "TimeRestriction"), Bool(6, "Enabled"), Bool(7, "PolicyFlag"),
             Text(8, "Text2")}),
      {1});
  add(XoObjId_PolicyLink, "PolicyLink", "policy_link",
      Props({DomainRef(), Required(Ref(2, "Rule", {XoObjId_Rule, XoObjId_RuleGroup}, kCascade)),
             Ref(3, "Response", {XoObjId_Response, XoObjId_ResponseGroup}, kNullify),
             Required(Ref(4, "Policy", {XoObjId_Policy}, kCascade))}),
      {});
  add(XoObjId_Realm, "Realm", "realm",
      Props({DomainRef(), NameText(2), Text(3, "Description"), Text(4, "RealmText"),
             Required(Ref(5, "Agent", {XoObjId_Device, XoObjId_DeviceGroup}, kRestrict)),
             Ref(6, "AgentType", {XoObjId_Vendor}, kRestrict),
             Required(Ref(7, "Scheme", {XoObjId_Scheme}, kRestrict)), Bool(8, "Flag1"),
             Bool(9, "Flag2"), Bool(10, "Flag3"), Ref(11, "Reserved1", {}, kKeep, kStored),
             Ref(12, "Reserved2", {}, kKeep, kStored), Int(13, "Int1"), Int(14, "Int2"),
             Required(Ref(15, "Parent", {XoObjId_Domain, XoObjId_Realm}, kCascade)),
             Bool(16, "Flag4")}),
      {1});
  add(XoObjId_Response, "Response", "response",
      Props({DomainRef(), NameText(2), Text(3, "Description"),
             Required(Ref(4, "AgentType", {XoObjId_Vendor}, kRestrict)),
             DerivedList(5, "Attributes", XoObjId_ResponseAttr, 4), Bool(6, "Flag1"),
             Bool(7, "Flag2"), Bool(8, "Flag3")}),
      {1});
  add(XoObjId_ResponseAttr, "ResponseAttr", "response_attr",
      Props({DomainRef(), Text(2, "Value"),
             Required(Ref(3, "VendorAttr", {XoObjId_VendorAttr}, kRestrict)),
             Required(Ref(4, "Response", {XoObjId_Response}, kCascade)), Int(5, "Int1"),
             Int(6, "Int2")}),
      {});
  add(XoObjId_ResponseGroup, "ResponseGroup", "response_group",
      GroupProps(true, {XoObjId_Response, XoObjId_ResponseGroup}), {1});
  add(XoObjId_Root, "Root", "root",
      Props({Text(1, "Name"), DerivedList(2, "Schemes", XoObjId_Scheme, 0),
             DerivedList(3, "Agents", XoObjId_Device, 0),
             DerivedList(4, "AgentGroups", XoObjId_DeviceGroup, 0),
             DerivedList(5, "UserDirectories", XoObjId_UserDirectory, 0),
             DerivedList(6, "Domains", XoObjId_Domain, 0),
             DerivedList(7, "Admins", XoObjId_Admin, 0)}),
      {});
  add(XoObjId_Rule, "Rule", "rule",
      Props({DomainRef(), NameText(2), Text(3, "Description"),
             Required(Ref(4, "Realm", {XoObjId_Realm}, kCascade)),
             Ref(5, "AgentType", {XoObjId_Vendor}, kRestrict), Text(6, "Text1"), Text(7, "Text2"),
             Time(8, "TimeRestriction"), Bool(9, "Flag1"), Bool(10, "Flag2"), Text(11, "Text3"),
             Bool(12, "Flag3")}),
      {4});
  add(XoObjId_RuleGroup, "RuleGroup", "rule_group",
      GroupProps(true, {XoObjId_Rule, XoObjId_RuleGroup}), {1});
  add(XoObjId_Scheme, "Scheme", "scheme",
      Props({NameText(1), Text(2, "Description"), Int(3, "Int1"), Text(4, "String1"),
             Text(5, "String2"), Text(6, "String3"), Bool(7, "Flag1"), Bool(8, "Flag2"),
             Int(9, "Int2"), Bool(10, "Flag3"), Bool(11, "Flag4"), Bool(12, "Flag5")}),
      {});
  add(XoObjId_UserDirectory, "UserDirectory", "user_directory",
      Props({NameText(1),
             Text(2, "Description"),
             Text(3, "DirectoryType"),
             Text(4, "String1"),
             Text(5, "String2"),
             Text(6, "String3"),
             Text(7, "String4"),
             Text(8, "String5"),
             Text(9, "String6"),
             Int(10, "Int1"),
             Int(11, "Int2"),
             Int(12, "Int3"),
             Bool(13, "Flag1"),
             Bool(14, "Flag2"),
             Text(15, "String7"),
             Text(16, "String8"),
             Ref(17, "QueryScheme", {XoObjId_ODBCQuery}, kNullify),
             Text(18, "String9"),
             Text(19, "String10"),
             Text(20, "String11"),
             Text(21, "String12"),
             Text(22, "String13")}),
      {});
  add(XoObjId_Admin, "Admin", "admin",
      Props({NameText(1), Text(2, "Description"), Text(3, "AdminText", kStored | XoProp_Secret),
             Ref(4, "UserDirectory", {XoObjId_UserDirectory}, kRestrict),
             Ref(5, "Scheme", {XoObjId_Scheme}, kRestrict), Bool(6, "DirectoryBound"),
             InverseList(7, "Domains", XoObjId_Domain, 10), Int(8, "AdminFlags")}),
      {});
  add(XoObjId_Vendor, "Vendor", "vendor",
      Props({NameText(1), Text(2, "Description"),
             DerivedList(3, "Attributes", XoObjId_VendorAttr, 3)}),
      {});
  add(XoObjId_VendorAttr, "VendorAttr", "vendor_attr",
      Props({NameText(1), Text(2, "Description"),
             Required(Ref(3, "Vendor", {XoObjId_Vendor}, kCascade)), Text(4, "ValueType"),
             Int(5, "Code")}),
      {3});
  add(XoObjId_UserPolicy, "UserPolicy", "user_policy",
      Props({DomainRef(), Text(2, "Entry", XoProp_Required | XoProp_Searchable | kStored),
             Text(3, "EntryDetail"), Int(4, "Resolution"), Int(5, "Kind"),
             Required(Ref(6, "UserDirectory", {XoObjId_UserDirectory}, kCascade)),
             Required(Ref(7, "Policy", {XoObjId_Policy}, kCascade))}),
      {});
  std::vector<XoPropDef> odbc = Props({NameText(1), Text(2, "Description")});
  static const char* kQueryNames[] = {"Query1",  "Query2",  "Query3",  "Query4",  "Query5",
                                      "Query6",  "Query7",  "Query8",  "Query9",  "Query10",
                                      "Query11", "Query12", "Query13", "Query14", "Query15"};
  for (uint32_t i = 0; i < 15; ++i) odbc.push_back(Text(3 + i, kQueryNames[i]));
  add(XoObjId_ODBCQuery, "ODBCQuery", "odbc_query", std::move(odbc), {});
  add(XoObjId_ServerCommand, "ServerCommand", "server_command",
      Props({Int(1, "IssuedAt"), Int(2, "Command"), Int(3, "SubCommand"), Text(4, "Argument"),
             Text(5, "IssuedBy")}),
      {});
  return d;
}

const std::vector<std::unique_ptr<CXoObjDictProp>>& Dictionaries() {
  static const auto* dictionaries =
      new std::vector<std::unique_ptr<CXoObjDictProp>>(BuildDictionaries());
  return *dictionaries;
}

}  // namespace

CXoObjDictProp::CXoObjDictProp(XoObjId_Class cls, const char* className, const char* table,
                               std::vector<XoPropDef> props, std::vector<uint32_t> nameScope)
    : class_(cls),
      className_(className),
      table_(table),
      props_(std::move(props)),
      nameScope_(std::move(nameScope)) {
  int32_t name = FindByName("Name");
  if (name > 0) nameProp_ = static_cast<uint32_t>(name);
  labelProp_ = nameProp_;
  for (const XoPropDef& def : props_) {
    if (labelProp_ == 0 && def.type == XoPropType::Text && def.storage == XoPropStorage::Column) {
      labelProp_ = def.number;
    }
  }
  int32_t domain = FindByName("Domain");
  if (domain > 0) domainProp_ = static_cast<uint32_t>(domain);
}

const CXoObjDictProp* CXoObjDictProp::ForClass(int32_t cls) {
  static const auto* byClass = [] {
    auto* table = new std::vector<const CXoObjDictProp*>(XoObjId_LastValid + 1, nullptr);
    for (const auto& dict : Dictionaries()) (*table)[dict->Class()] = dict.get();
    return table;
  }();
  if (cls < 0 || cls > XoObjId_LastValid) return nullptr;
  return (*byClass)[cls];
}

const std::vector<const CXoObjDictProp*>& CXoObjDictProp::All() {
  static const auto* all = [] {
    auto* list = new std::vector<const CXoObjDictProp*>();
    for (const auto& dict : Dictionaries()) list->push_back(dict.get());
    return list;
  }();
  return *all;
}

const XoPropDef* CXoObjDictProp::Find(uint32_t number) const {
  return number < props_.size() ? &props_[number] : nullptr;
}

int32_t CXoObjDictProp::FindByName(const std::string& name) const {
  for (const XoPropDef& def : props_) {
    if (name == def.name) return static_cast<int32_t>(def.number);
  }
  return -1;
}

CXoObjBase* CXoObjDictProp::MakeObject(const CXoObjId& id) {
  switch (id.GetOidClass()) {
    case XoObjId_Device:
      return new CXoObjDevice(id);
    case XoObjId_DeviceGroup:
      return new CXoObjDeviceGroup(id);
    case XoObjId_Domain:
      return new CXoObjDomain(id);
    case XoObjId_Policy:
      return new CXoObjPolicy(id);
    case XoObjId_PolicyLink:
      return new CXoObjPolicyLink(id);
    case XoObjId_Realm:
      return new CXoObjRealm(id);
    case XoObjId_Response:
      return new CXoObjResponse(id);
    case XoObjId_ResponseAttr:
      return new CXoObjResponseAttr(id);
    case XoObjId_ResponseGroup:
      return new CXoObjResponseGroup(id);
    case XoObjId_Root:
      return new CXoObjRoot(id);
    case XoObjId_Rule:
      return new CXoObjRule(id);
    case XoObjId_RuleGroup:
      return new CXoObjRuleGroup(id);
    case XoObjId_Scheme:
      return new CXoObjScheme(id);
    case XoObjId_UserDirectory:
      return new CXoObjUserDirectory(id);
    case XoObjId_Admin:
      return new CXoObjAdmin(id);
    case XoObjId_Vendor:
      return new CXoObjVendor(id);
    case XoObjId_VendorAttr:
      return new CXoObjVendorAttr(id);
    case XoObjId_UserPolicy:
      return new CXoObjUserPolicy(id);
    case XoObjId_ODBCQuery:
      return new CXoObjODBCQuery(id);
    case XoObjId_ServerCommand:
      return new CXoObjServerCommand(id);
    default:
      return nullptr;
  }
}
