// Every function of the interface, called by each kind of administrator on
// one prepared store: a system administrator, an administrator of the
// domain the call concerns, one of another domain, one without rights and
// one with only the right to issue server command 1. Each cell gets its
// exact code; a refused call changes nothing, and an allowed one runs in a
// transaction of its administrator's session that is rolled back, so that
// every cell starts from the same store.
#include <memory>

#include "XoObjStore.h"
#include "frame/Handles.h"
#include "support/ApiCatalog.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

struct Actor {
  const char* who;
  PolicyApiSession* handle;
  int32_t flags;
  bool listedInOwn;
};

class RightsMatrixTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    catalog_ = std::make_unique<CatalogStore>(Store(), handle_);
    PolicyApiSession* dana = LoginAs("dana", XO_ADMIN_DOMAIN);
    PolicyApiSession* olga = LoginAs("olga", XO_ADMIN_DOMAIN);
    ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "own"), 0);
    ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "olga", "other"), 0);
    actors_ = {{"system administrator", handle_, XO_ADMIN_SYSTEM, false},
               {"administrator of the domain", dana, XO_ADMIN_DOMAIN, true},
               {"administrator of another domain", olga, XO_ADMIN_DOMAIN, false},
               {"administrator without rights", LoginAs("nobody", 0), 0, false},
               {"administrator of command 1", LoginAs("commander", XO_ADMIN_COMMAND(1)),
                XO_ADMIN_COMMAND(1), false}};
  }

  std::unique_ptr<CatalogStore> catalog_;
  std::vector<Actor> actors_;
};

TEST_F(RightsMatrixTest, EachAdministratorGetsItsExactCodeFromEveryFunction) {
  for (const CatalogCall& call : CatalogCalls()) {
    Args args;
    for (const Actor& actor : actors_) {
      const int32_t expected = CatalogStore::Expected(call, actor.flags, actor.listedInOwn);
      if (expected == XO_OK) {
        const std::string& sid = actor.handle->session->GetSessionID();
        ASSERT_GE(CXoObjStore::BeginTransaction(sid), 0);
        EXPECT_EQ(call.call(actor.handle, args), XO_OK) << call.name << " by " << actor.who;
        ASSERT_GE(CXoObjStore::RollbackTransaction(sid), 0);
        continue;
      }
      const std::string before = Snapshot();
      EXPECT_EQ(call.call(actor.handle, args), expected) << call.name << " by " << actor.who;
      EXPECT_EQ(Snapshot(), before) << call.name << " by " << actor.who;
    }
  }
}

}  // namespace
}  // namespace xo::test
