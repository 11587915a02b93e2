// CXoAdmUserDirectory on a real store: who may manage a directory's users,
// what the operations change in the directory, and store failures while the
// directory is read.
#include <gtest/gtest.h>

#include <string>

#include "XoAdmUserDirectory.h"
#include "XoDsDir.h"
#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

using xo::store::kDirectoryError;
using xo::store::kFailed;
using xo::store::kInvalidArgument;
using xo::store::kInvalidId;
using xo::store::kIoError;
using xo::store::kNoSession;

class AdmUserDirectoryTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    CXoObjUserDirectory directory = ldap_.Directory();
    ldapId_ = Store().Save(directory);
  }

  CXoObjId SaveOdbcDirectory(CXoObjODBCQuery queries) {
    Store().Save(queries);
    CXoObjUserDirectory directory = odbc_.Directory(queries.GetOid(), queries.GetName());
    return Store().Save(directory);
  }

  // A domain administrator with its own session, listed in a new domain.
  struct DomainAdmin {
    CXoObjId domain;
    std::unique_ptr<CXoAdmSession> session;
  };
  DomainAdmin MakeDomainAdmin(const std::string& name) {
    DomainAdmin made;
    made.domain = Store().Domain(name + "'s domain");
    const CXoObjId admin = Store().Admin(name, "pw of " + name, XO_ADMFLAG_DOMAIN);
    Store().AppendToDomainList(made.domain, CXoObjDomain::Admins, admin);
    made.session =
        std::make_unique<CXoAdmSession>(name, "pw of " + name, "localhost", "", "localhost", true);
    std::string message;
    EXPECT_EQ(made.session->Login(message, false), 0) << message;
    return made;
  }

  LdapServer ldap_;
  OdbcUsers odbc_;
  CXoObjId ldapId_;
  std::string message_;
};

TEST_F(AdmUserDirectoryTest, SystemAdministratorChangesPasswordsAndDisabledState) {
  CXoAdmUserDirectory directory(ldapId_);
  ASSERT_EQ(directory.SetPassword("alice", "changed", message_, Store().Session()), 0) << message_;
  CXoObjUserDirectory stored;
  ASSERT_TRUE(Store().Load(ldapId_, stored));
  EXPECT_TRUE(CXoDsDir(stored).Authenticate("alice", "changed"));

  XoDisabledReason reason = -1;
  ASSERT_EQ(directory.SetDisabled("bob", 2, message_, Store().Session()), 0) << message_;
  ASSERT_EQ(directory.GetDisabled("bob", reason, message_, Store().Session()), 0) << message_;
  EXPECT_EQ(reason, 2);

  std::string path;
  ASSERT_EQ(directory.SearchValue("carol", path, Store().Session()), 0);
  EXPECT_EQ(path, LdapServer::UserDn("carol"));
  EXPECT_EQ(directory.ValidateProps(Store().Session()), 0);
}

TEST_F(AdmUserDirectoryTest, OdbcDirectoriesUseTheirQuerySchemeFromTheStore) {
  const CXoObjId id = SaveOdbcDirectory(odbc_.QueryScheme());
  CXoAdmUserDirectory directory(id);
  ASSERT_EQ(directory.SetPassword("carol", "changed", message_, Store().Session()), 0) << message_;
  EXPECT_EQ(odbc_.QueryText("SELECT password FROM users WHERE name = 'carol'"), "changed");
  XoDisabledReason reason = -1;
  ASSERT_EQ(directory.SetDisabled("carol", 5, message_, Store().Session()), 0) << message_;
  ASSERT_EQ(directory.GetDisabled("carol", reason, message_, Store().Session()), 0);
  EXPECT_EQ(reason, 5);
  EXPECT_EQ(directory.ValidateProps(Store().Session()), 0);

  CXoObjODBCQuery cannotLogIn = odbc_.QueryScheme("no user look-up");
  cannotLogIn.Set(CXoObjODBCQuery::Query1 + 10, std::string(""));
  EXPECT_EQ(CXoAdmUserDirectory(SaveOdbcDirectory(cannotLogIn)).ValidateProps(Store().Session()),
            kInvalidArgument);
}

