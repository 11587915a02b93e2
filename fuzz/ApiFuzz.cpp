// xo_fuzz_api: random calls of every exported function against a fresh
// store, from a seed. Each result must be a defined code; a failed call must
// leave the store's rows as they were; a handle that is no live session must
// never be accepted; at the end the database passes SQLite's integrity check.
// The sanitizer build catches what the checks cannot see.
//
//   xo_fuzz_api [--seed N] [--calls N] [--runs N]
//
// --runs repeats with seeds N, N+1, ..., each on a new store.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

#include "Calls.h"
#include "Driver.h"
#include "Setup.h"
#include "StoreBackend.h"
#include "StoreDigest.h"
#include "frame/Memory.h"

namespace xo::fuzz {
namespace {

constexpr const char* kAdmin = "sysadmin";
constexpr const char* kPassword = "correct horse";
constexpr int kMostFailuresShown = 20;

bool DefinedCode(int32_t rc) {
  return rc == XO_OK || (rc <= -1 && rc >= -14) || rc == -16 || rc == -17 ||
         (rc <= -19 && rc >= -26) || (rc <= -100 && rc >= -129);
}

struct Tally {
  long calls = 0;
  long succeeded = 0;
  std::map<int32_t, long> codes;
};

class Run {
 public:
  Run(uint32_t seed, long calls) : seed_(seed), calls_(calls) {}

  // The number of failed checks.
  int Go() {
    const auto scratch = std::filesystem::temp_directory_path() /
                         ("xo-fuzz-" + std::to_string(getpid()) + "-" + std::to_string(seed_));
    std::filesystem::remove_all(scratch);
    std::filesystem::create_directories(scratch);
    const std::string path = (scratch / "policy.db").string();
    const int failures = OnStore(path);
    std::filesystem::remove_all(scratch);
    return failures;
  }

 private:
  int OnStore(const std::string& path) {
    std::string message;
    if (xo::store::CreateStore({"sqlite", path}, {kAdmin, kPassword, "minimum"}, message) < 0) {
      std::fprintf(stderr, "cannot create a store at %s: %s\n", path.c_str(), message.c_str());
      return 1;
    }
    setenv("XO_POLICY_STORE", ("sqlite:" + path).c_str(), 1);
    PolicyApiSession* main = nullptr;
    if (Xo_PolicyApi_Login(&main, nullptr, kAdmin, kPassword, "localhost", "", 0) != XO_OK) {
      std::fprintf(stderr, "cannot log in to the new store\n");
      return 1;
    }
    int failures = 0;
    {
      Driver d(seed_, main);
      StoreDigest store(path);
      BuildStartingObjects(d);
      RandomCalls(d, store);
      d.BeginCall(calls_ + 1, "end of run");
      d.LogoutSecond();
      if (Xo_PolicyApi_Logout(main) != XO_OK) d.Fail("the main session does not log out");
      const std::string integrity = store.IntegrityCheck();
      if (integrity != "ok") d.Fail("integrity check: " + integrity);
      failures = d.Failures();
    }
    Report(failures);
    return failures;
  }

  void RandomCalls(Driver& d, StoreDigest& store) {
    const std::vector<Call>& calls = Calls();
    int totalWeight = 0;
    for (const Call& call : calls) totalWeight += call.weight;
    uint64_t rows = store.Rows();
    for (long number = 1; number <= calls_ && d.Failures() < kMostFailuresShown; ++number) {
      int pick = static_cast<int>(d.Below(static_cast<uint32_t>(totalWeight)));
      size_t index = 0;
      while (pick >= calls[index].weight) pick -= calls[index++].weight;
      const Call& call = calls[index];
      d.BeginCall(number, call.name);

      // Rebuilding takes any result, so an allocation failing in it proves
      // nothing.
      // The library allocates only what it hands out and its sessions, a few
      // blocks a call: the k-th allocation is mostly one of the first.
      const bool inject = d.Chance(6) && std::strcmp(call.name, "Rebuild") != 0;
      if (inject) {
        xo::frame::FailAllocationAt(static_cast<int>(1 + d.Below(d.Chance(70) ? 3 : 12)));
      }
      const int32_t rc = call.run(d);
      const bool allocationFailed = inject && xo::frame::AllocationFailureHappened();
      if (inject) ++injected_;
      xo::frame::FailAllocationAt(0);

      Tally& tally = tallies_[call.name];
      ++tally.calls;
      if (rc == XO_OK) ++tally.succeeded;
      ++tally.codes[rc];
      if (allocationFailed) ++allocationFailures_;
      Check(d, rc, allocationFailed);
      const uint64_t after = store.Rows();
      if (rc != XO_OK && after != rows) {
        d.Fail("the call failed with " + std::to_string(rc) + " but changed the store");
      }
      rows = after;
    }
  }

  void Check(Driver& d, int32_t rc, bool allocationFailed) {
    if (!DefinedCode(rc)) d.Fail("undefined result code " + std::to_string(rc));
    if (rc == XO_OK && d.BadHandle()) d.Fail("a handle that is no live session was accepted");
    if (rc == XO_OK && d.NullPointer()) d.Fail("a null record or output pointer was accepted");
    if (rc == XO_OK && allocationFailed) d.Fail("succeeded although an allocation failed");
    if (!d.ForgedIntact()) d.Fail("the forged handle's memory was written");
  }

  void Report(int failures) const {
    long succeeded = 0;
    for (const auto& [name, tally] : tallies_) succeeded += tally.succeeded;
    std::printf(
        "seed %u: %ld calls, %ld succeeded, %ld with a failed allocation (of %ld tried), "
        "%d failures\n",
        seed_, calls_, succeeded, allocationFailures_, injected_, failures);
    if (std::getenv("XO_FUZZ_VERBOSE") == nullptr) return;
    for (const auto& [name, tally] : tallies_) {
      std::printf("  %-26s %6ld calls %6ld succeeded:", name.c_str(), tally.calls, tally.succeeded);
      for (const auto& [code, count] : tally.codes) std::printf(" %d x%ld", code, count);
      std::printf("\n");
    }
  }

  uint32_t seed_;
  long calls_;
  long allocationFailures_ = 0;
  long injected_ = 0;
  std::map<std::string, Tally> tallies_;
};

int Usage() {
  std::fprintf(stderr, "usage: xo_fuzz_api [--seed N] [--calls N] [--runs N]\n");
  return 2;
}

}  // namespace
}  // namespace xo::fuzz

int main(int argc, char** argv) {
  uint32_t seed = 1;
  long calls = 2000;
  long runs = 1;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (i + 1 >= argc) return xo::fuzz::Usage();
    char* end = nullptr;
    const unsigned long long value = std::strtoull(argv[++i], &end, 10);
    if (end == argv[i] || *end != '\0') return xo::fuzz::Usage();
    if (option == "--seed") {
      seed = static_cast<uint32_t>(value);
    } else if (option == "--calls") {
      calls = static_cast<long>(value);
    } else if (option == "--runs") {
      runs = static_cast<long>(value);
    } else {
      return xo::fuzz::Usage();
    }
  }
  const auto start = std::chrono::steady_clock::now();
  int failures = 0;
  for (long run = 0; run < runs; ++run) {
    failures += xo::fuzz::Run(seed + static_cast<uint32_t>(run), calls).Go();
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::printf("%ld run(s) in %.1f s, %d failure(s)\n", runs, took.count(), failures);
  std::fflush(stdout);  // before the leak checker, which exits without flushing
  return failures == 0 ? 0 : 1;
}
