// Which object a name means, where the library tells only names: the realm
// of each rule of a domain, what a rule group holds, a realm's parent, and
// what a policy user was attached with. Read from the store by identifier;
// every change still goes through the library.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "XoObjClasses.h"
#include "cli/Connection.h"
#include "cli/policy/Document.h"

namespace xo::cli::policy {

// The realms, rules and rule groups of one domain, as the store links them.
class DomainIds {
 public:
  DomainIds(const Connection& connection, const std::string& domain);

  struct Rule {
    std::string realm;
    std::string name;
    std::string description;
    std::string texts[3];
    bool flags[3];
  };
  // Every rule of the domain, in the order they were made, as the one listing
  // read them: reading the rules one by one again would cost a store round
  // trip each. A rule name is unique only within its realm.
  const std::vector<Rule>& Rules() const { return rules_; }
  // The name of a realm's parent realm; empty for a realm directly under the
  // domain (which the library reads back as the domain's name).
  std::string ParentOf(const std::string& realm) const;
  // A rule group's members: {"realm", "rule"} for a rule, {"group"} for a
  // nested group.
  Json RuleGroupMembers(const std::string& group) const;

 private:
  std::string domain_;
  std::string domainOid_;
  std::map<std::string, std::string> realmByOid_;
  std::map<std::string, std::string> parentOidByRealm_;
  std::vector<Rule> rules_;
  std::map<std::string, size_t> ruleByOid_;  // index in rules_
  std::map<std::string, std::string> groupByOid_;
  std::map<std::string, CXoObjIdArray> membersByGroup_;
};

// An entry attached to a policy, with the resolution it was attached with,
// which the library does not report back.
struct PolicyUser {
  std::string directoryOid;
  std::string entry;
  int32_t resolution = 0;
};
std::vector<PolicyUser> PolicyUsers(const Connection& connection, const std::string& policyOid);

// The name of a user directory by its identifier.
std::string UserDirectoryName(const Connection& connection, const std::string& oid);

}  // namespace xo::cli::policy
