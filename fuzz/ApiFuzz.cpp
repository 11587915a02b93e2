// xo_fuzz_api: random calls of every exported function against the prepared
// catalog store, from a seed. Each result must be a defined code; a failed
// call must leave the store's rows as they were; a handle that is no live
// session, a null record or output, or a failed allocation must never be
// accepted; at the end every session logs out, the store closes and the
// database passes SQLite's integrity check. The sanitizer build catches what
// the checks cannot see.
//
//   xo_fuzz_api [--seed N] [--calls N] [--runs N]
//
// --runs repeats with seeds N, N+1, ..., each on a new store.
#include <gtest/gtest-spi.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "StoreBackend.h"
#include "frame/Memory.h"
#include "support/Environment.h"
#include "support/RandomArgs.h"
#include "support/RandomStore.h"
#include "support/StoreFile.h"

namespace xo::fuzz {
namespace {

using Driver = test::RandomArgs;
using Mode = Driver::Mode;
constexpr const char* kAdmin = Driver::kAdmin;
constexpr const char* kPassword = Driver::kPassword;

bool DefinedCode(int32_t rc) {
  return rc == XO_OK || (rc <= -1 && rc >= -14) || rc == -16 || rc == -17 ||
         (rc <= -19 && rc >= -26) || (rc <= -100 && rc >= -129);
}

struct Call {
  std::string name;
  int weight;  // how often it is drawn, relative to the others
  std::function<int32_t()> run;
};

// Whether any connection has committed to the database since the last
// question: cheap, so that the store's rows are read again only then.
class Commits {
 public:
  explicit Commits(const std::string& path) {
    sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READONLY, nullptr);
  }
  ~Commits() { sqlite3_close_v2(db_); }
  bool Since() {
    int64_t version = -1;
    const auto read = [](void* out, int, char** row, char**) {
      return *static_cast<int64_t*>(out) = std::atoll(row[0]), 0;
    };
    sqlite3_exec(db_, "PRAGMA data_version", read, &version, nullptr);
    return std::exchange(last_, version) != version || version < 0;
  }

 private:
  sqlite3* db_ = nullptr;
  int64_t last_ = -1;
};

class Run {
 public:
  Run(uint32_t seed, long calls) : seed_(seed), calls_(calls) {}

  // The number of failed checks.
  int Go() {
    const std::string scratch = test::MakeScratchDirectory();
    path_ = scratch + "/policy.db";
    std::string message;
    PolicyApiSession* main = nullptr;
    test::SetEnvironment("XO_POLICY_STORE", "sqlite:" + path_);
    if (xo::store::CreateStore({"sqlite", path_}, {kAdmin, kPassword, "minimum"}, message) < 0 ||
        Xo_PolicyApi_Login(&main, nullptr, kAdmin, kPassword, "localhost", "", 0) != XO_OK) {
      std::fprintf(stderr, "cannot make a store at %s: %s\n", path_.c_str(), message.c_str());
      return 1;
    }
    int failures = 0;
    {
      // What the test support reports, the driver reports as failures.
      testing::ScopedFakeTestPartResultReporter intercept(
          testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &reported_);
      Driver d(seed_, main);
      std::optional<test::DirectStore> store(std::in_place, kAdmin, kPassword);
      const test::CatalogStore catalog(*store, main);
      store.reset();  // the run's own sessions only, so that the store closes with them
      Forward(d);
      kept_.emplace(main);
      Harvest(d);
      RandomCalls(d);
      d.BeginCall(calls_ + 1, "end of run");
      if (Xo_PolicyApi_Logout(main) != XO_OK) d.Fail("the main session does not log out");
      if (xo::store::CurrentBackend() != nullptr) d.Fail("the store is open with no session");
      if (!test::StoreIsSound(path_)) {
        d.Fail("the integrity check fails");
      }
      Forward(d);
      failures = d.Failures();
    }
    test::RemoveDirectory(scratch);
    Report(failures);
    return failures;
  }

 private:
  void Forward(Driver& d) {
    for (; forwarded_ < reported_.size(); ++forwarded_) {
      d.Fail(reported_.GetTestPartResult(forwarded_).message());
    }
  }

  // Every identifier the store has saved, but the logged-in administrator's,
  // which stays as it is so that sessions can log in by its name.
  void Harvest(Driver& d) {
    d.Harvest(test::QueryStoreFile(
        path_, "SELECT oid FROM xo_audit WHERE name <> 'sysadmin' GROUP BY oid ORDER BY MIN(seq)"));
  }

