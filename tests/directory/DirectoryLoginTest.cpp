// Administrators bound to a user directory log in with the directory's
// password, by LDAP bind or by the ODBC scheme's authentication query, and
// never with the text stored in the policy store.
#include <gtest/gtest.h>

#include <string>

#include "XoAdmUserDirectory.h"
#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

class DirectoryLoginTest : public ApiTest {
 protected:
  // A system administrator named `name`, authenticated by `directory`.
  void BindAdmin(const std::string& name, const CXoObjId& directory) {
    CXoObjAdmin admin(name, "", "stored password", directory, WellKnownObjectId13, true, {},
                      XO_ADMFLAG_SYSTEM);
    Store().Save(admin);
  }

  CXoObjId SaveOdbcDirectory() {
    CXoObjODBCQuery queries = odbc_.QueryScheme();
    Store().Save(queries);
    CXoObjUserDirectory directory = odbc_.Directory(queries.GetOid());
    return Store().Save(directory);
  }

  int32_t LoginAndUse(const std::string& name, const std::string& password) {
    PolicyApiSession* handle = nullptr;
    const int32_t result = Login(name, password, &handle);
    if (result != XO_OK) return result;
    DomainRecord* list = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetDomain(handle, "none", &list), XO_OK);
    return Xo_PolicyApi_Logout(handle);
  }

  LdapServer ldap_;
  OdbcUsers odbc_;
};

TEST_F(DirectoryLoginTest, LdapBoundAdministratorLogsInWithTheDirectoryPassword) {
  CXoObjUserDirectory directory = ldap_.Directory();
  const CXoObjId id = Store().Save(directory);
  BindAdmin("alice", id);
  EXPECT_EQ(LoginAndUse("alice", "alice-pw"), XO_OK);
  EXPECT_EQ(LoginAndUse("alice", "bob-pw"), XO_ERR_GENERAL);
  EXPECT_EQ(LoginAndUse("alice", "stored password"), XO_ERR_GENERAL);
  EXPECT_EQ(LoginAndUse("alice", ""), XO_ERR_GENERAL);

  std::string message;
  ASSERT_EQ(CXoAdmUserDirectory(id).SetPassword("alice", "renewed", message, Store().Session()), 0)
      << message;
  EXPECT_EQ(LoginAndUse("alice", "alice-pw"), XO_ERR_GENERAL);
  EXPECT_EQ(LoginAndUse("alice", "renewed"), XO_OK);
}

TEST_F(DirectoryLoginTest, OdbcBoundAdministratorLogsInThroughTheAuthenticationQuery) {
  BindAdmin("bob", SaveOdbcDirectory());
  EXPECT_EQ(LoginAndUse("bob", "bob-pw"), XO_OK);
  EXPECT_EQ(LoginAndUse("bob", "alice-pw"), XO_ERR_GENERAL);
  EXPECT_EQ(LoginAndUse("bob", "stored password"), XO_ERR_GENERAL);
  odbc_.Exec("DELETE FROM users WHERE name = 'bob'");
  EXPECT_EQ(LoginAndUse("bob", "bob-pw"), XO_ERR_GENERAL);
}

TEST_F(DirectoryLoginTest, AnUnreachableDirectoryRefusesTheLogin) {
  CXoObjUserDirectory directory =
      LdapServer::DirectoryAt("ldap://127.0.0.1:" + std::to_string(ClosedPort()) + "/");
  BindAdmin("alice", Store().Save(directory));
  CXoAdmSession session("alice", "alice-pw", "localhost", "", "localhost", true);
  std::string message;
  EXPECT_EQ(session.Login(message, false), xo::store::kAuthFailed);
  EXPECT_NE(message.find("test ldap"), std::string::npos) << message;
  EXPECT_FALSE(session.IsLoggedIn());
}

TEST_F(DirectoryLoginTest, StoreFailuresReadingTheDirectoryRefuseTheLogin) {
  CXoObjUserDirectory directory = ldap_.Directory();
  BindAdmin("alice", Store().Save(directory));
  BindAdmin("bob", SaveOdbcDirectory());
  auto refused = [](StoreOp, int) { return XO_ERR_GENERAL; };
  EXPECT_EQ(SweepStoreFailures(
                StoreOp::FetchWithoutSession, xo::store::kIoError,
                [&] { return LoginAndUse("alice", "alice-pw"); }, refused),
            1);
  EXPECT_EQ(SweepStoreFailures(
                StoreOp::FetchWithoutSession, xo::store::kIoError,
                [&] { return LoginAndUse("bob", "bob-pw"); }, refused),
            2)
      << "the directory, then its query scheme";

  CXoAdmSession session("alice", "alice-pw", "localhost", "", "localhost", true);
  std::string message;
  Faults().FailAt(StoreOp::FetchWithoutSession, 1, xo::store::kBusy);
  EXPECT_EQ(session.Login(message, false), xo::store::kBusy);
  EXPECT_NE(message.find("could not be read"), std::string::npos) << message;
}

}  // namespace
}  // namespace xo::test
