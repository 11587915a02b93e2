#include "XoObjClasses.h"

#include <stdexcept>

namespace {

const std::string kEmptyText;
const CXoObjIdArray kEmptyIds;
const CXoObjTime kEmptyTime;
const XoPropValue kUnset;

const CXoObjDictProp* DictFor(XoObjId_Class cls) {
  const CXoObjDictProp* dict = CXoObjDictProp::ForClass(cls);
  if (!dict) throw std::logic_error("store class without a dictionary");
  return dict;
}

}  // namespace

CXoObjBase::CXoObjBase(XoObjId_Class cls) : dict_(DictFor(cls)), values_(dict_->NumProps()) {}

CXoObjBase::CXoObjBase(XoObjId_Class cls, const CXoObjId& oid)
    : dict_(DictFor(cls)), oid_(oid), values_(dict_->NumProps()) {}

CXoObjBase::~CXoObjBase() = default;

CXoObjBase* CXoObjBase::New() const { return new CXoObjBase(dict_->Class()); }

CXoObjBase* CXoObjBase::Copy() const { return new CXoObjBase(*this); }

const CXoObjId& CXoObjBase::GetDomainOid() const {
  if (dict_->DomainProp()) return Id(dict_->DomainProp());
  // A domain lives in the root, as every system-level object does: its name
  // and its existence are the system administrator's, not its own
  // administrators' (renaming one takes MANAGE on the root).
  if (dict_->Class() == XoObjId_Domain && !oid_.IsOidNull()) return RootObjectId;
  return scope_;
}

void CXoObjBase::SetDomainOid(const CXoObjId& domain) {
  if (dict_->DomainProp()) {
    Set(dict_->DomainProp(), domain);
  } else {
    scope_ = domain;
  }
}

const std::string& CXoObjBase::GetName() const {
  return dict_->NameProp() ? Text(dict_->NameProp()) : kEmptyText;
}

bool CXoObjBase::Has(uint32_t prop) const {
  return prop < values_.size() && !std::holds_alternative<std::monostate>(values_[prop]);
}

const XoPropValue& CXoObjBase::Get(uint32_t prop) const {
  return prop < values_.size() ? values_[prop] : kUnset;
}

void CXoObjBase::Set(uint32_t prop, XoPropValue value) {
  if (prop == 0) {
    if (const CXoObjId* id = std::get_if<CXoObjId>(&value)) oid_ = *id;
    return;
  }
  if (prop < values_.size()) values_[prop] = std::move(value);
}

void CXoObjBase::Clear(uint32_t prop) {
  if (prop < values_.size()) values_[prop] = std::monostate{};
}

const std::string& CXoObjBase::Text(uint32_t prop) const {
  const std::string* text = std::get_if<std::string>(&Get(prop));
  return text ? *text : kEmptyText;
}

int32_t CXoObjBase::Int(uint32_t prop) const {
  const int32_t* value = std::get_if<int32_t>(&Get(prop));
  return value ? *value : 0;
}

bool CXoObjBase::Flag(uint32_t prop) const {
  const bool* value = std::get_if<bool>(&Get(prop));
  return value ? *value : false;
}

const CXoObjId& CXoObjBase::Id(uint32_t prop) const {
  if (prop == 0) return oid_;
  const CXoObjId* id = std::get_if<CXoObjId>(&Get(prop));
  return id ? *id : NullObjectId;
}

const CXoObjIdArray& CXoObjBase::Ids(uint32_t prop) const {
  const CXoObjIdArray* ids = std::get_if<CXoObjIdArray>(&Get(prop));
  return ids ? *ids : kEmptyIds;
}

const CXoObjTime& CXoObjBase::Time(uint32_t prop) const {
  const CXoObjTime* time = std::get_if<CXoObjTime>(&Get(prop));
  return time ? *time : kEmptyTime;
}

// Constructors from field values: a fresh identifier and every value given.

