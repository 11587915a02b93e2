// Rules, policy links and rule-group members on a domain of 1,000 and of
// 100,000 rules, and the listing of 100,000 rules, each beside its floor in
// plain SQLite: a single-row insert and commit for the writes, a point select
// for the read, one indexed range select for the listing.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <map>
#include <string>

#include "BenchStores.h"
#include "Iterations.h"
#include "Ratios.h"
#include "SqliteFloor.h"

namespace xo::bench {
namespace {

// Members per rule group in AddToGroup, which adds to groups as they are
// built, one after another (GroupBenchmarks.cpp compares group sizes).
constexpr int64_t kMembersPerGroup = 100;

int64_t NextSerial() {
  static std::atomic<int64_t> serial{0};
  return serial++;
}

void AddRule(benchmark::State& state) {
  ApiSession api(PopulatedRuleStore(state.range(0)));
  RunSteps(state, "AddRule failed", [&] {
    const int64_t serial = NextSerial();
    RuleRecord rule{};
    std::snprintf(rule.name, sizeof rule.name, "added-%lld", static_cast<long long>(serial));
    std::snprintf(rule.realmName, sizeof rule.realmName, "%s", RuleRealm(serial).c_str());
    std::snprintf(rule.ruleText1, sizeof rule.ruleText1, "GET");
    return Xo_PolicyApi_AddRule(api.Handle(), kRuleDomain, &rule, 0) == XO_OK;
  });
}

void GetRule(benchmark::State& state) {
  ApiSession api(PopulatedRuleStore(state.range(0)));
  ScatteredIndex rules(state.range(0));
  RunSteps(state, "GetRule found nothing", [&] {
    const int64_t i = rules.Next();
    RuleRecord* found = nullptr;
    const bool ok = Xo_PolicyApi_GetRule(api.Handle(), RuleName(i).c_str(), RuleRealm(i).c_str(),
                                         kRuleDomain, &found) == XO_OK &&
                    found != nullptr;
    Xo_PolicyApi_FreeMemory(found);
    return ok;
  });
}

void AddPolicyLink(benchmark::State& state) {
  ApiSession api(PopulatedRuleStore(state.range(0)));
  ScatteredIndex rules(state.range(0));
  RunSteps(state, "AddPolicyLink failed", [&] {
    const int64_t i = rules.Next();
    PolicyLinkRecord link{};
    std::snprintf(link.realmName, sizeof link.realmName, "%s", RuleRealm(i).c_str());
    std::snprintf(link.ruleName, sizeof link.ruleName, "%s", RuleName(i).c_str());
    std::snprintf(link.responseName, sizeof link.responseName, "%s", kResponse);
    return Xo_PolicyApi_AddPolicyLink(api.Handle(), kRuleDomain, kPolicy, &link) == XO_OK;
  });
}

// Adds a new rule group of the store, outside the timing.
bool NewGroup(benchmark::State& state, PolicyApiSession* handle, const std::string& name) {
  state.PauseTiming();
  GroupRecord group{};
  std::snprintf(group.name, sizeof group.name, "%s", name.c_str());
  std::snprintf(group.vendorName, sizeof group.vendorName, "HTTP Agent");
  const bool added = Xo_PolicyApi_AddGroup(handle, XO_GROUP_RULE, kRuleDomain, &group, 0) == XO_OK;
  state.ResumeTiming();
  return added;
}

void AddToGroup(benchmark::State& state) {
  const int64_t rules = state.range(0);
  ApiSession api(PopulatedRuleStore(rules));
  // Members added so far on each store, across the runs of this benchmark.
  static std::map<int64_t, int64_t> added;
  int64_t& count = added[rules];
  for (auto _ : state) {
    const int64_t group = count / kMembersPerGroup;
    const std::string groupName = "group-" + std::to_string(group);
    if (count % kMembersPerGroup == 0 && !NewGroup(state, api.Handle(), groupName)) {
      state.SkipWithError("AddGroup failed");
      break;
    }
    const int64_t rule = (group * kMembersPerGroup + count % kMembersPerGroup) % rules;
    ++count;
    if (Xo_PolicyApi_AddToGroup(api.Handle(), XO_GROUP_RULE, groupName.c_str(),
                                RuleName(rule).c_str(), kRuleDomain,
                                RuleRealm(rule).c_str()) != XO_OK) {
      state.SkipWithError("AddToGroup failed");
      break;
    }
  }
}

void ListRules(benchmark::State& state) {
  ApiSession api(PopulatedRuleStore(state.range(0)));
  RunSteps(state, "GetDomainObjectNames missed rules", [&] {
    char** names = nullptr;
    const int32_t rc =
        Xo_PolicyApi_GetDomainObjectNames(api.Handle(), kRuleDomain, XO_DOMAIN_RULES, &names);
    int64_t listed = 0;
    while (names != nullptr && names[listed] != nullptr) ++listed;
    if (names != nullptr) Xo_PolicyApi_FreeStringArray(names);
    return rc == XO_OK && listed == state.range(0);
  });
}

void SqliteRuleInsertCommit(benchmark::State& state) {
  RuleFloorTable table(state.range(0));
  RunSteps(state, "insert failed", [&] {
    const int64_t serial = NextSerial();
    return table.Insert(RuleRealm(serial), "floor-added-" + std::to_string(serial));
  });
}

void SqliteRulePointSelect(benchmark::State& state) {
  RuleFloorTable table(state.range(0));
  ScatteredIndex rules(state.range(0));
  RunSteps(state, "select found nothing", [&] {
    const int64_t i = rules.Next();
    return table.Select(RuleRealm(i), RuleName(i));
  });
}

void SqliteRuleRangeSelect(benchmark::State& state) {
  RuleFloorTable table(state.range(0));
  RunSteps(state, "the range missed rules", [&] { return table.SelectAll() >= state.range(0); });
}

[[maybe_unused]] const bool kRatios = AddRatio("AddRule", "SqliteRuleInsertCommit") &&
                                      AddRatio("GetRule", "SqliteRulePointSelect") &&
                                      AddRatio("AddPolicyLink", "SqliteRuleInsertCommit") &&
                                      AddRatio("AddToGroup", "SqliteRuleInsertCommit") &&
                                      AddRatio("ListRules", "SqliteRuleRangeSelect");

constexpr int64_t kSmallDomain = 1000;
constexpr int64_t kLargeDomain = 100000;

// Each call runs right beside its floor. The listing and the read go before
// the writes, so that they see exactly the rules the store was made with.

XO_BENCH(GetRule, kSmallDomain);
XO_BENCH(SqliteRulePointSelect, kSmallDomain);
XO_BENCH(AddRule, kSmallDomain);
XO_BENCH(AddPolicyLink, kSmallDomain);
XO_BENCH(AddToGroup, kSmallDomain);
XO_BENCH(SqliteRuleInsertCommit, kSmallDomain);

XO_BENCH(ListRules, kLargeDomain);
XO_BENCH(SqliteRuleRangeSelect, kLargeDomain);
XO_BENCH(GetRule, kLargeDomain);
XO_BENCH(SqliteRulePointSelect, kLargeDomain);
XO_BENCH(AddRule, kLargeDomain);
XO_BENCH(AddPolicyLink, kLargeDomain);
XO_BENCH(AddToGroup, kLargeDomain);
XO_BENCH(SqliteRuleInsertCommit, kLargeDomain);

}  // namespace
}  // namespace xo::bench
