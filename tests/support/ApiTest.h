// The fixture of the API tests: a fresh store in a temporary directory, the
// system administrator logged in through the API and through the store layer,
// store-failure and allocation-failure injection, and the failure sweeps.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "XoPolicyApi.h"
#include "support/DirectStore.h"
#include "support/FaultyBackend.h"

namespace xo::test {

class ApiTest : public ::testing::Test {
 protected:
  static constexpr const char* kAdmin = "sysadmin";
  static constexpr const char* kPassword = "correct horse";

  void SetUp() override;
  void TearDown() override;

  // Logs in through the API; the handle is logged out at the end of the test
  // if the test has not done so.
  int32_t Login(const std::string& name, const std::string& password, PolicyApiSession** handle);
  // A handle for a new administrator with the given rights flags.
  PolicyApiSession* LoginAs(const std::string& name, int32_t flags, CXoObjId* adminId = nullptr);

  DirectStore& Store() { return *store_; }
  FaultPlan& Faults() { return *faults_; }
  // The store's URI: sqlite:PATH, or a schema on the test server.
  const std::string& StorePath() const { return storePath_; }
  std::string Snapshot() const;
  CXoObjId Duplicate(const CXoObjId& id);

  // What a run of `call` gave with one store call failing: the failed
  // operation, its ordinal among the calls of that operation, the result,
  // whether the store's contents stayed as they were, and "k Op#ordinal".
  struct StoreFailure {
    StoreOp op;
    int ordinal;
    int32_t result;
    bool unchanged;
    std::string what;
  };
  // Runs `call` with the k-th store call (of `op`, or of any operation)
  // failing with `code`, for k = 1, 2, ... until a run finishes without
  // reaching a k-th call, and hands each failing run to `check`. Returns the
  // number of failing runs.
  int SweepStoreFailures(StoreOp op, int32_t code, const std::function<int32_t()>& call,
                         const std::function<void(const StoreFailure&)>& check);
  // The same with the k-th allocation of the library failing; every failing
  // run must return `expected`.
  int SweepAllocationFailures(const std::function<int32_t()>& call, int32_t expected);
  static const int32_t kBusyCode;

  // A live handle without a session: the k-th allocation of the Login fails
  // (2: the store message, 3: the session object).
  PolicyApiSession* SessionlessLogin(int allocation);

  PolicyApiSession* handle_ = nullptr;

 private:
  std::string directory_;
  std::string storePath_;
  std::shared_ptr<FaultPlan> faults_;
  std::unique_ptr<DirectStore> store_;
  std::vector<PolicyApiSession*> handles_;
};

// The API fixture with a domain "sales" made.
class SalesApiTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    sales_ = Store().Domain("sales");
  }
  CXoObjId sales_;
};

// The mapped code of a store failure for the calls that map it.
int32_t Mapped(int32_t storeCode);

}  // namespace xo::test
