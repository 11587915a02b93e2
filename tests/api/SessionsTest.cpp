// Login and Logout, the handles a failed Login leaves behind, handles kept
// after their Logout, the release functions and the store-result mapping.
#include <functional>
#include <set>

#include "frame/Handles.h"
#include "frame/Memory.h"
#include "frame/ResultCodes.h"
#include "support/ApiTest.h"
#include "support/Environment.h"

namespace xo::test {
namespace {

using SessionTest = ApiTest;

// Deleting the domains of no name is a call that changes nothing.
int32_t AnyCall(PolicyApiSession* handle) { return Xo_PolicyApi_DeleteDomain(handle, ""); }

TEST_F(SessionTest, EachHandleIsASessionOfItsOwnThatNeverComesBackAfterItsLogout) {
  PolicyApiSession* handle = nullptr;
  ASSERT_EQ(Xo_PolicyApi_Login(&handle, this, kAdmin, kPassword, "admin-host", nullptr, 99), 0);
  const CXoAdmSession& s = *handle->session;
  EXPECT_EQ(
      s.GetUser() + "|" + s.GetRemoteHost() + "|" + s.GetRemoteAddr() + "|" + s.GetRemoteUser(),
      "sysadmin|admin-host|admin-host|");
  EXPECT_EQ(Xo_PolicyApi_Logout(handle_), 0);  // the other handle keeps the store open
  EXPECT_EQ(AnyCall(handle), 0);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle), 0);
  EXPECT_EQ(Xo_PolicyApi_Login(nullptr, nullptr, kAdmin, kPassword, "h", "", 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_Logout(nullptr), XO_ERR_BAD_HANDLE);
  std::set<PolicyApiSession*> seen = {handle, handle_};
  for (int i = 0; i < 64; ++i) {
    PolicyApiSession* fresh = nullptr;
    ASSERT_EQ(Xo_PolicyApi_Login(&fresh, nullptr, kAdmin, kPassword, "", nullptr, 0), XO_OK);
    EXPECT_TRUE(seen.insert(fresh).second) << "login " << i << " reused a handle";
    EXPECT_EQ(AnyCall(handle), XO_ERR_BAD_HANDLE);
    ASSERT_EQ(Xo_PolicyApi_Logout(fresh), XO_OK);
  }
}

TEST_F(SessionTest, AFailedLoginLeavesAHandleThatOnlyLogoutServes) {
  const std::string store = StorePath();
  const struct {
    const char* why;  // what fails
    std::function<void()> arm;
    const char* password;
    bool withSession;  // Logout ends it; without one Logout only frees the handle
  } kFailures[] = {
      {"password", [] {}, "wrong", true},
      {"look-up", [&] { Faults().FailAt(StoreOp::LookupAdmin, 1, kBusyCode); }, kPassword, true},
      {"store message", [] { xo::frame::FailAllocationAt(2); }, kPassword, false},
      {"session object", [] { xo::frame::FailAllocationAt(3); }, kPassword, false},
      // The store is open in this process already, under another name.
      {"store", [&] { SetEnvironment("XO_POLICY_STORE", store + ".missing"); }, kPassword, false}};
  for (const auto& failure : kFailures) {
    PolicyApiSession* handle = nullptr;
    failure.arm();
    EXPECT_EQ(Login(kAdmin, failure.password, &handle), XO_ERR_GENERAL) << failure.why;
    Faults().Disarm();
    xo::frame::FailAllocationAt(0);
    SetEnvironment("XO_POLICY_STORE", store);
    ASSERT_NE(handle, nullptr) << failure.why;
    EXPECT_EQ(AnyCall(handle), XO_ERR_GENERAL) << failure.why;
    EXPECT_EQ(Xo_PolicyApi_Logout(handle), failure.withSession ? 0 : XO_ERR_GENERAL) << failure.why;
    EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_ERR_BAD_HANDLE) << failure.why;
  }
  PolicyApiSession* handle = handle_;
  xo::frame::FailAllocationAt(1);  // the handle itself: none is handed out
  EXPECT_EQ(Login(kAdmin, kPassword, &handle), XO_ERR_GENERAL);
  EXPECT_EQ(handle, nullptr);
  // A failed Logout keeps the handle for a second try.
  Faults().FailAt(StoreOp::EndSession, 1, kBusyCode);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle_), XO_ERR_GENERAL);
  EXPECT_EQ(AnyCall(handle_), 0);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle_), 0);
}

template <class Record>
Record* New(int32_t tag, Record* next = nullptr) {
  auto* record = static_cast<Record*>(xo::frame::Allocate(sizeof(Record)));
  record->recordType = tag;
  record->next = next;
  return record;
}

// The sanitizer build checks that what is given back is freed.
TEST(ReleaseTest, ListsAreFreedRecordByRecordUpToAnUnknownTag) {
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(nullptr), 0);
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(New<RuleRecord>(1, New<RuleRecord>(1))), 0);
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(New<OdbcQuerySchemeRecord>(14)), 0);
  // An unknown tag stops the walk: that record and the rest stay the caller's.
  DomainRecord* bad = New<DomainRecord>(15);
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(New<DomainRecord>(7, bad)), XO_ERR_GENERAL);
  EXPECT_EQ(bad->recordType, 15);
  xo::frame::Free(bad);
  EXPECT_EQ(Xo_PolicyApi_FreeStringArray(nullptr), XO_ERR_GENERAL);
}

TEST(ResultMappingTest, EveryStoreResultMapsToItsCodeValueForValue) {
  constexpr std::pair<uint32_t, int32_t> kTable[] = {
      {0x80010064, -1},   {0x80010065, -100}, {0x80010066, -4},   {0x80010067, -101},
      {0x80010068, -102}, {0x80010069, -103}, {0x8001006A, -104}, {0x8001006B, -105},
      {0x8001006C, -106}, {0x8001006D, -107}, {0x8001006E, -108}, {0x8001006F, -109},
      {0x80010070, -110}, {0x80010071, -111}, {0x80010072, -112}, {0x80010073, -113},
      {0x80010074, -114}, {0x80010075, -115}, {0x80010076, -116}, {0x80010077, -117},
      {0x80010078, -118}, {0x80010079, -119}, {0x8001007A, -122}, {0x8001007B, -1},
      {0x8001007C, -123}, {0x8001007D, -124}, {0x8001007E, -125}, {0x8001007F, -1},
      {0x80010080, -1},   {0x80010081, -126}, {0x80010082, -127}, {0x80010083, -128},
      {0x80010084, -1},   {0x80010085, -1},   {0x80010086, -129}, {0x80020001, -120},
      {0x80020002, -121}, {0x80020003, -1},   {0x80010063, -1},   {0x80010087, -1},
      {0x80030001, -1},   {0x80000000, -1},   {0xFFFFFFFF, -1},   {0x00010000, 0},
      {0x00010001, -1},   {0x00000000, -1},
  };
  for (const auto& [store, api] : kTable) {
    EXPECT_EQ(xo::frame::MapStoreResult(static_cast<int32_t>(store)), api) << std::hex << store;
  }
}

}  // namespace
}  // namespace xo::test