TEST_F(AdmUserDirectoryTest, FailuresAreReportedWithAReason) {
  CXoAdmUserDirectory directory(ldapId_);
  XoDisabledReason reason = 7;
  EXPECT_EQ(directory.GetDisabled("nobody", reason, message_, Store().Session()), kDirectoryError);
  EXPECT_NE(message_.find("nobody"), std::string::npos) << message_;
  EXPECT_EQ(reason, 7);

  CXoAdmUserDirectory unnamed(XoObjId_UserDirectory);
  EXPECT_EQ(unnamed.SetPassword("alice", "x", message_, Store().Session()), kInvalidId);
  EXPECT_EQ(unnamed.IsAllowed(Store().Session(), message_), kInvalidId);

  CXoAdmSession loggedOut("sysadmin", kPassword, "localhost", "", "localhost", true);
  EXPECT_EQ(directory.SetPassword("alice", "x", message_, loggedOut), kNoSession);

  CXoObjUserDirectory unreachable = LdapServer::DirectoryAt(
      "ldap://127.0.0.1:" + std::to_string(ClosedPort()) + "/", "unreachable");
  const CXoObjId unreachableId = Store().Save(unreachable);
  EXPECT_EQ(CXoAdmUserDirectory(unreachableId).SetDisabled("alice", 1, message_, Store().Session()),
            kDirectoryError);
  EXPECT_NE(message_.find("unreachable"), std::string::npos) << message_;
}

TEST_F(AdmUserDirectoryTest, DomainAdministratorsManageOnlyDirectoriesTheirDomainsSearch) {
  DomainAdmin dana = MakeDomainAdmin("dana");
  DomainAdmin eric = MakeDomainAdmin("eric");
  CXoAdmUserDirectory directory(ldapId_);
  EXPECT_EQ(directory.IsAllowed(*dana.session, message_), kFailed);
  EXPECT_NE(message_.find("dana"), std::string::npos) << message_;
  EXPECT_EQ(directory.SetDisabled("alice", 1, message_, *dana.session), kFailed);

  Store().AppendToDomainList(dana.domain, CXoObjDomain::UserDirectories, ldapId_);
  EXPECT_EQ(directory.IsAllowed(*dana.session, message_), 0) << message_;
  EXPECT_EQ(directory.SetDisabled("alice", 1, message_, *dana.session), 0) << message_;
  EXPECT_EQ(directory.IsAllowed(*eric.session, message_), kFailed);
  EXPECT_EQ(directory.IsAllowed(Store().Session(), message_), 0);
}

TEST_F(AdmUserDirectoryTest, StoreFailuresWhileReadingTheDirectoryLeaveItUnchanged) {
  const CXoObjId odbcId = SaveOdbcDirectory(odbc_.QueryScheme());
  for (const CXoObjId& id : {ldapId_, odbcId}) {
    CXoObjUserDirectory stored;
    ASSERT_TRUE(Store().Load(id, stored));
    CXoDsDir direct(stored);
    CXoAdmUserDirectory directory(id);
    const int runs = SweepStoreFailures(
        StoreOp::Fetch, kIoError,
        [&] {
          direct.SetDisabled("carol", 0);
          const XoAdmError result = directory.SetDisabled("carol", 4, message_, Store().Session());
          int32_t reason = -1;
          EXPECT_TRUE(direct.GetDisabled("carol", reason));
          EXPECT_EQ(reason, result == 0 ? 4 : 0);
          return result;
        },
        [](StoreOp, int) { return kIoError; });
    EXPECT_EQ(runs, id == odbcId ? 2 : 1) << "the directory, and an ODBC directory's scheme";
  }

  DomainAdmin dana = MakeDomainAdmin("dana");
  Store().AppendToDomainList(dana.domain, CXoObjDomain::UserDirectories, ldapId_);
  CXoAdmUserDirectory directory(ldapId_);
  EXPECT_EQ(SweepStoreFailures(
                StoreOp::FetchProperty, kIoError,
                [&] { return directory.IsAllowed(*dana.session, message_); },
                [](StoreOp, int) { return kIoError; }),
            2)
      << "the administrator's domains, then the domain's directories";
}

}  // namespace
}  // namespace xo::test
