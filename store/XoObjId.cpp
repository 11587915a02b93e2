#include "XoObjId.h"

#include <cstring>

#include "platform/Random.h"

namespace {

struct WellKnown {
  const char* guid;
  XoObjId_Class cls;
};
constexpr WellKnown kWellKnown[] = {
    {"00000000-0000-0000-0000-000000000000", XoObjId_Root},
    {"e26601f2-8ad7-11d1-9cd2-006008aac24b", XoObjId_Vendor},
    {"bb94f433-b463-43d8-b72c-d258613ec5a5", XoObjId_Vendor},
    {"4afc0e42-ae25-11d1-9cdd-006008aac24b", XoObjId_Scheme},
    {"fa347804-9d33-11d3-8025-006008aaae5b", XoObjId_StoreSettings},
    {"67b3c2b0-9e28-11d3-95e7-00c04f7468ef", XoObjId_AuditTrail},
};

bool IsLowerHex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

int HexValue(char c) { return c <= '9' ? c - '0' : c - 'a' + 10; }

// 8-4-4-4-12 lowercase hex digits.
bool IsUuid(const char* s, size_t length) {
  if (length != 36) return false;
  for (size_t i = 0; i < 36; ++i) {
    bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? s[i] != '-' : !IsLowerHex(s[i])) return false;
  }
  return true;
}

constexpr const char* kClassNames[] = {
    "",           "Device",     "DeviceGroup",   "Domain",        "Policy",     "PolicyLink",
    "Realm",      "Response",   "ResponseAttr",  "ResponseGroup", "Root",       "Rule",
    "RuleGroup",  "Scheme",     "UserDirectory", "Admin",         "Vendor",     "VendorAttr",
    "UserPolicy", "ODBCQuery",  "ServerCommand", "Reserved21",    "Reserved22", "Reserved23",
    "Reserved24", "Reserved25", "StoreSettings", "Reserved27",    "AuditTrail"};

}  // namespace

CXoObjId::CXoObjId() : class_(XoObjId_None), oid_("00-") {}

CXoObjId::CXoObjId(XoObjId_Class cls, const char* oid) : class_(cls), oid_(oid ? oid : "") {}

CXoObjId::CXoObjId(const std::string& oidString) : class_(ClassOf(oidString)), oid_(oidString) {}

CXoObjId::~CXoObjId() = default;

void CXoObjId::SetOid(const CXoObjId& other) { *this = other; }

bool CXoObjId::IsEqual(const CXoObjId& other) const { return oid_ == other.oid_; }

bool CXoObjId::IsOidNull() const { return class_ == XoObjId_None; }

bool CXoObjId::IsOidValid() const { return class_ >= 1 && class_ <= XoObjId_LastValid; }

const std::string& CXoObjId::GetOidString() const { return oid_; }

XoObjId_Class CXoObjId::GetOidClass() const { return class_; }

const CXoObjId& CXoObjId::GetOid() const { return *this; }

CXoObjId CXoObjId::NewOid(XoObjId_Class cls) {
  std::string hex = xo::platform::RandomHex(16);
  hex[12] = '4';                              // version 4
  hex[16] = "89ab"[HexValue(hex[16]) & 0x3];  // RFC 4122 variant
  static const char kDigits[] = "0123456789abcdef";
  std::string oid;
  oid.reserve(39);
  oid.push_back(kDigits[(cls >> 4) & 0xf]);
  oid.push_back(kDigits[cls & 0xf]);
  oid.push_back('-');
  oid.append(hex, 0, 8).push_back('-');
  oid.append(hex, 8, 4).push_back('-');
  oid.append(hex, 12, 4).push_back('-');
  oid.append(hex, 16, 4).push_back('-');
  oid.append(hex, 20, 12);
  return CXoObjId(cls, oid.c_str());
}

XoObjId_Class CXoObjId::ClassOf(const std::string& s) {
  for (const WellKnown& known : kWellKnown) {
    if (s == known.guid) return known.cls;
  }
  if (s.size() < 3 || s[2] != '-' || !IsLowerHex(s[0]) || !IsLowerHex(s[1])) return XoObjId_None;
  int cls = HexValue(s[0]) * 16 + HexValue(s[1]);
  if (cls < 1 || cls > XoObjId_LastValid) return XoObjId_None;
  if (!IsUuid(s.data() + 3, s.size() - 3)) return XoObjId_None;
  return static_cast<XoObjId_Class>(cls);
}

const char* CXoObjId::GetClassName(int32_t cls) {
  if (cls < 0 || cls > XoObjId_LastValid) return "";
  return kClassNames[cls];
}
