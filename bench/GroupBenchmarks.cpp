// A rule group's members on the domain of 100,000 rules: one member added or
// taken out of a group of 10 and of a group of 10,000, which should cost the
// same, and the names of the 10,000, beside a range select of a membership
// table joined to a table of 100,000 rules in plain SQLite.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "BenchStores.h"
#include "Iterations.h"
#include "Ratios.h"
#include "SqliteFloor.h"
#include "XoObjStore.h"

namespace xo::bench {
namespace {

constexpr int64_t kRules = 100000;
constexpr int64_t kSmallGroup = 10;
constexpr int64_t kLargeGroup = 10000;
// The rules added and taken out during the runs: none is in either group.
constexpr int64_t kFirstVisitor = 50000;
constexpr int64_t kMembersPerTransaction = 1000;

std::string GroupName(int64_t members) { return "members-" + std::to_string(members); }

int32_t ChangeMember(PolicyApiSession* handle, bool add, int64_t members, int64_t rule) {
  const auto change = add ? Xo_PolicyApi_AddToGroup : Xo_PolicyApi_RemoveFromGroup;
  return change(handle, XO_GROUP_RULE, GroupName(members).c_str(), RuleName(rule).c_str(),
                kRuleDomain, RuleRealm(rule).c_str());
}

// The rule store with the groups of 10 and of 10,000 rules, made on first use.
const std::string& GroupStore() {
  static const std::string& uri = [&]() -> const std::string& {
    const std::string& store = PopulatedRuleStore(kRules);
    ApiSession api(store);
    const std::string& sid = api.Session().GetSessionID();
    for (int64_t members : {kSmallGroup, kLargeGroup}) {
      GroupRecord group{};
      std::snprintf(group.name, sizeof group.name, "%s", GroupName(members).c_str());
      std::snprintf(group.vendorName, sizeof group.vendorName, "HTTP Agent");
      Require(Xo_PolicyApi_AddGroup(api.Handle(), XO_GROUP_RULE, kRuleDomain, &group, 0) == XO_OK,
              "adding " + GroupName(members));
      for (int64_t first = 0; first < members; first += kMembersPerTransaction) {
        Require(CXoObjStore::BeginTransaction(sid) >= 0, "beginning a transaction");
        for (int64_t rule = first; rule < members && rule < first + kMembersPerTransaction;
             ++rule) {
          Require(ChangeMember(api.Handle(), true, members, rule) == XO_OK, "adding a member");
        }
        Require(CXoObjStore::CommitTransaction(sid) >= 0, "committing a transaction");
      }
    }
    return store;
  }();
  return uri;
}

// Times one change of a visiting rule, and undoes it untimed.
void ChangeVisitor(benchmark::State& state, bool add, int64_t members) {
  ApiSession api(GroupStore());
  int64_t rule = kFirstVisitor;
  for (auto _ : state) {
    ++rule;
    state.PauseTiming();
    const bool ready = add || ChangeMember(api.Handle(), true, members, rule) == XO_OK;
    state.ResumeTiming();
    const bool changed = ready && ChangeMember(api.Handle(), add, members, rule) == XO_OK;
    state.PauseTiming();
    const bool undone = !add || ChangeMember(api.Handle(), false, members, rule) == XO_OK;
    state.ResumeTiming();
    if (!changed || !undone) {
      state.SkipWithError("a member change failed");
      break;
    }
  }
}

void AddToGroupOf10(benchmark::State& state) { ChangeVisitor(state, true, kSmallGroup); }
void AddToGroupOf10000(benchmark::State& state) { ChangeVisitor(state, true, kLargeGroup); }
void RemoveFromGroupOf10(benchmark::State& state) { ChangeVisitor(state, false, kSmallGroup); }
void RemoveFromGroupOf10000(benchmark::State& state) { ChangeVisitor(state, false, kLargeGroup); }

void GroupNames10000(benchmark::State& state) {
  ApiSession api(GroupStore());
  RunSteps(state, "GetGroupNames missed members", [&] {
    char** names = nullptr;
    const int32_t rc = Xo_PolicyApi_GetGroupNames(
        api.Handle(), XO_GROUP_RULE, GroupName(kLargeGroup).c_str(), kRuleDomain, &names);
    int64_t listed = 0;
    while (names != nullptr && names[listed] != nullptr) ++listed;
    if (names != nullptr) Xo_PolicyApi_FreeStringArray(names);
    return rc == XO_OK && listed == kLargeGroup;
  });
}

void SqliteMemberRangeSelect(benchmark::State& state) {
  MemberFloorTable table(kLargeGroup, kRules);
  RunSteps(state, "the range missed members", [&] { return table.SelectNames() == kLargeGroup; });
}

[[maybe_unused]] const bool kRatios = AddRatio("AddToGroupOf10000", "AddToGroupOf10") &&
                                      AddRatio("RemoveFromGroupOf10000", "RemoveFromGroupOf10") &&
                                      AddRatio("GroupNames10000", "SqliteMemberRangeSelect");

XO_BENCH(AddToGroupOf10, kRules);
XO_BENCH(AddToGroupOf10000, kRules);
XO_BENCH(RemoveFromGroupOf10, kRules);
XO_BENCH(RemoveFromGroupOf10000, kRules);
XO_BENCH(GroupNames10000, kRules);
// The floor with the same argument as the call, for the summary table.
XO_BENCH(SqliteMemberRangeSelect, kRules);

}  // namespace
}  // namespace xo::bench
