// The store's object classes. Every value lives in the generic property
// vector of CXoObjBase, numbered by the class's dictionary; the classes only
// add constructors and named accessors.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjDict.h"
#include "XoObjId.h"

using XoObjServerCommand_t = int32_t;

class CXoObjBase {
 public:
  // A search template (null identifier) of the class.
  explicit CXoObjBase(XoObjId_Class cls);
  // An object to fetch or delete, carrying its identifier.
  CXoObjBase(XoObjId_Class cls, const CXoObjId& oid);
  CXoObjBase(const CXoObjBase&) = default;
  CXoObjBase& operator=(const CXoObjBase&) = default;
  virtual ~CXoObjBase();

  virtual CXoObjBase* New() const;   // an empty object of the same class
  virtual CXoObjBase* Copy() const;  // a copy of this object

  const CXoObjDictProp& Dict() const { return *dict_; }
  XoObjId_Class GetClass() const { return dict_->Class(); }
  const CXoObjId& GetOid() const { return oid_; }
  void SetOid(const CXoObjId& oid) { oid_ = oid; }

  // The owning domain: the Domain property of domain-owned classes, the
  // domain itself for a domain, otherwise a scope that only templates carry.
  const CXoObjId& GetDomainOid() const;
  void SetDomainOid(const CXoObjId& domain);

  // The object's name (empty for classes without one).
  const std::string& GetName() const;

  bool Has(uint32_t prop) const;
  const XoPropValue& Get(uint32_t prop) const;
  void Set(uint32_t prop, XoPropValue value);
  void Clear(uint32_t prop);

  const std::string& Text(uint32_t prop) const;
  int32_t Int(uint32_t prop) const;
  bool Flag(uint32_t prop) const;
  const CXoObjId& Id(uint32_t prop) const;
  const CXoObjIdArray& Ids(uint32_t prop) const;
  const CXoObjTime& Time(uint32_t prop) const;

 protected:
  const CXoObjDictProp* dict_;
  CXoObjId oid_;
  CXoObjId scope_;  // template scope of system-level classes
  std::vector<XoPropValue> values_;
};

#define XO_STORE_CLASS_BASICS(Type, ClassNumber)                       \
  Type() : CXoObjBase(ClassNumber) {}                                  \
  explicit Type(const CXoObjId& oid) : CXoObjBase(ClassNumber, oid) {} \
  CXoObjBase* New() const override { return new Type(); }              \
  CXoObjBase* Copy() const override { return new Type(*this); }

// Agent.
class CXoObjDevice : public CXoObjBase {
 public:
  enum : uint32_t { Name = 1, Description, String1, String2, AgentType, IntValue };
  XO_STORE_CLASS_BASICS(CXoObjDevice, XoObjId_Device)
  CXoObjDevice(const std::string& name, const std::string& description, const std::string& string1,
               const std::string& string2, const CXoObjId& agentType, int32_t value);
  const std::string& GetDescription() const { return Text(Description); }
  const std::string& GetString1() const { return Text(String1); }
  const std::string& GetString2() const { return Text(String2); }
  const CXoObjId& GetAgentTypeOid() const { return Id(AgentType); }
  int32_t GetIntValue() const { return Int(IntValue); }
};

// Agent group.
class CXoObjDeviceGroup : public CXoObjBase {
 public:
  enum : uint32_t { Name = 1, Description, Vendor, Members };
  XO_STORE_CLASS_BASICS(CXoObjDeviceGroup, XoObjId_DeviceGroup)
  CXoObjDeviceGroup(const std::string& name, const std::string& description, const CXoObjId& vendor,
                    const CXoObjIdArray& members);
  const std::string& GetDescription() const { return Text(Description); }
  const CXoObjId& GetVendorOid() const { return Id(Vendor); }
  const CXoObjIdArray& GetMembers() const { return Ids(Members); }
};

