// The links of a policy. Each link is an object of its own that binds one
// rule or rule group to the policy, with a response, a response group or
// nothing. Callers name what a link binds; only the link's own identifier
// crosses the interface.
#include <initializer_list>
#include <string>

#include "XoObjStore.h"
#include "XoPolicyApi.h"
#include "frame/Call.h"
#include "frame/FetchEach.h"
#include "frame/Fields.h"
#include "frame/Guard.h"
#include "frame/Names.h"
#include "frame/Resolve.h"
#include "frame/ResultCodes.h"

using namespace xo::frame;

namespace {

// The opening of every call here: the handle, the domain and MANAGE on it,
// then the policy within the domain.
int32_t OpenPolicy(Call& call, const PolicyApiSession* handle,
                   std::initializer_list<const void*> required, const char* domainName,
                   const char* policyName, CXoObjId& policy) {
  if (int32_t rc = call.Open(handle, required); rc != XO_OK) return rc;
  if (int32_t rc = call.AllowDomain(ArgText(domainName)); rc != XO_OK) return rc;
  return ResolvePolicy(call.Session(), ArgText(policyName), call.Domain(), policy);
}

// A rule named within its realm, else a rule group of the domain. The realm
// must resolve even when a group is meant.
int32_t ResolveRuleOrGroup(const Call& call, const std::string& realmName,
                           const std::string& ruleName, CXoObjId& bound) {
  CXoObjId realm;
  if (int32_t rc = ResolveRealm(call.Session(), realmName, call.Domain(), realm); rc != XO_OK) {
    return rc;
  }
  if (ResolveRule(call.Session(), ruleName, call.Domain(), realm, bound) == XO_OK) return XO_OK;
  return ResolveRuleGroup(call.Session(), ruleName, call.Domain(), bound);
}

// A response, else a response group; no name binds no response.
int32_t ResolveResponseOrGroup(const Call& call, const std::string& name, CXoObjId& bound) {
  if (name.empty()) {
    bound = NullObjectId;
    return XO_OK;
  }
  if (ResolveResponse(call.Session(), name, call.Domain(), bound) == XO_OK) return XO_OK;
  return ResolveResponseGroup(call.Session(), name, call.Domain(), bound);
}

int32_t LinksOfPolicy(const Call& call, const CXoObjPolicyLink& templ, const CXoObjId& policy,
                      CXoObjIdArray& ids) {
  return SearchIds(call.Sid(), templ, CXoObjPolicyLink::Policy, policy, ids);
}

// A link may name a policy of another domain than its own; such links are
// never read or changed through this domain.
bool InDomain(const CXoObjPolicyLink& link, const CXoObjId& domain) {
  return link.GetDomainOid().IsEqual(domain);
}

// Applies `change` to each link among `ids` that lies in the call's domain
// and binds `bound`, stopping at the first failure; `matched` tells whether
// any link did.
template <class Change>
int32_t ChangeMatchingLinks(const Call& call, const CXoObjIdArray& ids, const CXoObjId& bound,
                            bool& matched, Change&& change) {
  return FetchEach<CXoObjPolicyLink>(call.Sid(), ids, [&](CXoObjPolicyLink& link) -> int32_t {
    if (!InDomain(link, call.Domain()) || !link.GetRuleOid().IsEqual(bound)) return XO_OK;
    matched = true;
    return change(link);
  });
}

// A rule with its realm, or a rule group, which has no realm.
int32_t ReadBoundRule(const CXoAdmSession& s, const CXoObjId& id, PolicyLinkRecord& record) {
  std::string name;
  std::string realm;
  int32_t rc = RuleName(s, id, name, &realm);
  if (rc == XO_ERR_WRONG_CLASS) {
    realm.clear();
    rc = RuleGroupName(s, id, name);
  }
  if (rc != XO_OK) return rc;
  CopyToField(record.realmName, realm);
  CopyToField(record.ruleName, name);
  return XO_OK;
}

// The response reader takes any identifier, so the class chooses between a
// response and a response group; the null identifier leaves the name empty.
int32_t ReadBoundResponse(const CXoAdmSession& s, const CXoObjId& id, PolicyLinkRecord& record) {
  if (id.IsOidNull()) return XO_OK;
  std::string name;
  const int32_t rc = id.GetOidClass() == XoObjId_ResponseGroup ? ResponseGroupName(s, id, name)
                                                               : ResponseName(s, id, name);
  if (rc != XO_OK) return rc;
  CopyToField(record.responseName, name);
  return XO_OK;
}

}  // namespace