CXoObjDevice::CXoObjDevice(const std::string& name, const std::string& description,
                           const std::string& string1, const std::string& string2,
                           const CXoObjId& agentType, int32_t value)
    : CXoObjBase(XoObjId_Device, CXoObjId::NewOid(XoObjId_Device)) {
  Set(Name, name);
  Set(Description, description);
  Set(String1, string1);
  Set(String2, string2);
  Set(AgentType, agentType);
  Set(IntValue, value);
}

CXoObjDeviceGroup::CXoObjDeviceGroup(const std::string& name, const std::string& description,
                                     const CXoObjId& vendor, const CXoObjIdArray& members)
    : CXoObjBase(XoObjId_DeviceGroup, CXoObjId::NewOid(XoObjId_DeviceGroup)) {
  Set(Name, name);
  Set(Description, description);
  Set(Vendor, vendor);
  Set(Members, members);
}

CXoObjDomain::CXoObjDomain(const std::string& name, const std::string& description,
                           const CXoObjIdArray& userDirectories, const CXoObjIdArray& admins)
    : CXoObjBase(XoObjId_Domain, CXoObjId::NewOid(XoObjId_Domain)) {
  Set(Name, name);
  Set(Description, description);
  Set(UserDirectories, userDirectories);
  Set(Admins, admins);
}

CXoObjPolicy::CXoObjPolicy(const std::string& name, const std::string& description,
                           const std::string& text1, const CXoObjTime& time, bool enabled,
                           bool flag, const std::string& text2, const CXoObjId& domain)
    : CXoObjBase(XoObjId_Policy, CXoObjId::NewOid(XoObjId_Policy)) {
  Set(Domain, domain);
  Set(Name, name);
  Set(Description, description);
  Set(Text1, text1);
  Set(TimeRestriction, time);
  Set(Enabled, enabled);
  Set(PolicyFlag, flag);
  Set(Text2, text2);
}

CXoObjPolicyLink::CXoObjPolicyLink(const CXoObjId& rule, const CXoObjId& response,
                                   const CXoObjId& policy, const CXoObjId& domain)
    : CXoObjBase(XoObjId_PolicyLink, CXoObjId::NewOid(XoObjId_PolicyLink)) {
  Set(Domain, domain);
  Set(Rule, rule);
  Set(Response, response);
  Set(Policy, policy);
}

CXoObjRealm::CXoObjRealm(const std::string& name, const std::string& description,
                         const std::string& text, const CXoObjId& agent, const CXoObjId& agentType,
                         const CXoObjId& scheme, bool flag1, bool flag2, bool flag3,
                         const CXoObjId& reserved1, const CXoObjId& reserved2, int32_t int1,
                         int32_t int2, const CXoObjId& parent, bool flag4, const CXoObjId& domain)
    : CXoObjBase(XoObjId_Realm, CXoObjId::NewOid(XoObjId_Realm)) {
  Set(Domain, domain);
  Set(Name, name);
  Set(Description, description);
  Set(RealmText, text);
  Set(Agent, agent);
  Set(AgentType, agentType);
  Set(Scheme, scheme);
  Set(Flag1, flag1);
  Set(Flag2, flag2);
  Set(Flag3, flag3);
  Set(Reserved1, reserved1);
  Set(Reserved2, reserved2);
  Set(Int1, int1);
  Set(Int2, int2);
  Set(Parent, parent);
  Set(Flag4, flag4);
}

CXoObjResponse::CXoObjResponse(const std::string& name, const std::string& description,
                               const CXoObjId& agentType, bool flag1, bool flag2, bool flag3,
                               const CXoObjId& domain)
    : CXoObjBase(XoObjId_Response, CXoObjId::NewOid(XoObjId_Response)) {
  Set(Domain, domain);
  Set(Name, name);
  Set(Description, description);
  Set(AgentType, agentType);
  Set(Attributes, CXoObjIdArray{});
  Set(Flag1, flag1);
  Set(Flag2, flag2);
  Set(Flag3, flag3);
}

