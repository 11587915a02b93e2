#include "support/ApiTest.h"

#include "KeptConnection.h"
#include "StoreBackend.h"
#include "XoStoreCodes.h"
#include "frame/Memory.h"
#include "frame/ResultCodes.h"
#include "support/Environment.h"
#include "support/StoreFile.h"
#include "support/StoreServer.h"

namespace xo::test {

int32_t Mapped(int32_t storeCode) { return xo::frame::MapStoreResult(storeCode); }

const int32_t ApiTest::kBusyCode = xo::store::kBusy;

PolicyApiSession* ApiTest::SessionlessLogin(int allocation) {
  PolicyApiSession* handle = nullptr;
  xo::frame::FailAllocationAt(allocation);
  EXPECT_EQ(Login(kAdmin, kPassword, &handle), XO_ERR_GENERAL);
  xo::frame::FailAllocationAt(0);
  EXPECT_NE(handle, nullptr);
  return handle;
}

void ApiTest::SetUp() {
  directory_ = MakeScratchDirectory();
  storePath_ = NewTestStore(directory_);
  std::string message;
  ASSERT_GE(xo::store::CreateStore(xo::store::ResolveLocation(storePath_),
                                   {kAdmin, kPassword, "minimum"}, message),
            0)
      << message;
  SetEnvironment("XO_POLICY_STORE", storePath_);
  faults_ = std::make_shared<FaultPlan>();
  InstallFaultyBackend(faults_);
  ASSERT_EQ(Login(kAdmin, kPassword, &handle_), 0);
  store_ = std::make_unique<DirectStore>(kAdmin, kPassword);
}

void ApiTest::TearDown() {
  faults_->Disarm();
  xo::frame::FailAllocationAt(0);
  for (PolicyApiSession* handle : handles_) {
    // Handles the test logged out itself are no longer live and give -25; a
    // handle without a session gives -1 but is freed all the same.
    for (int attempt = 0; attempt < 2 && Xo_PolicyApi_Logout(handle) == XO_ERR_GENERAL; ++attempt) {
    }
  }
  handles_.clear();
  store_.reset();
  EXPECT_EQ(xo::store::CurrentBackend(), nullptr) << "a test left the store open";
  EXPECT_EQ(xo::directory::ConnectionsKept(), 0u) << "a directory connection outlived its session";
  RemoveFaultyBackend();
  DropTestStore(storePath_);
  RemoveDirectory(directory_);
}

int32_t ApiTest::Login(const std::string& name, const std::string& password,
                       PolicyApiSession** handle) {
  const int32_t result =
      Xo_PolicyApi_Login(handle, nullptr, name.c_str(), password.c_str(), "localhost", "", 0);
  if (*handle != nullptr) handles_.push_back(*handle);
  return result;
}

PolicyApiSession* ApiTest::LoginAs(const std::string& name, int32_t flags, CXoObjId* adminId) {
  const std::string password = name + " password";
  const CXoObjId admin = Store().Admin(name, password, flags);
  if (adminId != nullptr) *adminId = admin;
  PolicyApiSession* handle = nullptr;
  EXPECT_EQ(Login(name, password, &handle), 0);
  return handle;
}

std::string ApiTest::Snapshot() const { return SnapshotStoreFile(storePath_); }

CXoObjId ApiTest::Duplicate(const CXoObjId& id) { return DuplicateObject(storePath_, id); }

int ApiTest::SweepStoreFailures(StoreOp op, int32_t code, const std::function<int32_t()>& call,
                                const std::function<void(const StoreFailure&)>& check) {
  constexpr int kMostCalls = 500;
  for (int k = 1; k <= kMostCalls; ++k) {
    const std::string before = Snapshot();
    Faults().FailAt(op, k, code);
    const int32_t result = call();
    const bool fired = Faults().Fired();
    StoreFailure failure{Faults().FiredOp(), Faults().FiredOrdinal(), result, false, ""};
    Faults().Disarm();
    if (!fired) return k - 1;
    failure.unchanged = Snapshot() == before;
    failure.what =
        std::to_string(k) + " " + OpName(failure.op) + "#" + std::to_string(failure.ordinal);
    check(failure);
  }
  ADD_FAILURE() << "the call never stopped reaching the store";
  return kMostCalls;
}

int ApiTest::SweepAllocationFailures(const std::function<int32_t()>& call, int32_t expected) {
  constexpr int kMostAllocations = 500;
  int failingRuns = 0;
  for (int k = 1; k <= kMostAllocations; ++k) {
    const std::string before = Snapshot();
    xo::frame::FailAllocationAt(k);
    const int32_t result = call();
    const bool failed = xo::frame::AllocationFailureHappened();
    xo::frame::FailAllocationAt(0);
    if (!failed) return failingRuns;
    ++failingRuns;
    EXPECT_EQ(result, expected) << "allocation " << k << " failing";
    EXPECT_EQ(Snapshot(), before) << "store changed when allocation " << k << " failed";
  }
  ADD_FAILURE() << "the call never stopped allocating";
  return failingRuns;
}

}  // namespace xo::test
