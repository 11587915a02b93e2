#include "frame/Resolve.h"

#include "XoObjStore.h"
#include "XoPolicyApi.h"

namespace xo::frame {

namespace {

int32_t SingleHit(int32_t searchResult, const CXoObjIdArray& hits, int32_t searchFailure,
                  CXoObjId& id) {
  if (searchResult < 0) return searchFailure;
  if (hits.size() != 1) return XO_ERR_GENERAL;
  id = hits.front();
  return XO_OK;
}

int32_t EmptyName(CXoObjId& id) {
  id = NullObjectId;
  return XO_ERR_EMPTY_NAME;
}

int32_t ResolveBy(const CXoAdmSession& s, const CXoObjBase& templ, uint32_t prop,
                  const std::string& name, int32_t searchFailure, CXoObjId& id) {
  if (name.empty()) return EmptyName(id);
  CXoObjIdArray hits;
  const int32_t result = CXoObjStore::Search(templ, hits, prop, name, s.GetSessionID());
  return SingleHit(result, hits, searchFailure, id);
}

int32_t ResolveByFilters(const CXoAdmSession& s, const CXoObjBase& templ,
                         const XoObjSearchFilterList& filters, const std::string& name,
                         int32_t searchFailure, CXoObjId& id) {
  if (name.empty()) return EmptyName(id);
  CXoObjIdArray hits;
  const int32_t result = CXoObjStore::SearchMultiple(templ, hits, filters, s.GetSessionID());
  return SingleHit(result, hits, searchFailure, id);
}

// A template of a domain-owned kind, scoped to the domain.
template <class Kind>
Kind InDomain(const CXoObjId& domain) {
  Kind templ;
  templ.SetDomainOid(domain);
  return templ;
}

}  // namespace

int32_t ResolveDomain(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjDomain(), CXoObjDomain::Name, name, XO_ERR_DOMAIN_SEARCH, id);
}

int32_t ResolveAdmin(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjAdmin(), CXoObjAdmin::Name, name, XO_ERR_ADMIN_SEARCH, id);
}

int32_t ResolveOdbcQuery(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjODBCQuery(), CXoObjODBCQuery::Name, name, XO_ERR_ODBC_QUERY_SEARCH, id);
}

int32_t ResolveUserDirectory(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjUserDirectory(), CXoObjUserDirectory::Name, name, XO_ERR_USERDIR_SEARCH,
                   id);
}

int32_t ResolveAgentGroup(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjDeviceGroup(), CXoObjDeviceGroup::Name, name, XO_ERR_GROUP_SEARCH, id);
}

int32_t ResolveScheme(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjScheme(), CXoObjScheme::Name, name, XO_ERR_SCHEME_SEARCH, id);
}

int32_t ResolveAgent(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjDevice(), CXoObjDevice::Name, name, XO_ERR_AGENT_SEARCH, id);
}

int32_t ResolveAgentType(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  return ResolveBy(s, CXoObjVendor(), CXoObjVendor::Name, name, XO_ERR_AGENT_TYPE_SEARCH, id);
}

int32_t ResolveDictionaryAttr(const CXoAdmSession& s, const std::string& name, CXoObjId& id) {
  if (name.empty()) return EmptyName(id);
  CXoObjIdArray hits;
  const int32_t result =
      CXoObjStore::Search(CXoObjVendorAttr(), hits, CXoObjVendorAttr::Name, name, s.GetSessionID());
  if (result < 0) return XO_ERR_RESPONSE_ATTR_SEARCH;
  if (hits.empty()) return XO_ERR_GENERAL;
  bool fetched = false;
  for (const CXoObjId& hit : hits) {
    CXoObjVendorAttr attr(hit);
    if (CXoObjStore::Fetch(attr, 0, nullptr, s.GetSessionID()) >= 0) {
      id = hit;
      fetched = true;
    }
  }
  return fetched ? XO_OK : XO_ERR_RESPONSE_ATTR_SEARCH;
}

int32_t ResolvePolicy(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                      CXoObjId& id) {
  return ResolveBy(s, InDomain<CXoObjPolicy>(domain), CXoObjPolicy::Name, name,
                   XO_ERR_POLICY_SEARCH, id);
}

int32_t ResolveRuleGroup(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                         CXoObjId& id) {
  return ResolveBy(s, InDomain<CXoObjRuleGroup>(domain), CXoObjRuleGroup::Name, name,
                   XO_ERR_GROUP_SEARCH, id);
}

int32_t ResolveResponseGroup(const CXoAdmSession& s, const std::string& name,
                             const CXoObjId& domain, CXoObjId& id) {
  return ResolveBy(s, InDomain<CXoObjResponseGroup>(domain), CXoObjResponseGroup::Name, name,
                   XO_ERR_GROUP_SEARCH, id);
}

int32_t ResolveResponse(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                        CXoObjId& id) {
  return ResolveBy(s, InDomain<CXoObjResponse>(domain), CXoObjResponse::Name, name,
                   XO_ERR_RESPONSE_SEARCH, id);
}

int32_t ResolveRealm(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                     CXoObjId& id) {
  const XoObjSearchFilterList filters = {{CXoObjRealm::Domain, domain.GetOidString()},
                                         {CXoObjRealm::Name, name}};
  return ResolveByFilters(s, CXoObjRealm(), filters, name, XO_ERR_REALM_SEARCH, id);
}

int32_t ResolveRule(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                    const CXoObjId& realm, CXoObjId& id) {
  const XoObjSearchFilterList filters = {{CXoObjRule::Name, name},
                                         {CXoObjRule::Realm, realm.GetOidString()},
                                         {CXoObjRule::Domain, domain.GetOidString()}};
  return ResolveByFilters(s, CXoObjRule(), filters, name, XO_ERR_RULE_SEARCH, id);
}

}  // namespace xo::frame
