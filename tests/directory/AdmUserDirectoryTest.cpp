// Directories on a real store: CXoAdmUserDirectory (who may manage a
// directory's users, and what the operations change in the directory), and
// administrators bound to a directory, who log in with its password (by LDAP
// bind or by the ODBC scheme's authentication query), never with the text
// stored in the policy store.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "XoAdmUserDirectory.h"
#include "XoDsDir.h"
#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

using namespace xo::store;

class DirectoryAdminTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    CXoObjUserDirectory ldap = ldap_.Directory();
    CXoObjUserDirectory unreachable = LdapServer::DirectoryAt(
        "ldap://127.0.0.1:" + std::to_string(ClosedPort()) + "/", "unreachable");
    ldapId_ = Store().Save(ldap);
    odbcId_ = SaveOdbcDirectory(odbc_.QueryScheme());
    unreachableId_ = Store().Save(unreachable);
  }

  CXoObjId SaveOdbcDirectory(CXoObjODBCQuery queries) {
    Store().Save(queries);
    CXoObjUserDirectory directory = odbc_.Directory(queries.GetOid(), queries.GetName());
    return Store().Save(directory);
  }

  // A system administrator named `name` whose password `directory` checks.
  void BindAdmin(const std::string& name, const CXoObjId& directory) {
    CXoObjAdmin admin(name, "", "pw", directory, WellKnownObjectId13, true, {}, XO_ADMFLAG_SYSTEM);
    Store().Save(admin);
  }
  // The number of runs with the k-th `op` failing, each giving `code`.
  int Sweep(StoreOp op, const std::function<int32_t()>& call, int32_t code) {
    return SweepStoreFailures(op, kIoError, call, [code](const StoreFailure& failure) {
      EXPECT_EQ(failure.result, code) << failure.what;
      EXPECT_TRUE(failure.unchanged)
          << "the store changed when store call " << failure.what << " failed";
    });
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
  CXoObjId ldapId_;
  CXoObjId odbcId_;
  CXoObjId unreachableId_;
  std::string message_;
};

// (Changes through the interface to ODBC directories are the API suite's.)
TEST_F(DirectoryAdminTest, ChangesUsersOfItsDirectoriesForAdministratorsWhoMay) {
  CXoAdmUserDirectory directory(ldapId_);
  ASSERT_EQ(directory.SetPassword("carol", "changed", message_, Store().Session()), 0) << message_;
  EXPECT_TRUE(CXoDsDir(ldap_.Directory()).Authenticate("carol", "changed"));
  XoDisabledReason reason = -1;
  ASSERT_EQ(directory.SetDisabled("bob", 2, message_, Store().Session()), 0) << message_;
  ASSERT_EQ(directory.GetDisabled("bob", reason, message_, Store().Session()), 0) << message_;
  EXPECT_EQ(reason, 2);
  EXPECT_EQ(directory.GetDisabled("nobody", reason, message_, Store().Session()), kDirectoryError);
  EXPECT_NE(message_.find("nobody"), std::string::npos) << message_;
  EXPECT_EQ(reason, 2);
  for (const auto& [id, carol] : {std::pair{ldapId_, LdapServer::UserDn("carol")},
                                  std::pair{odbcId_, std::string("users/carol")}}) {
    std::string path;
    EXPECT_EQ(CXoAdmUserDirectory(id).SearchValue("carol", path, Store().Session()), 0);
    EXPECT_EQ(path, carol);
    EXPECT_EQ(CXoAdmUserDirectory(id).ValidateProps(Store().Session()), 0);
  }
  // Logging in needs the user look-up (11) and either the authentication (4)
  // or the stored password (5).
  const std::pair<std::vector<int>, XoAdmError> kLeftOut[] = {
      {{11}, kInvalidArgument}, {{4}, 0}, {{5}, 0}, {{4, 5}, kInvalidArgument}};
  for (const auto& [queries, code] : kLeftOut) {
    std::string name = "without";
    for (int query : queries) name += " " + std::to_string(query);
    CXoObjODBCQuery scheme = odbc_.QueryScheme(name);
    for (int query : queries) scheme.Set(CXoObjODBCQuery::Query1 + query - 1, std::string(""));
    EXPECT_EQ(CXoAdmUserDirectory(SaveOdbcDirectory(scheme)).ValidateProps(Store().Session()), code)
        << name;
  }
  CXoAdmUserDirectory unnamed(XoObjId_UserDirectory);
  EXPECT_EQ(unnamed.SetPassword("alice", "x", message_, Store().Session()), kInvalidId);
  EXPECT_EQ(unnamed.IsAllowed(Store().Session(), message_), kInvalidId);
  CXoAdmSession loggedOut("sysadmin", kPassword, "localhost", "", "localhost", true);
  EXPECT_EQ(directory.SetPassword("alice", "x", message_, loggedOut), kNoSession);
  EXPECT_EQ(
      CXoAdmUserDirectory(unreachableId_).SetDisabled("alice", 1, message_, Store().Session()),
      kDirectoryError);
  EXPECT_NE(message_.find("unreachable"), std::string::npos) << message_;

  // A domain administrator manages only directories that its domains search;
  // its domains and then their directories are read at every call.
  const CXoObjId dana = Store().Domain("dana's domain");
  Store().AppendToDomainList(dana, CXoObjDomain::Admins,
                             Store().Admin("dana", "pw", XO_ADMFLAG_DOMAIN));
  CXoAdmSession session("dana", "pw", "localhost", "", "localhost", true);
  ASSERT_EQ(session.Login(message_, false), 0) << message_;
  EXPECT_EQ(directory.SetDisabled("alice", 1, message_, session), kFailed);
  EXPECT_NE(message_.find("dana"), std::string::npos) << message_;
  Store().AppendToDomainList(dana, CXoObjDomain::UserDirectories, ldapId_);
  EXPECT_EQ(directory.SetDisabled("alice", 1, message_, session), 0) << message_;
  EXPECT_EQ(
      Sweep(
          StoreOp::FetchProperty, [&] { return directory.IsAllowed(session, message_); }, kIoError),
      2);
}