// Policy domain. Lists 3 and 5 to 9 are derived from the objects the domain
// owns; 4 (user directories) and 10 (administrators) are stored in order.
class CXoObjDomain : public CXoObjBase {
 public:
  enum : uint32_t {
    Name = 1,
    Description,
    Realms,
    UserDirectories,
    Rules,
    RuleGroups,
    Responses,
    ResponseGroups,
    Policies,
    Admins
  };
  XO_STORE_CLASS_BASICS(CXoObjDomain, XoObjId_Domain)
  CXoObjDomain(const std::string& name, const std::string& description,
               const CXoObjIdArray& userDirectories, const CXoObjIdArray& admins);
  const std::string& GetDescription() const { return Text(Description); }
  const CXoObjIdArray& GetUserDirectories() const { return Ids(UserDirectories); }
  void SetUserDirectories(const CXoObjIdArray& ids) { Set(UserDirectories, ids); }
  const CXoObjIdArray& GetAdmins() const { return Ids(Admins); }
  void SetAdmins(const CXoObjIdArray& ids) { Set(Admins, ids); }
};

class CXoObjPolicy : public CXoObjBase {
 public:
  enum : uint32_t {
    Domain = 1,
    Name,
    Description,
    Text1,
    TimeRestriction,
    Enabled,
    PolicyFlag,
    Text2
  };
  XO_STORE_CLASS_BASICS(CXoObjPolicy, XoObjId_Policy)
  CXoObjPolicy(const std::string& name, const std::string& description, const std::string& text1,
               const CXoObjTime& time, bool enabled, bool flag, const std::string& text2,
               const CXoObjId& domain);
  const std::string& GetDescription() const { return Text(Description); }
  const std::string& GetText1() const { return Text(Text1); }
  const std::string& GetText2() const { return Text(Text2); }
  const CXoObjTime& GetTime() const { return Time(TimeRestriction); }
  bool GetEnabled() const { return Flag(Enabled); }
  bool GetFlag() const { return Flag(PolicyFlag); }
};

class CXoObjPolicyLink : public CXoObjBase {
 public:
  enum : uint32_t { Domain = 1, Rule, Response, Policy };
  XO_STORE_CLASS_BASICS(CXoObjPolicyLink, XoObjId_PolicyLink)
  CXoObjPolicyLink(const CXoObjId& rule, const CXoObjId& response, const CXoObjId& policy,
                   const CXoObjId& domain);
  const CXoObjId& GetRuleOid() const { return Id(Rule); }
  const CXoObjId& GetResponseOid() const { return Id(Response); }
  void SetResponseOid(const CXoObjId& id) { Set(Response, id); }
  const CXoObjId& GetPolicyOid() const { return Id(Policy); }
};

class CXoObjRealm : public CXoObjBase {
 public:
  enum : uint32_t {
    Domain = 1,
    Name,
    Description,
    RealmText,
    Agent,
    AgentType,
    Scheme,
    Flag1,
    Flag2,
    Flag3,
    Reserved1,
    Reserved2,
    Int1,
    Int2,
    Parent,
    Flag4
  };
  XO_STORE_CLASS_BASICS(CXoObjRealm, XoObjId_Realm)
  CXoObjRealm(const std::string& name, const std::string& description, const std::string& text,
              const CXoObjId& agent, const CXoObjId& agentType, const CXoObjId& scheme, bool flag1,
              bool flag2, bool flag3, const CXoObjId& reserved1, const CXoObjId& reserved2,
              int32_t int1, int32_t int2, const CXoObjId& parent, bool flag4,
              const CXoObjId& domain);
  const std::string& GetDescription() const { return Text(Description); }
  const std::string& GetRealmText() const { return Text(RealmText); }
  const CXoObjId& GetAgentOid() const { return Id(Agent); }
  const CXoObjId& GetAgentTypeOid() const { return Id(AgentType); }
  const CXoObjId& GetSchemeOid() const { return Id(Scheme); }
  const CXoObjId& GetParentOid() const { return Id(Parent); }
  bool GetFlag1() const { return Flag(Flag1); }
  bool GetFlag2() const { return Flag(Flag2); }
  bool GetFlag3() const { return Flag(Flag3); }
  bool GetFlag4() const { return Flag(Flag4); }
  int32_t GetInt1() const { return Int(Int1); }
  int32_t GetInt2() const { return Int(Int2); }
};

