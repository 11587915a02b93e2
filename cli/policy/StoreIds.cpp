#include "cli/policy/StoreIds.h"

#include "cli/Scope.h"
#include "cli/StoreObjects.h"

namespace xo::cli::policy {
namespace {

XoObjSearchFilterList InDomain(const std::string& domainOid) {
  return {{1, domainOid}};  // property 1 is the domain of every class that lives in one
}

}  // namespace

DomainIds::DomainIds(const Connection& connection, const std::string& domain) : domain_(domain) {
  CXoObjIdArray hits;
  int32_t searched = CXoObjStore::Search(CXoObjDomain(), hits, CXoObjDomain::Name,
                                         XoPropValue(domain), connection.SessionId());
  if (store::Failed(searched) || hits.size() != 1) {
    throw CommandError("cannot find domain " + Quoted(domain) + " in the store");
  }
  domainOid_ = hits.front().GetOidString();

  const std::string where = " of domain " + Quoted(domain);
  ForEachStoreObject<CXoObjRealm>(
      connection, "realms" + where, InDomain(domainOid_), [&](const CXoObjRealm& realm) {
        realmByOid_[realm.GetOid().GetOidString()] = realm.GetName();
        parentOidByRealm_[realm.GetName()] = realm.GetParentOid().GetOidString();
      });
  ForEachStoreObject<CXoObjRule>(
      connection, "rules" + where, InDomain(domainOid_), [&](const CXoObjRule& rule) {
        auto realm = realmByOid_.find(rule.GetRealmOid().GetOidString());
        if (realm == realmByOid_.end()) {
          throw CommandError("rule " + Quoted(rule.GetName()) + where + " lies in no realm of it");
        }
        rules_.push_back({realm->second,
                          rule.GetName(),
                          rule.GetDescription(),
                          {rule.GetText1(), rule.GetText2(), rule.GetText3()},
                          {rule.GetFlag1(), rule.GetFlag2(), rule.GetFlag3()}});
        ruleByOid_[rule.GetOid().GetOidString()] = rules_.size() - 1;
      });
  ForEachStoreObject<CXoObjRuleGroup>(
      connection, "rule groups" + where, InDomain(domainOid_), [&](const CXoObjRuleGroup& group) {
        groupByOid_[group.GetOid().GetOidString()] = group.GetName();
        membersByGroup_[group.GetName()] = group.GetMembers();
      });
}

std::string DomainIds::ParentOf(const std::string& realm) const {
  auto parent = parentOidByRealm_.find(realm);
  if (parent == parentOidByRealm_.end() || parent->second == domainOid_) return "";
  auto name = realmByOid_.find(parent->second);
  if (name == realmByOid_.end()) {
    throw CommandError("the parent of realm " + Quoted(realm) + " is no realm of domain " +
                       Quoted(domain_));
  }
  return name->second;
}

Json DomainIds::RuleGroupMembers(const std::string& group) const {
  Json members = Json::array();
  auto found = membersByGroup_.find(group);
  if (found == membersByGroup_.end()) return members;
  for (const CXoObjId& member : found->second) {
    if (auto rule = ruleByOid_.find(member.GetOidString()); rule != ruleByOid_.end()) {
      const Rule& found = rules_[rule->second];
      members.push_back({{"realm", found.realm}, {"rule", found.name}});
    } else if (auto nested = groupByOid_.find(member.GetOidString()); nested != groupByOid_.end()) {
      members.push_back({{"group", nested->second}});
    } else {
      throw CommandError("rule group " + Quoted(group) + " of domain " + Quoted(domain_) +
                         " holds " + member.GetOidString() + ", which is no rule or group of it");
    }
  }
  return members;
}

std::vector<PolicyUser> PolicyUsers(const Connection& connection, const std::string& policyOid) {
  std::vector<PolicyUser> users;
  ForEachStoreObject<CXoObjUserPolicy>(connection, "users of a policy",
                                       {{CXoObjUserPolicy::Policy, policyOid}},
                                       [&](const CXoObjUserPolicy& user) {
                                         users.push_back({user.GetUserDirectoryOid().GetOidString(),
                                                          user.GetEntry(), user.GetResolution()});
                                       });
  return users;
}

std::string UserDirectoryName(const Connection& connection, const std::string& oid) {
  CXoObjUserDirectory directory{CXoObjId(oid)};
  int32_t fetched = CXoObjStore::Fetch(directory, 0, nullptr, connection.SessionId());
  if (store::Failed(fetched)) {
    throw CommandError("cannot read user directory " + oid + ": " + store::Describe(fetched));
  }
  return directory.GetName();
}

}  // namespace xo::cli::policy