// A store failure while the directory (and an ODBC directory's scheme) is
// read refuses the login too.
TEST_F(DirectoryAdminTest, BoundAdministratorsLogInWithTheDirectoryPasswordOnly) {
  BindAdmin("alice", ldapId_);
  BindAdmin("bob", odbcId_);
  BindAdmin("carol", unreachableId_);
  const std::tuple<const char*, const char*, int32_t> kLogins[] = {
      {"alice", "alice-pw", XO_OK},        {"bob", "bob-pw", XO_OK},
      {"alice", "bob-pw", XO_ERR_GENERAL}, {"alice", "", XO_ERR_GENERAL},
      {"alice", "pw", XO_ERR_GENERAL},     {"bob", "alice-pw", XO_ERR_GENERAL},
      {"bob", "pw", XO_ERR_GENERAL},       {"carol", "carol-pw", XO_ERR_GENERAL}};
  for (const auto& [admin, password, result] : kLogins) {
    EXPECT_EQ(LoginAndUse(admin, password), result) << admin << " with " << password;
  }
  const auto alice = [&] { return LoginAndUse("alice", "alice-pw"); };
  const auto bob = [&] { return LoginAndUse("bob", "bob-pw"); };
  EXPECT_EQ(Sweep(StoreOp::FetchWithoutSession, alice, XO_ERR_GENERAL), 1);
  EXPECT_EQ(Sweep(StoreOp::FetchWithoutSession, bob, XO_ERR_GENERAL), 2);
  ASSERT_EQ(
      CXoAdmUserDirectory(ldapId_).SetPassword("alice", "renewed", message_, Store().Session()), 0)
      << message_;
  EXPECT_EQ(LoginAndUse("alice", "alice-pw"), XO_ERR_GENERAL);
  EXPECT_EQ(LoginAndUse("alice", "renewed"), XO_OK);
  odbc_.Exec("DELETE FROM users WHERE name = 'bob'");
  EXPECT_EQ(LoginAndUse("bob", "bob-pw"), XO_ERR_GENERAL);

  CXoAdmSession session("carol", "carol-pw", "localhost", "", "localhost", true);
  EXPECT_EQ(session.Login(message_, false), kAuthFailed);
  EXPECT_NE(message_.find("unreachable"), std::string::npos) << message_;
  EXPECT_FALSE(session.IsLoggedIn());
  CXoAdmSession busy("alice", "renewed", "localhost", "", "localhost", true);
  Faults().FailAt(StoreOp::FetchWithoutSession, 1, kBusy);
  EXPECT_EQ(busy.Login(message_, false), kBusy);
  EXPECT_NE(message_.find("could not be read"), std::string::npos) << message_;
}

}  // namespace
}  // namespace xo::test
