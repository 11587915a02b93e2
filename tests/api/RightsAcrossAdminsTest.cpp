// Rights that change while sessions are open, and what a domain
// administrator may do to the users of a directory its domain searches.
// (What each kind of administrator gets from each function is the rights
// matrix's.)
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/ApiTest.h"
#include "support/DirectoryFixtures.h"
#include "support/ReturnedLists.h"

namespace xo::test {
namespace {

constexpr int32_t kRefused = XO_ERR_GENERAL;

// A Get function's result; what it hands out is freed.
template <class Record, class Get>
int32_t Listed(Get&& get) {
  std::vector<Record> ignored;
  return CallGet(get, ignored);
}

class RightsAcrossAdminsTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    const CXoObjId own = Store().Domain("own");
    const CXoObjId other = Store().Domain("other");
    CXoObjODBCQuery queries = odbc_.QueryScheme("queries");
    const CXoObjId scheme = Store().Save(queries);
    for (const char* name : {"hr", "spare"}) {
      CXoObjUserDirectory directory = odbc_.Directory(scheme, name);
      Store().Save(directory);
    }
    EXPECT_EQ(Xo_PolicyApi_AddUserDirToDomain(handle_, "hr", "own"), 0);
    Store().Policy(own, "staff");
    Store().Policy(other, "staff");
    dana_ = LoginAs("dana", XO_ADMIN_DOMAIN);
    EXPECT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "own"), 0);
  }

  static int32_t Attach(PolicyApiSession* h, const char* domain) {
    return Xo_PolicyApi_AddUsersToPolicy(h, domain, "staff", "hr", "users/alice",
                                         Xo_PolicyResolution_User);
  }
  static int32_t Users(PolicyApiSession* h, const char* domain) {
    return Listed<UserEntryRecord>([&](UserEntryRecord** list) {
      return Xo_PolicyApi_GetPolicyUsers(h, domain, "staff", "hr", list);
    });
  }
  static int32_t DomainNames(PolicyApiSession* h, const char* domain) {
    std::vector<std::string> ignored;
    return CallGetNames(
        [&](char*** names) {
          return Xo_PolicyApi_GetDomainObjectNames(h, domain, XO_DOMAIN_POLICIES, names);
        },
        ignored);
  }

  OdbcUsers odbc_;
  PolicyApiSession* dana_ = nullptr;
};

TEST_F(RightsAcrossAdminsTest, TakingAnAdministratorOutOfADomainTakesEffectAtTheNextCall) {
  ASSERT_EQ(Users(dana_, "own"), 0);
  ASSERT_EQ(Xo_PolicyApi_FlushUser(dana_, "hr", "users/bob"), 0);
  ASSERT_EQ(Xo_PolicyApi_RemoveAdminFromDomain(handle_, "dana", "own"), 0);
  EXPECT_EQ(Users(dana_, "own"), kRefused);
  EXPECT_EQ(Attach(dana_, "own"), kRefused);
  EXPECT_EQ(Xo_PolicyApi_FlushUser(dana_, "hr", "users/bob"), kRefused);
  EXPECT_EQ(DomainNames(dana_, "own"), kRefused);

  // And back in, at once too.
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "own"), 0);
  EXPECT_EQ(Users(dana_, "own"), 0);
}

TEST_F(RightsAcrossAdminsTest, ADomainAdministratorCannotChangeTheLoginOfOneWithMoreRights) {
  // alice logs in through "hr" with the system right, carol through it as
  // the administrator of another domain; bob is nobody's login.
  for (const auto& [name, flags] :
       {std::pair{"alice", XO_ADMIN_SYSTEM}, std::pair{"carol", XO_ADMIN_DOMAIN}}) {
    AdminRecord record{};
    std::strcpy(record.name, name);
    std::strcpy(record.userDirName, "hr");
    std::strcpy(record.schemeName, "Basic");
    record.adminFlags = flags;
    ASSERT_EQ(Xo_PolicyApi_AddAdmin(handle_, &record, 0), 0);
  }
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "carol", "other"), 0);
  const auto changes = [](PolicyApiSession* h, const char* user) {
    return std::vector<int32_t>{
        Xo_PolicyApi_SetPassword(h, "hr", user, "taken-over", nullptr),
        Xo_PolicyApi_SetDisableUserState(h, "hr", user, Xo_Api_NotDisabled, nullptr),
        Xo_PolicyApi_FlushUser(h, "hr", user)};
  };
  const std::vector<int32_t> refused(3, kRefused), allowed(3, 0);
  const std::string before = Snapshot();
  const std::string alicePassword =
      odbc_.QueryText("SELECT password FROM users WHERE name = 'alice'");
  for (const char* user : {"users/alice", "alice", "users/carol"}) {
    EXPECT_EQ(changes(dana_, user), refused) << user;
  }
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(odbc_.QueryText("SELECT password FROM users WHERE name = 'alice'"), alicePassword);
  EXPECT_EQ(changes(dana_, "users/bob"), allowed);
  // Managing carol's domain too, dana holds every right carol holds.
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "other"), 0);
  EXPECT_EQ(changes(dana_, "users/carol"), allowed);
  EXPECT_EQ(changes(dana_, "users/alice"), refused);
  EXPECT_EQ(changes(handle_, "users/alice"), allowed);
  // With such an administrator on the directory, a user the directory cannot
  // find is refused rather than guessed about.
  EXPECT_EQ(changes(dana_, "users/nobody"), refused);
}

}  // namespace
}  // namespace xo::test
