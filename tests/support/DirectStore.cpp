#include "support/DirectStore.h"

#include <gtest/gtest.h>

#include <memory>

namespace xo::test {

DirectStore::DirectStore(const std::string& admin, const std::string& password)
    : session_(admin, password, "localhost", "", "localhost", true) {
  std::string message;
  if (!CXoObjStore::Init(message, false, false, false, false, false, false, true)) {
    ADD_FAILURE() << "store did not open: " << message;
    return;
  }
  if (session_.Login(message, false) != 0) ADD_FAILURE() << "direct login failed: " << message;
}

DirectStore::~DirectStore() {
  session_.Logout();
  CXoObjStore::Release();
}

CXoObjId DirectStore::Save(CXoObjBase& object) {
  const int32_t result = CXoObjStore::Save(object, false, Sid());
  if (result < 0) {
    ADD_FAILURE() << "store refused " << CXoObjId::GetClassName(object.GetClass()) << " '"
                  << object.GetName() << "': " << xo::store::Describe(result);
  }
  return object.GetOid();
}

CXoObjId DirectStore::Domain(const std::string& name, const std::string& description) {
  CXoObjDomain domain(name, description, {}, {});
  return Save(domain);
}

CXoObjId DirectStore::Agent(const std::string& name) {
  CXoObjDevice agent(name, "", "", "", WellKnownObjectId16A, 0);
  return Save(agent);
}

CXoObjId DirectStore::AgentGroup(const std::string& name) {
  CXoObjDeviceGroup group(name, "", WellKnownObjectId16A, {});
  return Save(group);
}

CXoObjId DirectStore::Scheme(const std::string& name) {
  CXoObjScheme scheme(name, "", 0, "", "", "", false, false, 0, false, false, false);
  return Save(scheme);
}

CXoObjId DirectStore::UserDirectory(const std::string& name) {
  CXoObjUserDirectory dir(name, "", "LDAP:", "", "", "", "", "", "", 0, 0, 0, false, false, "", "",
                          NullObjectId, "", "", "", "", "");
  return Save(dir);
}

CXoObjId DirectStore::OdbcQuery(const std::string& name) {
  CXoObjODBCQuery query(name, "", "", "", "", "", "", "", "", "", "", "", "", "", "", "", "");
  return Save(query);
}

CXoObjId DirectStore::Admin(const std::string& name, const std::string& password, int32_t flags) {
  CXoObjAdmin admin(name, "", password, NullObjectId, NullObjectId, false, {}, flags);
  return Save(admin);
}

CXoObjId DirectStore::AnyAgent() {
  if (agent_.IsOidNull()) agent_ = Agent("test agent");
  return agent_;
}

CXoObjId DirectStore::Realm(const CXoObjId& domain, const std::string& name) {
  CXoObjRealm realm(name, "", "", AnyAgent(), WellKnownObjectId16A, WellKnownObjectId13, false,
                    false, false, NullObjectId, NullObjectId, 0, 0, domain, false, domain);
  return Save(realm);
}

CXoObjId DirectStore::Rule(const CXoObjId& domain, const CXoObjId& realm, const std::string& name) {
  CXoObjRule rule(name, "", realm, WellKnownObjectId16A, "", "", CXoObjTime(), false, false, "",
                  false, domain);
  return Save(rule);
}

CXoObjId DirectStore::Policy(const CXoObjId& domain, const std::string& name) {
  CXoObjPolicy policy(name, "", "", CXoObjTime(), false, false, "", domain);
  return Save(policy);
}

CXoObjId DirectStore::Response(const CXoObjId& domain, const std::string& name) {
  CXoObjResponse response(name, "", WellKnownObjectId16A, false, false, false, domain);
  return Save(response);
}

CXoObjId DirectStore::RuleGroup(const CXoObjId& domain, const std::string& name) {
  CXoObjRuleGroup group(name, "", WellKnownObjectId16A, {}, domain);
  return Save(group);
}

CXoObjId DirectStore::ResponseGroup(const CXoObjId& domain, const std::string& name) {
  CXoObjResponseGroup group(name, "", WellKnownObjectId16A, {}, domain);
  return Save(group);
}

CXoObjId DirectStore::DictionaryAttr(const std::string& name) {
  CXoObjVendorAttr attr(name, "", WellKnownObjectId16A, "string", 0);
  return Save(attr);
}

CXoObjIdArray DirectStore::DomainList(const CXoObjId& domain, uint32_t prop) {
  CXoObjDomain object(domain);
  XoPropValue value;
  const int32_t result = CXoObjStore::FetchProperty(object, prop, &value, Sid());
  if (result == xo::store::kPropertyAbsent) return {};
  if (result < 0) ADD_FAILURE() << "domain list unreadable: " << xo::store::Describe(result);
  const auto* ids = std::get_if<CXoObjIdArray>(&value);
  return ids ? *ids : CXoObjIdArray();
}

void DirectStore::AppendToDomainList(const CXoObjId& domain, uint32_t prop,
                                     const CXoObjId& member) {
  CXoObjIdArray ids = DomainList(domain, prop);
  ids.push_back(member);
  const int32_t result = CXoObjStore::SaveProperty(domain, prop, ids, Sid());
  if (result < 0) ADD_FAILURE() << "domain list not saved: " << xo::store::Describe(result);
}

bool DirectStore::Exists(const CXoObjId& id) {
  std::unique_ptr<CXoObjBase> object(CXoObjDictProp::MakeObject(id));
  return object && CXoObjStore::Fetch(*object, 0, nullptr, Sid()) >= 0;
}

}  // namespace xo::test
