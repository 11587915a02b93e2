// The flat interface's domain calls and the domain resolver, each on stores
// of 1,000 and 100,000 domains, beside the plain SQLite floor; and the same
// calls on a PostgreSQL store beside plain libpq on the same server, when
// XO_TEST_POSTGRES names one (scripts/bench.sh starts a private server).
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <string>

#include "BenchStores.h"
#include "Iterations.h"
#include "Ratios.h"
#include "SqliteFloor.h"
#include "frame/Resolve.h"
#ifdef XO_WITH_POSTGRES
#include "PostgresFloor.h"
#endif

namespace xo::bench {
namespace {

// Names of existing domains visited in a scattered order, so that lookups do
// not walk the index in sequence.
class ScatteredNames {
 public:
  explicit ScatteredNames(int64_t count) : index_(count) {}
  std::string Next() { return DomainName(index_.Next()); }

 private:
  ScatteredIndex index_;
};

// A name no store or table holds yet.
std::string FreshName(const char* prefix) {
  static std::atomic<int64_t> serial{0};
  return prefix + std::to_string(serial++);
}

void LoginLogout(benchmark::State& state) {
  StoreSelection store(PopulatedStore(state.range(0)));
  RunSteps(state, "login or logout failed", [] {
    PolicyApiSession* handle = nullptr;
    return Login(handle) == XO_OK && Xo_PolicyApi_Logout(handle) == XO_OK;
  });
}

void AddDomainOn(benchmark::State& state, Backend backend) {
  ApiSession api(PopulatedStore(state.range(0), backend));
  RunSteps(state, "AddDomain failed", [&] {
    DomainRecord record{};
    std::snprintf(record.name, sizeof record.name, "%s", FreshName("added-").c_str());
    return Xo_PolicyApi_AddDomain(api.Handle(), &record, 0) == XO_OK;
  });
}

void GetDomainOn(benchmark::State& state, Backend backend) {
  ApiSession api(PopulatedStore(state.range(0), backend));
  ScatteredNames names(state.range(0));
  RunSteps(state, "GetDomain found nothing", [&] {
    DomainRecord* found = nullptr;
    const bool ok =
        Xo_PolicyApi_GetDomain(api.Handle(), names.Next().c_str(), &found) == XO_OK && found;
    Xo_PolicyApi_FreeMemory(found);
    return ok;
  });
}

void AddDomain(benchmark::State& state) { AddDomainOn(state, Backend::kSqlite); }
void GetDomain(benchmark::State& state) { GetDomainOn(state, Backend::kSqlite); }

void ResolveDomain(benchmark::State& state) {
  ApiSession api(PopulatedStore(state.range(0)));
  ScatteredNames names(state.range(0));
  RunSteps(state, "the resolver found nothing", [&] {
    CXoObjId id;
    const bool ok = frame::ResolveDomain(api.Session(), names.Next(), id) == XO_OK;
    benchmark::DoNotOptimize(id);
    return ok;
  });
}

void SqliteInsertCommit(benchmark::State& state) {
  FloorTable table(state.range(0));
  RunSteps(state, "insert failed", [&] { return table.Insert(FreshName("floor-added-")); });
}

void SqlitePointSelect(benchmark::State& state) {
  FloorTable table(state.range(0));
  ScatteredNames names(state.range(0));
  RunSteps(state, "select found nothing", [&] { return table.SelectByName(names.Next()); });
}

// Login verifies an Argon2id hash and writes and ends a session, so its
// floor is only a lower bound.
[[maybe_unused]] const bool kRatios =
    AddRatio("LoginLogout", "SqliteInsertCommit") && AddRatio("AddDomain", "SqliteInsertCommit") &&
    AddRatio("GetDomain", "SqlitePointSelect") && AddRatio("ResolveDomain", "SqlitePointSelect");

constexpr int64_t kSmallStore = 1000;
constexpr int64_t kLargeStore = 100000;

// Each call runs right beside its floor, so that both see the same disk: on a
// shared machine the cost of a commit drifts over a run.

XO_BENCH(LoginLogout, kSmallStore);
XO_BENCH(AddDomain, kSmallStore);
XO_BENCH(SqliteInsertCommit, kSmallStore);
XO_BENCH(GetDomain, kSmallStore);
XO_BENCH(ResolveDomain, kSmallStore);
XO_BENCH(SqlitePointSelect, kSmallStore);

XO_BENCH(LoginLogout, kLargeStore);
XO_BENCH(AddDomain, kLargeStore);
XO_BENCH(SqliteInsertCommit, kLargeStore);
XO_BENCH(GetDomain, kLargeStore);
XO_BENCH(ResolveDomain, kLargeStore);
XO_BENCH(SqlitePointSelect, kLargeStore);

#ifdef XO_WITH_POSTGRES
// Without a server the PostgreSQL rows are reported as skipped.
bool NeedsServer(benchmark::State& state) {
  if (HasServer()) return true;
  state.SkipWithError("no PostgreSQL server: set XO_TEST_POSTGRES");
  return false;
}

void PgAddDomain(benchmark::State& state) {
  if (NeedsServer(state)) AddDomainOn(state, Backend::kPostgres);
}

void PgGetDomain(benchmark::State& state) {
  if (NeedsServer(state)) GetDomainOn(state, Backend::kPostgres);
}

void PgInsertCommit(benchmark::State& state) {
  if (!NeedsServer(state)) return;
  PostgresFloorTable table(state.range(0));
  RunSteps(state, "insert failed", [&] { return table.Insert(FreshName("floor-added-")); });
}

void PgPointSelect(benchmark::State& state) {
  if (!NeedsServer(state)) return;
  PostgresFloorTable table(state.range(0));
  ScatteredNames names(state.range(0));
  RunSteps(state, "select found nothing", [&] { return table.SelectByName(names.Next()); });
}

[[maybe_unused]] const bool kServerRatios =
    AddRatio("PgAddDomain", "PgInsertCommit") && AddRatio("PgGetDomain", "PgPointSelect");

XO_BENCH(PgAddDomain, kSmallStore);
XO_BENCH(PgInsertCommit, kSmallStore);
XO_BENCH(PgGetDomain, kSmallStore);
XO_BENCH(PgPointSelect, kSmallStore);

XO_BENCH(PgAddDomain, kLargeStore);
XO_BENCH(PgInsertCommit, kLargeStore);
XO_BENCH(PgGetDomain, kLargeStore);
XO_BENCH(PgPointSelect, kLargeStore);
#endif

}  // namespace
}  // namespace xo::bench
