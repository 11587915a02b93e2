// The plan against the store: the system section first, then the domains'
// own records, then each domain's objects, one domain held at a time.
#include <algorithm>

#include "cli/policy/Plan.h"
#include "cli/policy/Reading.h"

namespace xo::cli::policy {
namespace {

const Json& CollectionOf(const Json& parent, const char* key) {
  static const Json kNone = Json::array();
  return parent.is_object() && parent.contains(key) ? parent[key] : kNone;
}

// What the store holds of what the file speaks about.
ReadScope ScopeOf(const Document& desired, bool prune, std::vector<std::string>& builtIn) {
  ReadScope scope;
  scope.system = desired.system.has_value();
  scope.secrets = true;
  scope.builtIn = &builtIn;
  // Pruning a file that describes the whole store may delete any domain.
  if (!(prune && scope.system)) {
    std::vector<std::string> names;
    for (const Document::Domain& domain : desired.domains) names.push_back(domain.name);
    scope.domains = names;
  }
  return scope;
}

// Appends `from`, kind after kind, the last kind first.
void AppendReversed(std::vector<std::vector<PlannedChange>>& from, std::vector<PlannedChange>& to) {
  for (auto kind = from.rbegin(); kind != from.rend(); ++kind) {
    for (PlannedChange& change : *kind) to.push_back(std::move(change));
  }
}

}  // namespace

Plan MakePlan(const Connection& connection, Document& desired, PlanOptions options) {
  std::vector<std::string> builtIn;
  const ReadScope scope = ScopeOf(desired, options.prune, builtIn);
  Json storedSystem;
  if (desired.system) storedSystem = ReadSystem(connection, scope);
  options.keep.insert(builtIn.begin(), builtIn.end());

  Planner planner(options);
  std::vector<std::vector<PlannedChange>> systemDeletions(SystemKinds().size());
  std::vector<PlannedChange> domainDeletions;
  if (desired.system) {
    for (size_t i = 0; i < SystemKinds().size(); ++i) {
      const Kind& kind = *SystemKinds()[i];
      if (!desired.system->contains(kind.collection)) continue;
      planner.Collection(kind, "", CollectionOf(storedSystem, kind.collection),
                         (*desired.system)[kind.collection], systemDeletions[i]);
    }
  }

  if (desired.hasDomains) {
    // The domains themselves; their contents follow, domain by domain.
    const std::vector<std::string> stored = DomainsInScope(connection, scope);
    Json storedDomains = Json::array();
    for (const std::string& name : stored) {
      Json domain = ReadDomain(connection, scope, name, false);
      if (!domain.is_null()) storedDomains.push_back(std::move(domain));
    }
    Json givenDomains = Json::array();
    for (const Document::Domain& domain : desired.domains) givenDomains.push_back(domain.record);
    // Whole domains are deleted only when the file describes the whole store.
    PlanOptions domainOptions = options;
    domainOptions.prune = options.prune && desired.system;
    Planner domainPlanner(domainOptions);
    domainPlanner.Collection(DomainKind(), "", storedDomains, givenDomains, domainDeletions);
    for (PlannedChange& change : domainPlanner.Changes()) {
      planner.Changes().push_back(std::move(change));
    }

    std::vector<PlannedChange> contentDeletions;
    for (Document::Domain& domain : desired.domains) {
      const bool exists = std::binary_search(stored.begin(), stored.end(), domain.name);
      const Json storedDomain = exists ? ReadDomain(connection, scope, domain.name) : Json();
      const Json given = Document::Contents(domain);
      // The plan holds what it needs of the domain from here on.
      std::vector<std::uint8_t>().swap(domain.contents);
      std::vector<std::vector<PlannedChange>> perKind(DomainKinds().size());
      for (size_t i = 0; i < DomainKinds().size(); ++i) {
        const Kind& kind = *DomainKinds()[i];
        if (!given.contains(kind.collection)) continue;
        planner.Collection(kind, domain.name, CollectionOf(storedDomain, kind.collection),
                           given[kind.collection], perKind[i]);
      }
      AppendReversed(perKind, contentDeletions);
    }
    for (PlannedChange& change : domainDeletions) contentDeletions.push_back(std::move(change));
    domainDeletions = std::move(contentDeletions);
  }

  Plan plan = planner.Take();
  for (PlannedChange& change : domainDeletions) plan.changes.push_back(std::move(change));
  AppendReversed(systemDeletions, plan.changes);
  return plan;
}

}  // namespace xo::cli::policy
