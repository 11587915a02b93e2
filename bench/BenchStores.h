// Stores of a chosen number of domains, made once per process in a scratch
// directory, and logged-in sessions on them.
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoPolicyApi.h"

namespace xo::bench {

// The directory holding this run's stores; removed when the process ends.
const std::string& ScratchDirectory();

// "domain-000042": the names the populated stores use.
std::string DomainName(int64_t index);

// Where a benchmark's store lives: a file in the scratch directory, or a
// schema of its own on the PostgreSQL server that XO_TEST_POSTGRES names.
enum class Backend { kSqlite, kPostgres };

// Whether the run has a PostgreSQL server to measure on.
bool HasServer();

// The URI of a store holding `domains` domains named DomainName(0..domains-1),
// made on first use.
const std::string& PopulatedStore(int64_t domains, Backend backend = Backend::kSqlite);

// Indexes below `count` visited in a scattered order, so that look-ups do not
// walk an index in sequence.
class ScatteredIndex {
 public:
  explicit ScatteredIndex(int64_t count) : count_(count) {}
  int64_t Next() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<int64_t>((state_ >> 33) % static_cast<uint64_t>(count_));
  }

 private:
  int64_t count_;
  uint64_t state_ = 42;
};

// A store whose domain kRuleDomain holds `rules` rules named RuleName(i), in
// realm RuleRealm(i), beside the policy kPolicy and the response kResponse;
// made on first use, through the API.
constexpr const char* kRuleDomain = "rules-domain";
constexpr const char* kPolicy = "bench-policy";
constexpr const char* kResponse = "bench-response";
constexpr int64_t kRealms = 10;
std::string RuleName(int64_t index);
std::string RuleRealm(int64_t index);
const std::string& PopulatedRuleStore(int64_t rules);

// Points XO_POLICY_STORE at a store until the end of the scope.
class StoreSelection {
 public:
  explicit StoreSelection(const std::string& uri);
  ~StoreSelection();
  StoreSelection(const StoreSelection&) = delete;
  StoreSelection& operator=(const StoreSelection&) = delete;
};

// The benchmark administrator, logged in on a store for the scope's lifetime.
class ApiSession {
 public:
  explicit ApiSession(const std::string& uri);
  ~ApiSession();
  ApiSession(const ApiSession&) = delete;
  ApiSession& operator=(const ApiSession&) = delete;

  PolicyApiSession* Handle() const { return handle_; }
  // The store session inside the handle, for calls below the flat interface.
  const CXoAdmSession& Session() const;

 private:
  StoreSelection selection_;
  PolicyApiSession* handle_ = nullptr;
};

// Throws, naming what failed, unless `ok`: for making a benchmark's store.
void Require(bool ok, const std::string& what);

// Logs in the benchmark administrator; the API's result code.
int32_t Login(PolicyApiSession*& handle);

}  // namespace xo::bench