XO_API Xo_PolicyApi_AddPolicyLink(PolicyApiSession* handle, const char* domainName,
                                  const char* policyName, PolicyLinkRecord* link) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjId policy;
    if (int32_t rc = OpenPolicy(call, handle, {link}, domainName, policyName, policy);
        rc != XO_OK) {
      return rc;
    }
    CXoObjId rule;
    if (int32_t rc =
            ResolveRuleOrGroup(call, FieldText(link->realmName), FieldText(link->ruleName), rule);
        rc != XO_OK) {
      return rc;
    }
    CXoObjId response;
    if (int32_t rc = ResolveResponseOrGroup(call, FieldText(link->responseName), response);
        rc != XO_OK) {
      return rc;
    }

    // Every call adds a link, even one that binds what a stored link binds.
    CXoObjPolicyLink object(rule, response, policy, call.Domain());
    const int32_t saved = CXoObjStore::Save(object, false, call.Sid());
    if (StoreFailed(saved)) return MapStoreResult(saved);
    CopyToField(link->objectId, object.GetOid().GetOidString());
    return XO_OK;
  });
}

XO_API Xo_PolicyApi_RemoveRuleFromPolicy(PolicyApiSession* handle, const char* domainName,
                                         const char* policyName, const char* realmName,
                                         const char* ruleName) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjId policy;
    if (int32_t rc = OpenPolicy(call, handle, {}, domainName, policyName, policy); rc != XO_OK) {
      return rc;
    }
    CXoObjId rule;
    if (int32_t rc = ResolveRuleOrGroup(call, ArgText(realmName), ArgText(ruleName), rule);
        rc != XO_OK) {
      return rc;
    }

    // Only the domain's links are searched: a policy whose links all lie in
    // other domains has none to remove here.
    CXoObjPolicyLink templ;
    templ.SetDomainOid(call.Domain());
    CXoObjIdArray ids;
    if (int32_t rc = LinksOfPolicy(call, templ, policy, ids); rc != XO_OK) return rc;
    if (ids.empty()) return XO_ERR_LINK_NOT_FOUND;
    bool matched = false;
    const int32_t rc =
        ChangeMatchingLinks(call, ids, rule, matched, [&](const CXoObjPolicyLink& link) {
          const int32_t deleted = CXoObjStore::Delete(link.GetOid(), call.Sid());
          return StoreFailed(deleted) ? MapStoreResult(deleted) : XO_OK;
        });
    if (rc != XO_OK) return rc;
    return matched ? XO_OK : XO_ERR_LINK_NOT_FOUND;
  });
}

XO_API Xo_PolicyApi_GetPolicyLinks(PolicyApiSession* handle, const char* domainName,
                                   const char* policyName, PolicyLinkRecord** list) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjId policy;
    if (int32_t rc = OpenPolicy(call, handle, {list}, domainName, policyName, policy);
        rc != XO_OK) {
      return rc;
    }
    CXoObjIdArray ids;
    if (int32_t rc = LinksOfPolicy(call, CXoObjPolicyLink(), policy, ids); rc != XO_OK) return rc;

    const auto inDomain = [&](const CXoObjPolicyLink& link) {
      return InDomain(link, call.Domain());
    };
    const auto fill = [&](PolicyLinkRecord& record, const CXoObjPolicyLink& link) -> int32_t {
      if (int32_t rc = ReadBoundRule(call.Session(), link.GetRuleOid(), record); rc != XO_OK) {
        return rc;
      }
      if (int32_t rc = ReadBoundResponse(call.Session(), link.GetResponseOid(), record);
          rc != XO_OK) {
        return rc;
      }
      CopyToField(record.objectId, link.GetOid().GetOidString());
      return XO_OK;
    };
    return FilteredRecords<CXoObjPolicyLink>(call.Sid(), ids, inDomain, fill, list);
  });
}

XO_API Xo_PolicyApi_SetResponseInPolicyLink(PolicyApiSession* handle, const char* domainName,
                                            const char* policyName, PolicyLinkRecord* link) {
  return Guarded([&]() -> int32_t {
    Call call;
    CXoObjId policy;
    if (int32_t rc = OpenPolicy(call, handle, {link}, domainName, policyName, policy);
        rc != XO_OK) {
      return rc;
    }
    CXoObjId rule;
    if (int32_t rc =
            ResolveRuleOrGroup(call, FieldText(link->realmName), FieldText(link->ruleName), rule);
        rc != XO_OK) {
      return rc;
    }
    const std::string responseName = FieldText(link->responseName);
    CXoObjId response;
    if (ResolveResponse(call.Session(), responseName, call.Domain(), response) != XO_OK) {
      // Only a response is ever set here: the name of a response group
      // changes nothing and succeeds, any other name fails as a group name.
      CXoObjId group;
      return ResolveResponseGroup(call.Session(), responseName, call.Domain(), group);
    }

    CXoObjIdArray ids;
    if (int32_t rc = LinksOfPolicy(call, CXoObjPolicyLink(), policy, ids); rc != XO_OK) return rc;
    if (ids.empty()) return XO_ERR_LINK_NOT_FOUND;
    bool matched = false;
    const int32_t rc = ChangeMatchingLinks(call, ids, rule, matched, [&](CXoObjPolicyLink& stored) {
      stored.SetResponseOid(response);
      const int32_t saved = CXoObjStore::Save(stored, true, call.Sid());
      return StoreFailed(saved) ? MapStoreResult(saved) : XO_OK;
    });
    if (rc != XO_OK) return rc;
    return matched ? XO_OK : XO_ERR_GENERAL;
  });
}
