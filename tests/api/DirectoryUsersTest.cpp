// What a user directory holds and the state of its users, against an SQLite
// users database reached through ODBC ("hr", which the domain "own" searches)
// and a real slapd; which administrators may change those users; and how a
// session keeps its connection to a directory.
#include <functional>

#include "KeptConnection.h"
#include "support/ApiTest.h"
#include "support/DirectoryFixtures.h"
#include "support/Records.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

class DirectoryUsersTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    CXoObjODBCQuery queries = odbc_.QueryScheme();
    CXoObjUserDirectory directory = odbc_.Directory(Store().Save(queries), "hr");
    hr_ = Store().Save(directory);
    own_ = Store().Domain("own");
    Store().Domain("other");
    ASSERT_EQ(Xo_PolicyApi_AddUserDirToDomain(handle_, "hr", "own"), 0);
    dana_ = LoginAs("dana", XO_ADMIN_DOMAIN);
    ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "own"), 0);
  }
  // Each entry of a directory as "entry|detail".
  std::vector<std::string> Contents(const char* directory) {
    UserEntryRecord* list = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetDirectoryContents(handle_, directory, &list), 0);
    std::vector<std::string> found;
    for (const auto& e : Collect(list)) found.push_back(std::string(e.entry) + "|" + e.entryDetail);
    return found;
  }
  // Each thing an administrator may do to the login of a directory user.
  static std::vector<int32_t> Changes(PolicyApiSession* h, const char* user) {
    return {Xo_PolicyApi_SetPassword(h, "hr", user, "taken-over", nullptr),
            Xo_PolicyApi_SetDisableUserState(h, "hr", user, Xo_Api_NotDisabled, nullptr),
            Xo_PolicyApi_FlushUser(h, "hr", user)};
  }

  OdbcUsers odbc_;
  CXoObjId hr_;
  CXoObjId own_;
  PolicyApiSession* dana_ = nullptr;  // an administrator of "own"
  const std::vector<int32_t> refused_ = {-1, -1, -1}, allowed_ = {0, 0, 0};
};

TEST_F(DirectoryUsersTest, OdbcAndLdapContentsListEveryEntryWithItsDetailOrNoneWhenUnreadable) {
  EXPECT_EQ(Contents("hr"),
            (std::vector<std::string>{
                "users/alice|User: Alice Liddell", "users/bob|User: Bob Cratchit",
                "users/carol|User: Carol Danvers", "groups/operators|User Group: Operators",
                "groups/staff|User Group: Staff"}));
  if (!LdapFixtureAvailable()) GTEST_SKIP() << "no LDAP server here";
  LdapServer server;
  CXoObjUserDirectory ldap = server.Directory("people");
  Store().Save(ldap);
  const std::vector<std::string> people = Contents("people");
  ASSERT_EQ(people.size(), 7u);
  EXPECT_EQ(people[2], LdapServer::UserDn("alice") + "|User: Alice Liddell");
  odbc_.Exec("DROP VIEW entries");
  EXPECT_TRUE(Contents("hr").empty());
}

TEST_F(DirectoryUsersTest, DisabledStatePasswordsAndFlushesReachTheDirectoryAndServers) {
  Xo_Api_DisabledReason_t reason = Xo_Api_NotDisabled;
  ASSERT_EQ(Xo_PolicyApi_SetDisableUserState(handle_, "hr", "users/bob",
                                             Xo_Api_DisabledPasswordExpired, nullptr),
            0);
  EXPECT_EQ(odbc_.QueryText("SELECT disabled FROM users WHERE name = 'bob'"), "3");
  ASSERT_EQ(Xo_PolicyApi_GetDisableUserState(handle_, "hr", "users/bob", &reason, nullptr), 0);
  EXPECT_EQ(reason, Xo_Api_DisabledPasswordExpired);
  ASSERT_EQ(Xo_PolicyApi_SetPassword(handle_, "hr", "users/bob", "new secret", nullptr), 0);
  EXPECT_EQ(odbc_.QueryText("SELECT password FROM users WHERE name = 'bob'"), "new secret");
  // What the directory refuses is -1, and the reason is left alone.
  EXPECT_EQ(Xo_PolicyApi_GetDisableUserState(handle_, "hr", "users/nobody", &reason, nullptr),
            XO_ERR_GENERAL);
  EXPECT_EQ(reason, Xo_Api_DisabledPasswordExpired);
  // The servers are told to forget a user, whether the directory has it or not.
  ASSERT_EQ(Xo_PolicyApi_FlushUser(handle_, "hr", "no such user"), 0);
  EXPECT_EQ(
      QueryStoreFile(StorePath(), "SELECT command, sub_command, argument FROM server_command"),
      std::vector<std::string>{"0|4|" + hr_.GetOidString() + "/no such user"});
}

