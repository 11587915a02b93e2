#include "frame/Names.h"

#include "XoObjStore.h"
#include "XoPolicyApi.h"

namespace xo::frame {

namespace {

template <class Kind>
int32_t ReadName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  Kind object(id);
  if (CXoObjStore::Fetch(object, 0, nullptr, s.GetSessionID()) < 0) return XO_ERR_GENERAL;
  name = object.GetName();
  return XO_OK;
}

template <class Kind>
int32_t ReadNameOfClass(const CXoAdmSession& s, const CXoObjId& id, XoObjId_Class cls,
                        std::string& name) {
  if (id.GetOidClass() != cls) return XO_ERR_WRONG_CLASS;
  return ReadName<Kind>(s, id, name);
}

}  // namespace

int32_t DomainName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjDomain>(s, id, name);
}

int32_t RealmName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjRealm>(s, id, name);
}

int32_t SchemeName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjScheme>(s, id, name);
}

int32_t UserDirectoryName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjUserDirectory>(s, id, name);
}

int32_t AgentName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjDevice>(s, id, name);
}

int32_t ResponseName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjResponse>(s, id, name);
}

int32_t PolicyName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjPolicy>(s, id, name);
}

int32_t DictionaryAttrName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjVendorAttr>(s, id, name);
}

int32_t OdbcQueryName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadName<CXoObjODBCQuery>(s, id, name);
}

int32_t RuleName(const CXoAdmSession& s, const CXoObjId& id, std::string& name,
                 std::string* realmName) {
  if (id.GetOidClass() != XoObjId_Rule) return XO_ERR_WRONG_CLASS;
  CXoObjRule rule(id);
  if (CXoObjStore::Fetch(rule, 0, nullptr, s.GetSessionID()) < 0) return XO_ERR_GENERAL;
  name = rule.GetName();
  if (realmName == nullptr) return XO_OK;
  return RealmName(s, rule.GetRealmOid(), *realmName);
}

int32_t RuleGroupName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadNameOfClass<CXoObjRuleGroup>(s, id, XoObjId_RuleGroup, name);
}

int32_t ResponseGroupName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadNameOfClass<CXoObjResponseGroup>(s, id, XoObjId_ResponseGroup, name);
}

int32_t AgentGroupName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  return ReadNameOfClass<CXoObjDeviceGroup>(s, id, XoObjId_DeviceGroup, name);
}

int32_t AgentTypeName(const CXoAdmSession& s, const CXoObjId& id, std::string& name) {
  std::string found;
  if (ReadName<CXoObjVendor>(s, id, found) == XO_OK) name = found;
  return XO_OK;
}

}  // namespace xo::frame