CXoObjResponseAttr::CXoObjResponseAttr(const std::string& value, const CXoObjId& vendorAttr,
                                       const CXoObjId& response, int32_t int1, int32_t int2,
                                       const CXoObjId& domain)
    : CXoObjBase(XoObjId_ResponseAttr, CXoObjId::NewOid(XoObjId_ResponseAttr)) {
  Set(Domain, domain);
  Set(Value, value);
  Set(VendorAttr, vendorAttr);
  Set(Response, response);
  Set(Int1, int1);
  Set(Int2, int2);
}

CXoObjRuleGroup::CXoObjRuleGroup(const std::string& name, const std::string& description,
                                 const CXoObjId& vendor, const CXoObjIdArray& members,
                                 const CXoObjId& domain)
    : CXoObjBase(XoObjId_RuleGroup, CXoObjId::NewOid(XoObjId_RuleGroup)) {
  Set(Domain, domain);
  Set(Name, name);
  Set(Description, description);
  Set(Vendor, vendor);
  Set(Members, members);
}

CXoObjResponseGroup::CXoObjResponseGroup(const std::string& name, const std::string& description,
                                         const CXoObjId& vendor, const CXoObjIdArray& members,
                                         const CXoObjId& domain)
    : CXoObjBase(XoObjId_ResponseGroup, CXoObjId::NewOid(XoObjId_ResponseGroup)) {
  Set(Domain, domain);
  Set(Name, name);
  Set(Description, description);
  Set(Vendor, vendor);
  Set(Members, members);
}

CXoObjRule::CXoObjRule(const std::string& name, const std::string& description,
                       const CXoObjId& realm, const CXoObjId& agentType, const std::string& text1,
                       const std::string& text2, const CXoObjTime& time, bool flag1, bool flag2,
                       const std::string& text3, bool flag3, const CXoObjId& domain)
    : CXoObjBase(XoObjId_Rule, CXoObjId::NewOid(XoObjId_Rule)) {
  Set(Domain, domain);
  Set(Name, name);
  Set(Description, description);
  Set(Realm, realm);
  Set(AgentType, agentType);
  Set(Text1, text1);
  Set(Text2, text2);
  Set(TimeRestriction, time);
  Set(Flag1, flag1);
  Set(Flag2, flag2);
  Set(Text3, text3);
  Set(Flag3, flag3);
}

CXoObjScheme::CXoObjScheme(const std::string& name, const std::string& description, int32_t int1,
                           const std::string& string1, const std::string& string2,
                           const std::string& string3, bool flag1, bool flag2, int32_t int2,
                           bool flag3, bool flag4, bool flag5)
    : CXoObjBase(XoObjId_Scheme, CXoObjId::NewOid(XoObjId_Scheme)) {
  Set(Name, name);
  Set(Description, description);
  Set(Int1, int1);
  Set(String1, string1);
  Set(String2, string2);
  Set(String3, string3);
  Set(Flag1, flag1);
  Set(Flag2, flag2);
  Set(Int2, int2);
  Set(Flag3, flag3);
  Set(Flag4, flag4);
  Set(Flag5, flag5);
}

CXoObjUserDirectory::CXoObjUserDirectory(
    const std::string& name, const std::string& description, const std::string& type,
    const std::string& s1, const std::string& s2, const std::string& s3, const std::string& s4,
    const std::string& s5, const std::string& s6, int32_t i1, int32_t i2, int32_t i3, bool f1,
    bool f2, const std::string& s7, const std::string& s8, const CXoObjId& queryScheme,
    const std::string& s9, const std::string& s10, const std::string& s11, const std::string& s12,
    const std::string& s13)
    : CXoObjBase(XoObjId_UserDirectory, CXoObjId::NewOid(XoObjId_UserDirectory)) {
  Set(Name, name);
  Set(Description, description);
  Set(DirectoryType, type);
  const std::string* strings[] = {&s1, &s2, &s3, &s4, &s5, &s6};
  for (uint32_t i = 0; i < 6; ++i) Set(String1 + i, *strings[i]);
  Set(Int1, i1);
  Set(Int2, i2);
  Set(Int3, i3);
  Set(Flag1, f1);
  Set(Flag2, f2);
  Set(String7, s7);
  Set(String8, s8);
  Set(QueryScheme, queryScheme);
  const std::string* more[] = {&s9, &s10, &s11, &s12, &s13};
  for (uint32_t i = 0; i < 5; ++i) Set(String9 + i, *more[i]);
}