  // The prepared store's objects made again, mostly by their own names,
  // taking whatever each step gives: deletions, renames and removals do not
  // keep the deeper paths out of reach for long.
  int32_t Rebuild(Driver& d) {
    d.SetMode(Mode::Tame);
    const auto adds = [&](bool system) {
      for (const test::CatalogCall& row : test::CatalogCalls()) {
        if ((row.name.starts_with("Add") || row.name.starts_with("Create")) &&
            (row.scope == test::RightsScope::System) == system) {
          row.call(d.Main(), d);
        }
      }
    };
    adds(true);
    kept_->MakeAgain(d.Main());  // the directories of users as they were
    Xo_PolicyApi_AddUserDirToDomain(d.Main(), "hr", "own");
    adds(false);
    adds(false);
    d.SetMode(Mode::Wild);
    Harvest(d);
    return XO_OK;
  }

  std::vector<Call> Calls(Driver& d) {
    std::vector<Call> calls = {
        {"Rebuild", 2, [&] { return Rebuild(d); }},
        {"FreeMemory(null)", 1, [] { return Xo_PolicyApi_FreeMemory(nullptr); }},
        {"FreeStringArray(null)", 1, [] { return Xo_PolicyApi_FreeStringArray(nullptr); }},
    };
    for (const test::CatalogCall& row : test::CatalogCalls()) {
      const int weight = row.name.starts_with("Add") || row.name.starts_with("Create") ? 6
                         : row.name.starts_with("Get")                                 ? 3
                         : row.name.starts_with("Rename")                              ? 1
                                                                                       : 2;
      calls.push_back({row.name, weight, [&d, &row] { return row.call(d.Handle(), d); }});
    }
    return calls;
  }

  void RandomCalls(Driver& d) {
    const std::vector<Call> calls = Calls(d);
    int totalWeight = 0;
    for (const Call& call : calls) totalWeight += call.weight;
    Commits commits(path_);
    std::string rows = test::SnapshotStoreFile(path_);
    commits.Since();
    // Stops after the first twenty failures.
    for (long number = 1; number <= calls_ && d.Failures() < 20; ++number) {
      int pick = static_cast<int>(d.Below(totalWeight));
      size_t index = 0;
      while (pick >= calls[index].weight) pick -= calls[index++].weight;
      const Call& call = calls[index];
      d.BeginCall(number, call.name.c_str());

      // Rebuilding takes any result, so an allocation failing in it proves
      // nothing. The library allocates only what it hands out and its
      // sessions, a few blocks a call: the k-th allocation is mostly one of
      // the first.
      const bool inject = d.Chance(6) && call.name != "Rebuild";
      if (inject) xo::frame::FailAllocationAt(static_cast<int>(1 + d.Below(d.Chance(70) ? 3 : 12)));
      const int32_t rc = call.run();
      const bool allocationFailed = inject && xo::frame::AllocationFailureHappened();
      xo::frame::FailAllocationAt(0);
      succeeded_ += rc == XO_OK;

      if (!DefinedCode(rc)) d.Fail("undefined result code " + std::to_string(rc));
      if (rc == XO_OK && d.BadHandle()) d.Fail("a handle that is no live session was accepted");
      if (rc == XO_OK && d.NullPointer()) d.Fail("a null record or output pointer was accepted");
      if (rc == XO_OK && allocationFailed) d.Fail("succeeded although an allocation failed");
      if (!d.ForgedIntact()) d.Fail("the forged handle's memory was written");
      Forward(d);
      if (!commits.Since()) continue;
      std::string after = test::SnapshotStoreFile(path_);
      if (rc != XO_OK && after != rows) {
        d.Fail("the call failed with " + std::to_string(rc) + " but changed the store");
      }
      rows = std::move(after);
    }
  }

  void Report(int failures) {
    std::printf("seed %u: %ld calls, %ld succeeded, %d failures\n", seed_, calls_, succeeded_,
                failures);
  }

  uint32_t seed_;
  long calls_;
  std::string path_;
  testing::TestPartResultArray reported_;
  int forwarded_ = 0;
  std::optional<test::KeptDirectories> kept_;
  long succeeded_ = 0;
};

}  // namespace
}  // namespace xo::fuzz

int main(int argc, char** argv) {
  std::map<std::string, long> options = {{"--seed", 1}, {"--calls", 2000}, {"--runs", 1}};
  bool usage = argc % 2 == 0;
  for (int i = 1; i + 1 < argc; i += 2) {
    usage = usage || options.count(argv[i]) == 0;
    options[argv[i]] = std::strtol(argv[i + 1], nullptr, 10);
  }
  if (usage) {
    std::fprintf(stderr, "usage: xo_fuzz_api [--seed N] [--calls N] [--runs N]\n");
    return 2;
  }
  const long seed = options["--seed"], calls = options["--calls"], runs = options["--runs"];
  const auto start = std::chrono::steady_clock::now();
  int failures = 0;
  for (long run = 0; run < runs; ++run) {
    failures += xo::fuzz::Run(static_cast<uint32_t>(seed + run), calls).Go();
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::printf("%ld run(s) in %.1f s, %d failure(s)\n", runs, took.count(), failures);
  std::fflush(stdout);  // before the leak checker, which exits without flushing
  return failures == 0 ? 0 : 1;
}
