// Login and Logout: live handles, the handles failed logins leave, and
// store and allocation failures on the way.
#include "XoStoreCodes.h"
#include "frame/Handles.h"
#include "frame/Memory.h"
#include "support/ApiTest.h"
#include "support/Environment.h"

namespace xo::test {
namespace {

using SessionTest = ApiTest;

int32_t ListDomains(PolicyApiSession* handle) {
  DomainRecord* list = nullptr;
  const int32_t result = Xo_PolicyApi_GetDomain(handle, "any", &list);
  Xo_PolicyApi_FreeMemory(list);
  return result;
}

TEST_F(SessionTest, LoginHandsOutAWorkingHandleThatLogoutRetires) {
  PolicyApiSession* handle = nullptr;
  int flag = 0;
  ASSERT_EQ(Xo_PolicyApi_Login(&handle, &flag, kAdmin, kPassword, "admin-host", nullptr, 99), 0);
  ASSERT_NE(handle, nullptr);
  const CXoAdmSession& session = *handle->session;
  EXPECT_EQ(session.GetUser(), kAdmin);
  EXPECT_EQ(session.GetRemoteHost(), "admin-host");
  EXPECT_EQ(session.GetRemoteAddr(), "admin-host");
  EXPECT_EQ(session.GetRemoteUser(), "");
  EXPECT_EQ(ListDomains(handle), 0);

  EXPECT_EQ(Xo_PolicyApi_Logout(handle), 0);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_ERR_BAD_HANDLE);
  EXPECT_EQ(ListDomains(handle), XO_ERR_BAD_HANDLE);
  EXPECT_EQ(Xo_PolicyApi_Logout(nullptr), XO_ERR_BAD_HANDLE);
  EXPECT_EQ(Xo_PolicyApi_Login(nullptr, nullptr, kAdmin, kPassword, "h", "", 0), XO_ERR_GENERAL);
}

TEST_F(SessionTest, EachHandleHoldsTheStoreOpenUntilItsOwnLogout) {
  PolicyApiSession* second = nullptr;
  ASSERT_EQ(Login(kAdmin, kPassword, &second), 0);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle_), 0);
  EXPECT_EQ(ListDomains(second), 0);
  EXPECT_EQ(Xo_PolicyApi_Logout(second), 0);
}

TEST_F(SessionTest, WrongPasswordLeavesALiveHandleWhoseCallsAreRefused) {
  PolicyApiSession* handle = nullptr;
  EXPECT_EQ(Login(kAdmin, "wrong", &handle), XO_ERR_GENERAL);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->magic, 727);
  EXPECT_NE(handle->session, nullptr);
  EXPECT_EQ(ListDomains(handle), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle), 0);

  EXPECT_EQ(Login("nobody", kPassword, &handle), XO_ERR_GENERAL);
  EXPECT_EQ(Login("", "", &handle), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_Login(&handle, nullptr, nullptr, nullptr, nullptr, nullptr, 0),
            XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle), 0);
}

TEST_F(SessionTest, MissingStoreLeavesAHandleWithoutSession) {
  SetEnvironment("XO_POLICY_STORE", "sqlite:" + StorePath() + ".missing");
  PolicyApiSession* handle = nullptr;
  // The store is open in this process already, under another name.
  EXPECT_EQ(Login(kAdmin, kPassword, &handle), XO_ERR_GENERAL);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->magic, 727);
  EXPECT_EQ(handle->session, nullptr);
  EXPECT_EQ(ListDomains(handle), XO_ERR_GENERAL);
  // Nothing to log out, but the handle is freed.
  EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_ERR_BAD_HANDLE);
}

TEST_F(SessionTest, AllocationFailuresInLogin) {
  PolicyApiSession* handle = handle_;  // overwritten with null
  xo::frame::FailAllocationAt(1);      // the handle record
  EXPECT_EQ(Login(kAdmin, kPassword, &handle), XO_ERR_GENERAL);
  EXPECT_EQ(handle, nullptr);

  for (int k : {2, 3}) {  // the store message, then the session
    xo::frame::FailAllocationAt(k);
    EXPECT_EQ(Login(kAdmin, kPassword, &handle), XO_ERR_GENERAL);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(handle->session, nullptr);
    EXPECT_EQ(ListDomains(handle), XO_ERR_GENERAL);
    // Freed, and the store opened by the second case released (the fixture
    // checks that nothing is left open).
    EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_ERR_GENERAL);
    EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_ERR_BAD_HANDLE);
  }
}

TEST_F(SessionTest, StoreFailuresDuringLoginFailIt) {
  for (StoreOp op : {StoreOp::LookupAdmin, StoreOp::BeginSession}) {
    PolicyApiSession* handle = nullptr;
    Faults().FailAt(op, 1, xo::store::kBusy);
    EXPECT_EQ(Login(kAdmin, kPassword, &handle), XO_ERR_GENERAL) << OpName(op);
    Faults().Disarm();
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(ListDomains(handle), XO_ERR_GENERAL);
    EXPECT_EQ(Xo_PolicyApi_Logout(handle), 0);
  }
}

TEST_F(SessionTest, FailedLogoutKeepsTheHandleForASecondTry) {
  Faults().FailAt(StoreOp::EndSession, 1, xo::store::kBusy);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle_), XO_ERR_GENERAL);
  Faults().Disarm();
  EXPECT_EQ(ListDomains(handle_), 0);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle_), 0);
}

}  // namespace
}  // namespace xo::test