class CXoObjResponse : public CXoObjBase {
 public:
  enum : uint32_t { Domain = 1, Name, Description, AgentType, Attributes, Flag1, Flag2, Flag3 };
  XO_STORE_CLASS_BASICS(CXoObjResponse, XoObjId_Response)
  CXoObjResponse(const std::string& name, const std::string& description, const CXoObjId& agentType,
                 bool flag1, bool flag2, bool flag3, const CXoObjId& domain);
  const std::string& GetDescription() const { return Text(Description); }
  const CXoObjId& GetAgentTypeOid() const { return Id(AgentType); }
  const CXoObjIdArray& GetAttributes() const { return Ids(Attributes); }
  void SetAttributes(const CXoObjIdArray& ids) { Set(Attributes, ids); }
};

class CXoObjResponseAttr : public CXoObjBase {
 public:
  enum : uint32_t { Domain = 1, Value, VendorAttr, Response, Int1, Int2 };
  XO_STORE_CLASS_BASICS(CXoObjResponseAttr, XoObjId_ResponseAttr)
  CXoObjResponseAttr(const std::string& value, const CXoObjId& vendorAttr, const CXoObjId& response,
                     int32_t int1, int32_t int2, const CXoObjId& domain);
  const std::string& GetValue() const { return Text(Value); }
  const CXoObjId& GetVendorAttrOid() const { return Id(VendorAttr); }
  const CXoObjId& GetResponseOid() const { return Id(Response); }
  int32_t GetInt1() const { return Int(Int1); }
  int32_t GetInt2() const { return Int(Int2); }
};

// Rule groups and response groups share their layout.
class CXoObjRuleGroup : public CXoObjBase {
 public:
  enum : uint32_t { Domain = 1, Name, Description, Vendor, Members };
  XO_STORE_CLASS_BASICS(CXoObjRuleGroup, XoObjId_RuleGroup)
  CXoObjRuleGroup(const std::string& name, const std::string& description, const CXoObjId& vendor,
                  const CXoObjIdArray& members, const CXoObjId& domain);
  const std::string& GetDescription() const { return Text(Description); }
  const CXoObjId& GetVendorOid() const { return Id(Vendor); }
  const CXoObjIdArray& GetMembers() const { return Ids(Members); }
};

class CXoObjResponseGroup : public CXoObjBase {
 public:
  enum : uint32_t { Domain = 1, Name, Description, Vendor, Members };
  XO_STORE_CLASS_BASICS(CXoObjResponseGroup, XoObjId_ResponseGroup)
  CXoObjResponseGroup(const std::string& name, const std::string& description,
                      const CXoObjId& vendor, const CXoObjIdArray& members, const CXoObjId& domain);
  const std::string& GetDescription() const { return Text(Description); }
  const CXoObjId& GetVendorOid() const { return Id(Vendor); }
  const CXoObjIdArray& GetMembers() const { return Ids(Members); }
};

// The store's root: lists of every system-level object, in creation order.
class CXoObjRoot : public CXoObjBase {
 public:
  enum : uint32_t { Name = 1, Schemes, Agents, AgentGroups, UserDirectories, Domains, Admins };
  CXoObjRoot() : CXoObjBase(XoObjId_Root, RootObjectId) {}
  explicit CXoObjRoot(const CXoObjId& oid) : CXoObjBase(XoObjId_Root, oid) {}
  CXoObjBase* New() const override { return new CXoObjRoot(); }
  CXoObjBase* Copy() const override { return new CXoObjRoot(*this); }
};