TEST_F(DirectoryUsersTest, RightsAreAskedAtEachCallAndNeverOverOneWithMoreRights) {
  // Leaving a domain takes effect at the next call, and so does coming back.
  EXPECT_EQ(Changes(dana_, "users/bob"), allowed_);
  ASSERT_EQ(Xo_PolicyApi_RemoveAdminFromDomain(handle_, "dana", "own"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeletePolicy(dana_, "none", "own"), XO_ERR_GENERAL);
  EXPECT_EQ(Changes(dana_, "users/bob"), refused_);
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "own"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeletePolicy(dana_, "none", "own"), 0);

  // alice logs in through "hr" with the system right, carol as the
  // administrator of another domain; bob is nobody's login.
  CXoObjAdmin alice("alice", "", "", hr_, WellKnownObjectId13, true, {}, XO_ADMIN_SYSTEM);
  CXoObjAdmin carol("carol", "", "", hr_, WellKnownObjectId13, true, {}, XO_ADMIN_DOMAIN);
  Store().Save(alice);
  Store().Save(carol);
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "carol", "other"), 0);
  EXPECT_EQ(Changes(dana_, "users/alice"), refused_);
  EXPECT_EQ(Changes(dana_, "users/carol"), refused_);
  EXPECT_EQ(Changes(dana_, "users/bob"), allowed_);
  // Managing carol's domain too, dana holds every right carol holds.
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "other"), 0);
  EXPECT_EQ(Changes(dana_, "users/carol"), allowed_);
  EXPECT_EQ(Changes(dana_, "users/alice"), refused_);
  // With such an administrator on the directory, a user the directory cannot
  // find is refused rather than guessed about.
  EXPECT_EQ(Changes(dana_, "users/nobody"), refused_);
}

// Each step: what changes before the call, the call, its result, and how
// many connections to directories were opened for it.
struct ConnectionStep {
  const char* what;
  std::function<void()> change;
  std::function<int32_t()> call;
  int32_t result;
  uint32_t opened;
};

void RunSteps(const std::vector<ConnectionStep>& steps) {
  for (const ConnectionStep& step : steps) {
    if (step.change) step.change();
    const uint32_t before = xo::directory::ConnectionsOpened();
    EXPECT_EQ(step.call(), step.result) << step.what;
    EXPECT_EQ(xo::directory::ConnectionsOpened() - before, step.opened) << step.what;
  }
}

// A session opens a directory's connection once and reuses it in its later
// calls, until the directory's settings or queries change, the connection
// fails (when its server closed it, the call is tried once more on a new
// one), or the session ends.
TEST_F(DirectoryUsersTest, ASessionReusesItsDirectoryConnectionUntilItChangesFailsOrLogsOut) {
  Store().Policy(own_, "staff");
  auto attach = [&](PolicyApiSession* h, const char* directory, const char* entry) {
    return Xo_PolicyApi_AddUsersToPolicy(h, "own", "staff", directory, entry,
                                         Xo_PolicyResolution_User);
  };
  auto hr = [&](const char* entry) {
    return [this, attach, entry] { return attach(handle_, "hr", entry); };
  };
  const std::string view = odbc_.QueryText("SELECT sql FROM sqlite_master WHERE name = 'entries'");
  CXoObjUserDirectory directory;
  CXoObjODBCQuery queries;
  ASSERT_TRUE(Store().Load(hr_, directory));
  ASSERT_TRUE(Store().Load(directory.GetQuerySchemeOid(), queries));
  const CXoObjODBCQuery original = queries;
  auto save = [&](CXoObjBase& object) {
    ASSERT_GE(CXoObjStore::Save(object, true, Store().Sid()), 0);
  };
  OdbcUsers second;
  second.Exec("DELETE FROM users WHERE name = 'alice'");
  RunSteps({
      {"first call", nullptr, hr("users/alice"), 0, 1},
      {"again", nullptr, hr("users/bob"), 0, 0},
      {"a user's state", nullptr,
       [&] { return Xo_PolicyApi_SetPassword(handle_, "hr", "users/bob", "pw", nullptr); }, 0, 0},
      {"contents", nullptr,
       [&] {
         UserEntryRecord* list = nullptr;
         Xo_PolicyApi_GetDirectoryContents(handle_, "hr", &list);
         return static_cast<int32_t>(Collect(list).size());
       },
       5, 0},
      {"another session", nullptr, [&] { return attach(dana_, "hr", "users/bob"); }, 0, 1},
      {"queries fail", [&] { odbc_.Exec("DROP VIEW entries"); }, hr("users/alice"), -1, 0},
      {"they work again", [&] { odbc_.Exec(view); }, hr("users/alice"), 0, 1},
      {"a query changed",
       [&] {
         queries.Set(CXoObjODBCQuery::Query1 + 1, std::string("SELECT key, display FROM entries "
                                                              "WHERE key = ? AND kind = 2"));
         save(queries);
       },
       hr("users/alice"), -1, 1},
      {"as it was", [&] { save(queries = original); }, hr("users/alice"), 0, 1},
      {"another database",
       [&] {
         directory.Set(CXoObjUserDirectory::String1, second.ConnectionString());
         save(directory);
       },
       hr("users/bob"), 0, 1},
      {"its users", nullptr, hr("users/alice"), -1, 0},
      {"logged in again",
       [&] {
         const uint32_t kept = xo::directory::ConnectionsKept();
         ASSERT_EQ(Xo_PolicyApi_Logout(handle_), 0);
         EXPECT_EQ(xo::directory::ConnectionsKept(), kept - 1);
         ASSERT_EQ(Login(kAdmin, kPassword, &handle_), 0);
       },
       hr("users/bob"), 0, 1},
  });
  if (!LdapFixtureAvailable()) GTEST_SKIP() << "no LDAP server here";
  LdapServer server;
  CXoObjUserDirectory people = server.Directory("people");
  Store().Save(people);
  auto ldap = [&] { return attach(handle_, "people", "alice"); };
  RunSteps({
      {"bound once", nullptr, ldap, 0, 1},
      {"again", nullptr, ldap, 0, 0},
      {"server restarted", [&] { server.Restart(); }, ldap, 0, 1},
      {"server down", [&] { server.Kill(); }, ldap, -1, 0},
      {"server back", [&] { server.Restart(); }, ldap, 0, 1},
  });
}

}  // namespace
}  // namespace xo::test
