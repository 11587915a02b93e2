#include "cli/policy/Kinds.h"

namespace xo::cli::policy {

const std::vector<const Kind*>& SystemKinds() {
  static const std::vector<const Kind*> kinds{&OdbcQuerySchemeKind(), &UserDirectoryKind(),
                                              &SchemeKind(),          &AgentKind(),
                                              &AgentGroupKind(),      &AdministratorKind()};
  return kinds;
}

const std::vector<const Kind*>& DomainKinds() {
  static const std::vector<const Kind*> kinds{&RealmKind(),         &RuleKind(),
                                              &RuleGroupKind(),     &ResponseKind(),
                                              &ResponseGroupKind(), &PolicyKind()};
  return kinds;
}

}  // namespace xo::cli::policy