class CXoObjRule : public CXoObjBase {
 public:
  enum : uint32_t {
    Domain = 1,
    Name,
    Description,
    Realm,
    AgentType,
    Text1,
    Text2,
    TimeRestriction,
    Flag1,
    Flag2,
    Text3,
    Flag3
  };
  XO_STORE_CLASS_BASICS(CXoObjRule, XoObjId_Rule)
  CXoObjRule(const std::string& name, const std::string& description, const CXoObjId& realm,
             const CXoObjId& agentType, const std::string& text1, const std::string& text2,
             const CXoObjTime& time, bool flag1, bool flag2, const std::string& text3, bool flag3,
             const CXoObjId& domain);
  const std::string& GetDescription() const { return Text(Description); }
  const CXoObjId& GetRealmOid() const { return Id(Realm); }
  const CXoObjId& GetAgentTypeOid() const { return Id(AgentType); }
  const std::string& GetText1() const { return Text(Text1); }
  const std::string& GetText2() const { return Text(Text2); }
  const std::string& GetText3() const { return Text(Text3); }
  const CXoObjTime& GetTime() const { return Time(TimeRestriction); }
  bool GetFlag1() const { return Flag(Flag1); }
  bool GetFlag2() const { return Flag(Flag2); }
  bool GetFlag3() const { return Flag(Flag3); }
};

class CXoObjScheme : public CXoObjBase {
 public:
  enum : uint32_t {
    Name = 1,
    Description,
    Int1,
    String1,
    String2,
    String3,
    Flag1,
    Flag2,
    Int2,
    Flag3,
    Flag4,
    Flag5
  };
  XO_STORE_CLASS_BASICS(CXoObjScheme, XoObjId_Scheme)
  CXoObjScheme(const std::string& name, const std::string& description, int32_t int1,
               const std::string& string1, const std::string& string2, const std::string& string3,
               bool flag1, bool flag2, int32_t int2, bool flag3, bool flag4, bool flag5);
  const std::string& GetDescription() const { return Text(Description); }
};

class CXoObjUserDirectory : public CXoObjBase {
 public:
  enum : uint32_t {
    Name = 1,
    Description,
    DirectoryType,
    String1,
    String2,
    String3,
    String4,
    String5,
    String6,
    Int1,
    Int2,
    Int3,
    Flag1,
    Flag2,
    String7,
    String8,
    QueryScheme,
    String9,
    String10,
    String11,
    String12,
    String13
  };
  XO_STORE_CLASS_BASICS(CXoObjUserDirectory, XoObjId_UserDirectory)
  CXoObjUserDirectory(const std::string& name, const std::string& description,
                      const std::string& type, const std::string& s1, const std::string& s2,
                      const std::string& s3, const std::string& s4, const std::string& s5,
                      const std::string& s6, int32_t i1, int32_t i2, int32_t i3, bool f1, bool f2,
                      const std::string& s7, const std::string& s8, const CXoObjId& queryScheme,
                      const std::string& s9, const std::string& s10, const std::string& s11,
                      const std::string& s12, const std::string& s13);
  const std::string& GetDescription() const { return Text(Description); }
  const std::string& GetDirectoryType() const { return Text(DirectoryType); }
  const CXoObjId& GetQuerySchemeOid() const { return Id(QueryScheme); }
};

class CXoObjAdmin : public CXoObjBase {
 public:
  enum : uint32_t {
    Name = 1,
    Description,
    AdminText,
    UserDirectory,
    Scheme,
    DirectoryBound,
    Domains,
    AdminFlags
  };
  XO_STORE_CLASS_BASICS(CXoObjAdmin, XoObjId_Admin)
  CXoObjAdmin(const std::string& name, const std::string& description, const std::string& adminText,
              const CXoObjId& userDirectory, const CXoObjId& scheme, bool directoryBound,
              const CXoObjIdArray& domains, int32_t flags);
  const std::string& GetDescription() const { return Text(Description); }
  const std::string& GetAdminText() const { return Text(AdminText); }
  const CXoObjId& GetUserDirectoryOid() const { return Id(UserDirectory); }
  const CXoObjId& GetSchemeOid() const { return Id(Scheme); }
  bool GetDirectoryBound() const { return Flag(DirectoryBound); }
  const CXoObjIdArray& GetDomains() const { return Ids(Domains); }
  void SetDomains(const CXoObjIdArray& ids) { Set(Domains, ids); }
  int32_t GetFlags() const { return Int(AdminFlags); }
};