CXoObjAdmin::CXoObjAdmin(const std::string& name, const std::string& description,
                         const std::string& adminText, const CXoObjId& userDirectory,
                         const CXoObjId& scheme, bool directoryBound, const CXoObjIdArray& domains,
                         int32_t flags)
    : CXoObjBase(XoObjId_Admin, CXoObjId::NewOid(XoObjId_Admin)) {
  Set(Name, name);
  Set(Description, description);
  Set(AdminText, adminText);
  Set(UserDirectory, userDirectory);
  Set(Scheme, scheme);
  Set(DirectoryBound, directoryBound);
  Set(Domains, domains);
  Set(AdminFlags, flags);
}

CXoObjVendor::CXoObjVendor(const std::string& name, const std::string& description)
    : CXoObjBase(XoObjId_Vendor, CXoObjId::NewOid(XoObjId_Vendor)) {
  Set(Name, name);
  Set(Description, description);
}

CXoObjVendorAttr::CXoObjVendorAttr(const std::string& name, const std::string& description,
                                   const CXoObjId& vendor, const std::string& valueType,
                                   int32_t code)
    : CXoObjBase(XoObjId_VendorAttr, CXoObjId::NewOid(XoObjId_VendorAttr)) {
  Set(Name, name);
  Set(Description, description);
  Set(Vendor, vendor);
  Set(ValueType, valueType);
  Set(Code, code);
}

CXoObjUserPolicy::CXoObjUserPolicy(const std::string& entry, const std::string& detail,
                                   int32_t resolution, int32_t kind, const CXoObjId& userDirectory,
                                   const CXoObjId& policy, const CXoObjId& domain)
    : CXoObjBase(XoObjId_UserPolicy, CXoObjId::NewOid(XoObjId_UserPolicy)) {
  Set(Domain, domain);
  Set(Entry, entry);
  Set(EntryDetail, detail);
  Set(Resolution, resolution);
  Set(Kind, kind);
  Set(UserDirectory, userDirectory);
  Set(Policy, policy);
}

CXoObjODBCQuery::CXoObjODBCQuery(
    const std::string& name, const std::string& description, const std::string& q1,
    const std::string& q2, const std::string& q3, const std::string& q4, const std::string& q5,
    const std::string& q6, const std::string& q7, const std::string& q8, const std::string& q9,
    const std::string& q10, const std::string& q11, const std::string& q12, const std::string& q13,
    const std::string& q14, const std::string& q15)
    : CXoObjBase(XoObjId_ODBCQuery, CXoObjId::NewOid(XoObjId_ODBCQuery)) {
  Set(Name, name);
  Set(Description, description);
  const std::string* queries[] = {&q1, &q2,  &q3,  &q4,  &q5,  &q6,  &q7, &q8,
                                  &q9, &q10, &q11, &q12, &q13, &q14, &q15};
  for (uint32_t i = 0; i < kQueries; ++i) Set(Query1 + i, *queries[i]);
}

CXoObjServerCommand::CXoObjServerCommand(int32_t issuedAt, XoObjServerCommand_t command,
                                         const std::string& argument)
    : CXoObjServerCommand(issuedAt, command, 0, argument) {}

CXoObjServerCommand::CXoObjServerCommand(int32_t issuedAt, XoObjServerCommand_t command,
                                         XoObjServerCommand_t subCommand,
                                         const std::string& argument)
    : CXoObjBase(XoObjId_ServerCommand, CXoObjId::NewOid(XoObjId_ServerCommand)) {
  Set(IssuedAt, issuedAt);
  Set(Command, command);
  Set(SubCommand, subCommand);
  Set(Argument, argument);
  Set(IssuedBy, std::string());
}
