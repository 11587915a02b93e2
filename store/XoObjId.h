// Object identifiers of the policy store and the well-known identifiers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum XoObjId_Class : int32_t {
  XoObjId_None = 0,
  XoObjId_Device = 1,
  XoObjId_DeviceGroup = 2,
  XoObjId_Domain = 3,
  XoObjId_Policy = 4,
  XoObjId_PolicyLink = 5,
  XoObjId_Realm = 6,
  XoObjId_Response = 7,
  XoObjId_ResponseAttr = 8,
  XoObjId_ResponseGroup = 9,
  XoObjId_Root = 10,
  XoObjId_Rule = 11,
  XoObjId_RuleGroup = 12,
  XoObjId_Scheme = 13,
  XoObjId_UserDirectory = 14,
  XoObjId_Admin = 15,
  XoObjId_Vendor = 16,
  XoObjId_VendorAttr = 17,
  XoObjId_UserPolicy = 18,
  XoObjId_ODBCQuery = 19,
  XoObjId_ServerCommand = 20,
  XoObjId_StoreSettings = 26,
  XoObjId_AuditTrail = 28,
  XoObjId_LastValid = 28
};

// An object class and an OID string. OID strings are two lowercase hex digits
// of the class, a dash and a random UUID; "00-" names nothing. The well-known
// identifiers keep their bare GUIDs.
class CXoObjId {
 public:
  CXoObjId();
  CXoObjId(XoObjId_Class cls, const char* oid);
  // Derives the class from the string's prefix (or from the well-known GUIDs).
  explicit CXoObjId(const std::string& oidString);
  CXoObjId(const CXoObjId&) = default;
  CXoObjId(CXoObjId&&) noexcept = default;
  CXoObjId& operator=(const CXoObjId&) = default;
  CXoObjId& operator=(CXoObjId&&) noexcept = default;
  virtual ~CXoObjId();

  void SetOid(const CXoObjId& other);
  bool IsEqual(const CXoObjId& other) const;
  bool IsOidNull() const;
  bool IsOidValid() const;
  const std::string& GetOidString() const;
  XoObjId_Class GetOidClass() const;
  const CXoObjId& GetOid() const;

  // A fresh identifier of the class, with a random UUID.
  static CXoObjId NewOid(XoObjId_Class cls);
  // The class that an OID string names; 0 for a string without a valid prefix.
  static XoObjId_Class ClassOf(const std::string& oidString);
  // The name of a class ("Rule", "Domain", ...); "" for an unknown class.
  static const char* GetClassName(int32_t cls);

  bool operator==(const CXoObjId& other) const { return IsEqual(other); }

 private:
  XoObjId_Class class_;
  std::string oid_;
};

using CXoObjIdArray = std::vector<CXoObjId>;

// The well-known identifiers, defined in each unit that includes this header.
static const CXoObjId RootObjectId(XoObjId_Root, "00000000-0000-0000-0000-000000000000");
static const CXoObjId WellKnownObjectId16A(XoObjId_Vendor, "e26601f2-8ad7-11d1-9cd2-006008aac24b");
static const CXoObjId WellKnownObjectId16B(XoObjId_Vendor, "bb94f433-b463-43d8-b72c-d258613ec5a5");
static const CXoObjId WellKnownObjectId13(XoObjId_Scheme, "4afc0e42-ae25-11d1-9cdd-006008aac24b");
static const CXoObjId WellKnownObjectId26(XoObjId_StoreSettings,
                                          "fa347804-9d33-11d3-8025-006008aaae5b");
static const CXoObjId WellKnownObjectId28(XoObjId_AuditTrail,
                                          "67b3c2b0-9e28-11d3-95e7-00c04f7468ef");
static const CXoObjId NullObjectId;