// Agent type.
class CXoObjVendor : public CXoObjBase {
 public:
  enum : uint32_t { Name = 1, Description, Attributes };
  XO_STORE_CLASS_BASICS(CXoObjVendor, XoObjId_Vendor)
  CXoObjVendor(const std::string& name, const std::string& description);
  const std::string& GetDescription() const { return Text(Description); }
};

// A dictionary attribute of an agent type.
class CXoObjVendorAttr : public CXoObjBase {
 public:
  enum : uint32_t { Name = 1, Description, Vendor, ValueType, Code };
  XO_STORE_CLASS_BASICS(CXoObjVendorAttr, XoObjId_VendorAttr)
  CXoObjVendorAttr(const std::string& name, const std::string& description, const CXoObjId& vendor,
                   const std::string& valueType, int32_t code);
  const std::string& GetDescription() const { return Text(Description); }
  const CXoObjId& GetVendorOid() const { return Id(Vendor); }
};

class CXoObjUserPolicy : public CXoObjBase {
 public:
  enum : uint32_t { Domain = 1, Entry, EntryDetail, Resolution, Kind, UserDirectory, Policy };
  XO_STORE_CLASS_BASICS(CXoObjUserPolicy, XoObjId_UserPolicy)
  CXoObjUserPolicy(const std::string& entry, const std::string& detail, int32_t resolution,
                   int32_t kind, const CXoObjId& userDirectory, const CXoObjId& policy,
                   const CXoObjId& domain);
  const std::string& GetEntry() const { return Text(Entry); }
  const std::string& GetEntryDetail() const { return Text(EntryDetail); }
  int32_t GetResolution() const { return Int(Resolution); }
  int32_t GetKind() const { return Int(Kind); }
  const CXoObjId& GetUserDirectoryOid() const { return Id(UserDirectory); }
  const CXoObjId& GetPolicyOid() const { return Id(Policy); }
};

class CXoObjODBCQuery : public CXoObjBase {
 public:
  enum : uint32_t { Name = 1, Description, Query1 };  // queries 1 to 15: 3 to 17
  static constexpr int kQueries = 15;
  XO_STORE_CLASS_BASICS(CXoObjODBCQuery, XoObjId_ODBCQuery)
  CXoObjODBCQuery(const std::string& name, const std::string& description, const std::string& q1,
                  const std::string& q2, const std::string& q3, const std::string& q4,
                  const std::string& q5, const std::string& q6, const std::string& q7,
                  const std::string& q8, const std::string& q9, const std::string& q10,
                  const std::string& q11, const std::string& q12, const std::string& q13,
                  const std::string& q14, const std::string& q15);
  const std::string& GetDescription() const { return Text(Description); }
  const std::string& GetQuery(int index) const { return Text(Query1 + index); }
};

// A command for the policy servers, saved in the store for them to pick up.
class CXoObjServerCommand : public CXoObjBase {
 public:
  enum : uint32_t { IssuedAt = 1, Command, SubCommand, Argument, IssuedBy };
  XO_STORE_CLASS_BASICS(CXoObjServerCommand, XoObjId_ServerCommand)
  CXoObjServerCommand(int32_t issuedAt, XoObjServerCommand_t command, const std::string& argument);
  CXoObjServerCommand(int32_t issuedAt, XoObjServerCommand_t command,
                      XoObjServerCommand_t subCommand, const std::string& argument);
  int32_t GetIssuedAt() const { return Int(IssuedAt); }
  XoObjServerCommand_t GetCommand() const { return Int(Command); }
  XoObjServerCommand_t GetSubCommand() const { return Int(SubCommand); }
  const std::string& GetArgument() const { return Text(Argument); }
};

#undef XO_STORE_CLASS_BASICS
