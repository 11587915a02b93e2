// A copy of a handle kept after its Logout must stay a bad handle, however
// many sessions come and go after it.
#include <set>

#include "support/ApiTest.h"

namespace xo::test {
namespace {

using StaleHandleTest = ApiTest;

TEST_F(StaleHandleTest, LoggedOutHandleNeverComesBackAsAnotherSession) {
  PolicyApiSession* stale = nullptr;
  ASSERT_EQ(Xo_PolicyApi_Login(&stale, nullptr, kAdmin, kPassword, "", nullptr, 0), XO_OK);
  ASSERT_EQ(Xo_PolicyApi_Logout(stale), XO_OK);

  std::set<PolicyApiSession*> seen;
  for (int i = 0; i < 64; ++i) {
    PolicyApiSession* fresh = nullptr;
    ASSERT_EQ(Xo_PolicyApi_Login(&fresh, nullptr, kAdmin, kPassword, "", nullptr, 0), XO_OK);
    EXPECT_NE(fresh, stale);
    EXPECT_TRUE(seen.insert(fresh).second) << "login " << i << " reused an old handle";
    DomainRecord* list = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetDomain(stale, "any", &list), XO_ERR_BAD_HANDLE);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(Xo_PolicyApi_Logout(stale), XO_ERR_BAD_HANDLE);
    ASSERT_EQ(Xo_PolicyApi_Logout(fresh), XO_OK);
  }
}

}  // namespace
}  // namespace xo::test
