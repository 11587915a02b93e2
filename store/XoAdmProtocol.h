// Text conventions of the administration protocol, and the administration
// objects that carry a property dictionary for it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "XoObjClasses.h"
#include "XoObjDict.h"
#include "XoObjId.h"

class CXoAdmProtocol {
 public:
  static std::string ArgSeparator() { return "&"; }
  static std::string OidPrefix() { return "@"; }
  static std::string ListSeparator() { return "@@"; }
  static std::string NullObject() { return OidPrefix() + "00-"; }
  static std::string NullString() { return "\"\""; }
  static std::string NullList() { return "()"; }
  static void MakeStringValue(const std::string& in, std::string& out) { out = "\"" + in + "\""; }
  static bool IsNullValue(const std::string& value) {
    return value.empty() || value == NullObject() || value == NullString() || value == NullList();
  }
  static std::string GetClassName(int32_t cls) { return CXoObjId::GetClassName(cls); }
};

// The method words of the protocol, in protocol order.
static const std::string ProtocolMethodNames[22] = {"null",         "create",
                                                    "getprops",     "setprops",
                                                    "delete",       "find",
                                                    "search",       "update",
                                                    "validate",     "more",
                                                    "count",        "getreportparameter",
                                                    "freecursor",   "searchprops",
                                                    "searchmore",   "lookuphostname",
                                                    "lookuphostid", "getdirtypes",
                                                    "setdisabled",  "getdisabled",
                                                    "setpassword",  ""};

// A protocol-side view of a store object and of its class's dictionary.
class CXoAdmObject {
 public:
  explicit CXoAdmObject(int32_t classId);
  explicit CXoAdmObject(std::unique_ptr<CXoObjBase> object);
  virtual ~CXoAdmObject();

  std::string GetID() const;  // the OID string, or "0" without an object
  int32_t GetClassID() const { return classId_; }
  void SetClassID(int32_t classId);
  std::string GetName() const;
  uint32_t NumProps() const;
  CXoObjId GetDomain() const;
  const CXoObjBase* GetBaseObject() const { return object_.get(); }

  int32_t GetPropID(const std::string& name) const;
  std::string GetPropName(uint32_t prop) const;
  int32_t GetPropType(uint32_t prop) const;
  uint32_t GetMaxOidLength() const { return 64; }
  uint32_t GetMaxStringLength(uint32_t prop) const;
  bool PropIsRequired(uint32_t prop) const { return Flag(prop, XoProp_Required); }
  bool PropIsUnique(uint32_t prop) const { return Flag(prop, XoProp_Unique); }
  bool PropIsSearchable(uint32_t prop) const { return Flag(prop, XoProp_Searchable); }
  bool PropIsStorable(uint32_t prop) const { return Flag(prop, XoProp_Storable); }
  bool PropIsCollection(uint32_t prop) const { return Flag(prop, XoProp_Collection); }
  bool PropIsList(uint32_t prop) const { return Flag(prop, XoProp_List); }
  // Checks the object's values against the dictionary: 0 or a store code.
  int32_t ValidateProps() const;
  // The protocol text of a property's value ("@oid", "\"text\"", "(...)").
  std::string SearchValue(uint32_t prop) const;

 private:
  bool Flag(uint32_t prop, XoPropFlag flag) const;
  const XoPropDef* Def(uint32_t prop) const;

  int32_t classId_;
  std::unique_ptr<CXoObjBase> object_;
};

// A domain as the administration protocol sees it.
class CXoAdmDomain {
 public:
  explicit CXoAdmDomain(const CXoObjDomain& domain) : domain_(domain) {}
  // True when the object belongs to the domain or is on one of its lists.
  bool Find(const CXoAdmObject& object) const;
  bool Find(const CXoAdmObject& object, const std::string& name) const;

 private:
  CXoObjDomain domain_;
};
