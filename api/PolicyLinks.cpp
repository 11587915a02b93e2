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
#include "frame/Saving.h"

using namespace xo::frame;

namespace {

// The opening of every call here: the handle, the domain and MANAGE on it,
// then the policy within the domain.
int32_t OpenPolicy(Call& call, const PolicyApiSession* handle,
                   std::initializer_list<const void*> required, const char* domainName,
                   const char* policyName, CXoObjId& policy) {
  if (int32_t rc = call.OpenDomain(handle, required, ArgText(domainName)); rc != XO_OK) return rc;
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

// The opening of the calls that take a link record: the policy, then the
// rule or rule group the record names.
struct LinkRecordCall : Call {
  CXoObjId policy;
  CXoObjId rule;

  int32_t OpenRecord(const PolicyApiSession* handle, const char* domainName, const char* policyName,
                     const PolicyLinkRecord* link) {
    if (int32_t rc = OpenPolicy(*this, handle, {link}, domainName, policyName, policy);
        rc != XO_OK) {
      return rc;
    }
    return ResolveRuleOrGroup(*this, FieldText(link->realmName), FieldText(link->ruleName), rule);
  }
};

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

// Applies `change` to each link of the policy (those the template finds)
// that lies in the call's domain and binds `bound`, stopping at the first
// failure. A policy without links is -3; with links but none that match,
// `unmatched`. The links are read under the write lock and changed as one:
// a link another session removes meanwhile is not saved back, and a failure
// leaves every link as it was.
template <class Change>
int32_t ChangeMatchingLinks(Call& call, const CXoObjPolicyLink& templ, const CXoObjId& policy,
                            const CXoObjId& bound, int32_t unmatched, Change&& change) {
  return call.Serialised([&]() -> int32_t {
    CXoObjIdArray ids;
    if (int32_t rc = LinksOfPolicy(call, templ, policy, ids); rc != XO_OK) return rc;
    if (ids.empty()) return XO_ERR_LINK_NOT_FOUND;
    bool matched = false;
    const int32_t rc =
        FetchEach<CXoObjPolicyLink>(call.Sid(), ids, [&](CXoObjPolicyLink& link) -> int32_t {
          if (!InDomain(link, call.Domain()) || !link.GetRuleOid().IsEqual(bound)) return XO_OK;
          matched = true;
          return change(link);
        });
    if (rc != XO_OK) return rc;
    return matched ? XO_OK : unmatched;
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
    LinkRecordCall call;
    if (int32_t rc = call.OpenRecord(handle, domainName, policyName, link); rc != XO_OK) return rc;
    CXoObjId response;
    if (int32_t rc = ResolveResponseOrGroup(call, FieldText(link->responseName), response);
        rc != XO_OK) {
      return rc;
    }

    // Every call adds a link, even one that binds what a stored link binds.
    CXoObjPolicyLink object(call.rule, response, call.policy, call.Domain());
    return SaveObject(call.Sid(), object, false, &link->objectId);
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
    return ChangeMatchingLinks(
        call, templ, policy, rule, XO_ERR_LINK_NOT_FOUND, [&](const CXoObjPolicyLink& link) {
          const int32_t deleted = CXoObjStore::Delete(link.GetOid(), call.Sid());
          return StoreFailed(deleted) ? MapStoreResult(deleted) : XO_OK;
        });
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
    LinkRecordCall call;
    if (int32_t rc = call.OpenRecord(handle, domainName, policyName, link); rc != XO_OK) return rc;
    const std::string responseName = FieldText(link->responseName);
    CXoObjId response;
    if (ResolveResponse(call.Session(), responseName, call.Domain(), response) != XO_OK) {
      // Only a response is ever set here: the name of a response group
      // changes nothing and succeeds, any other name fails as a group name.
      CXoObjId group;
      return ResolveResponseGroup(call.Session(), responseName, call.Domain(), group);
    }

    return ChangeMatchingLinks(call, CXoObjPolicyLink(), call.policy, call.rule, XO_ERR_GENERAL,
                               [&](CXoObjPolicyLink& stored) {
                                 stored.SetResponseOid(response);
                                 return SaveObject(call.Sid(), stored, true);
                               });
  });
}
