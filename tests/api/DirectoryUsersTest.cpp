// The contents of a user directory and the state of its users, against an
// SQLite users database reached through ODBC and, where the kind of server
// matters, a real slapd.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/DirectoryFixtures.h"
#include "support/ReturnedLists.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

using xo::store::kBusy;

UserEntryRecord Entry(const std::string& entry, const std::string& detail) {
  UserEntryRecord record{};
  record.recordType = UserEntryRecordType;
  std::strcpy(record.entry, entry.c_str());
  std::strcpy(record.entryDetail, detail.c_str());
  return record;
}

class DirectoryUsersTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    CXoObjODBCQuery queries = odbc_.QueryScheme();
    CXoObjUserDirectory directory = odbc_.Directory(Store().Save(queries), "hr");
    hr_ = Store().Save(directory);
  }
  int32_t Contents(const char* directory, std::vector<UserEntryRecord>& out) {
    return CallGet(
        [&](UserEntryRecord** list) {
          return Xo_PolicyApi_GetDirectoryContents(handle_, directory, list);
        },
        out);
  }
  int32_t Disabled(const char* user, Xo_Api_DisabledReason_t& reason) {
    return Xo_PolicyApi_GetDisableUserState(handle_, "hr", user, &reason, &reserved_);
  }
  std::string Column(const std::string& column, const std::string& user) {
    return odbc_.QueryText("SELECT coalesce(" + column + ", 'NULL') FROM users WHERE name = '" +
                           user + "'");
  }
  std::vector<std::string> Commands() {
    return QueryStoreFile(StorePath(), "SELECT command, sub_command, argument FROM server_command");
  }

  OdbcUsers odbc_;
  CXoObjId hr_;
  // Given as the reserved argument, which must be neither read nor written.
  char reserved_[8] = "sentry";
};

TEST_F(DirectoryUsersTest, ContentsListEveryEntryWithItsDetail) {
  std::vector<UserEntryRecord> found;
  ASSERT_EQ(Contents("hr", found), 0);
  const std::vector<UserEntryRecord> expected = {Entry("users/alice", "User: Alice Liddell"),
                                                 Entry("users/bob", "User: Bob Cratchit"),
                                                 Entry("users/carol", "User: Carol Danvers"),
                                                 Entry("groups/operators", "User Group: Operators"),
                                                 Entry("groups/staff", "User Group: Staff")};
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    EXPECT_EQ(std::memcmp(&found[i], &expected[i], sizeof expected[i]), 0) << found[i].entry;
  }
}

TEST_F(DirectoryUsersTest, ADirectoryThatCannotBeReadListsAsEmpty) {
  CXoObjUserDirectory closed =
      LdapServer::DirectoryAt("ldap://127.0.0.1:" + std::to_string(ClosedPort()), "closed");
  closed.Set(CXoObjUserDirectory::Int2, int32_t{2});
  Store().Save(closed);
  odbc_.Exec("DROP VIEW entries");
  std::vector<UserEntryRecord> found;
  for (const char* name : {"closed", "hr"}) {
    UserEntryRecord* list = reinterpret_cast<UserEntryRecord*>(this);
    EXPECT_EQ(Xo_PolicyApi_GetDirectoryContents(handle_, name, &list), 0) << name;
    EXPECT_EQ(list, nullptr) << name;  // written, and empty
  }
  Duplicate(Store().UserDirectory("twin"));
  EXPECT_EQ(Contents("twin", found), XO_ERR_GENERAL);
  EXPECT_EQ(Contents("unknown", found), XO_ERR_GENERAL);
  EXPECT_EQ(Contents(nullptr, found), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Contents(std::string(1100, 'd').c_str(), found), XO_ERR_USERDIR_SEARCH);
  EXPECT_EQ(Xo_PolicyApi_GetDirectoryContents(handle_, "hr", nullptr), XO_ERR_GENERAL);
}

TEST_F(DirectoryUsersTest, DisabledStateAndPasswordReachTheDirectory) {
  Xo_Api_DisabledReason_t reason = Xo_Api_DisabledFailedLogins;
  ASSERT_EQ(Disabled("users/bob", reason), 0);
  EXPECT_EQ(reason, Xo_Api_NotDisabled);
  ASSERT_EQ(Xo_PolicyApi_SetDisableUserState(handle_, "hr", "users/bob",
                                             Xo_Api_DisabledPasswordExpired, &reserved_),
            0);
  EXPECT_EQ(Column("disabled", "bob"), "3");
  ASSERT_EQ(Disabled("users/bob", reason), 0);
  EXPECT_EQ(reason, Xo_Api_DisabledPasswordExpired);
  ASSERT_EQ(Xo_PolicyApi_SetPassword(handle_, "hr", "users/bob", "new secret", &reserved_), 0);
  EXPECT_EQ(Column("password", "bob"), "new secret");
  EXPECT_STREQ(reserved_, "sentry");

  // Every failure of the directory is -1, and the reason is left alone.
  reason = Xo_Api_DisabledByAdmin;
  EXPECT_EQ(Disabled("users/nobody", reason), XO_ERR_GENERAL);
  EXPECT_EQ(reason, Xo_Api_DisabledByAdmin);
  EXPECT_EQ(
      Xo_PolicyApi_SetDisableUserState(handle_, "hr", "users/nobody", Xo_Api_NotDisabled, nullptr),
      XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_SetPassword(handle_, "hr", "users/nobody", "x", nullptr), XO_ERR_GENERAL);
  odbc_.Exec("DROP TABLE users");
  EXPECT_EQ(Disabled("users/bob", reason), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetDisableUserState(handle_, "hr", "users/bob", nullptr, nullptr),
            XO_ERR_GENERAL);
  EXPECT_EQ(Disabled("", reason), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetDisableUserState(handle_, "unknown", "users/bob", &reason, nullptr),
            XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_SetPassword(handle_, nullptr, "users/bob", "x", nullptr),
            XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Xo_PolicyApi_SetDisableUserState(handle_, std::string(1100, 'd').c_str(), "users/bob",
                                             Xo_Api_NotDisabled, nullptr),
            XO_ERR_USERDIR_SEARCH);
  EXPECT_STREQ(reserved_, "sentry");
}

TEST_F(DirectoryUsersTest, FlushUserRecordsACommandForAnyUser) {
  const std::string dir = hr_.GetOidString();
  ASSERT_EQ(Xo_PolicyApi_FlushUser(handle_, "hr", "users/alice"), 0);
  ASSERT_EQ(Xo_PolicyApi_FlushUser(handle_, "hr", "no such user"), 0);
  ASSERT_EQ(Xo_PolicyApi_FlushUser(handle_, "hr", nullptr), 0);
  EXPECT_EQ(Commands(),
            (std::vector<std::string>{"0|4|" + dir + "/users/alice", "0|4|" + dir + "/no such user",
                                      "0|4|" + dir + "/"}));
  EXPECT_EQ(QueryStoreFile(StorePath(), "SELECT admin, operation FROM xo_audit WHERE class = 20"),
            std::vector<std::string>(3, "sysadmin|create"));

  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_FlushUser(handle_, "unknown", "users/alice"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_FlushUser(handle_, "", "users/alice"), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Xo_PolicyApi_FlushUser(handle_, "hr", std::string(1100, 'u').c_str()),
            Mapped(xo::store::kTextTooLong));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(DirectoryUsersTest, AnLdapDirectoryServesTheSameCalls) {
  LdapServer server;
  CXoObjUserDirectory ldap = server.Directory("people");
  Store().Save(ldap);
  std::vector<UserEntryRecord> found;
  ASSERT_EQ(Contents("people", found), 0);
  ASSERT_EQ(found.size(), 7u);
  const UserEntryRecord alice = Entry(LdapServer::UserDn("alice"), "User: Alice Liddell");
  EXPECT_EQ(std::memcmp(&found[2], &alice, sizeof alice), 0);

  const std::string bob = LdapServer::UserDn("bob");
  ASSERT_EQ(Xo_PolicyApi_SetDisableUserState(handle_, "people", bob.c_str(), Xo_Api_DisabledByAdmin,
                                             nullptr),
            0);
  Xo_Api_DisabledReason_t reason = Xo_Api_NotDisabled;
  ASSERT_EQ(Xo_PolicyApi_GetDisableUserState(handle_, "people", bob.c_str(), &reason, nullptr), 0);
  EXPECT_EQ(reason, Xo_Api_DisabledByAdmin);
  EXPECT_EQ(Xo_PolicyApi_SetPassword(handle_, "people", bob.c_str(), "renewed", nullptr), 0);
  EXPECT_EQ(
      Xo_PolicyApi_SetPassword(handle_, "people", "uid=nobody,dc=example,dc=org", "x", nullptr),
      XO_ERR_GENERAL);
}

TEST_F(DirectoryUsersTest, StoreFailuresAreMappedOrReportedByTheDirectory) {
  // Only the resolution is the API's own; the rest of a failed user-state
  // call is the administration object's, which reports -1. A change also
  // looks for administrators who log in through the directory.
  const auto byDirectory = [](StoreOp op, int n) {
    return op == StoreOp::Search && n == 1 ? XO_ERR_USERDIR_SEARCH : XO_ERR_GENERAL;
  };
  EXPECT_EQ(SweepBusy(
                [&] {
                  return Xo_PolicyApi_SetDisableUserState(handle_, "hr", "users/bob",
                                                          Xo_Api_DisabledByAdmin, nullptr);
                },
                byDirectory),
            5);
  EXPECT_EQ(
      SweepBusy([&] { return Xo_PolicyApi_SetPassword(handle_, "hr", "users/bob", "pw", nullptr); },
                byDirectory),
      5);
  EXPECT_EQ(SweepBusy(
                [&] {
                  Xo_Api_DisabledReason_t reason;
                  return Xo_PolicyApi_GetDisableUserState(handle_, "hr", "users/bob", &reason,
                                                          nullptr);
                },
                byDirectory),
            4);
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_FlushUser(handle_, "hr", "users/bob"); },
                      [&](StoreOp op, int n) {
                        return op == StoreOp::Save ? Mapped(kBusy) : byDirectory(op, n);
                      }),
            6);
  // The query scheme read for the listing failing is a directory that
  // cannot be read: an empty listing.
  std::vector<UserEntryRecord> found;
  EXPECT_EQ(SweepBusy([&] { return Contents("hr", found); },
                      [](StoreOp op, int) {
                        if (op == StoreOp::ReadRights) return XO_ERR_GENERAL;
                        if (op == StoreOp::Search) return XO_ERR_USERDIR_SEARCH;
                        return op == StoreOp::FetchWithoutSession ? XO_OK : Mapped(kBusy);
                      }),
            4);
}

TEST_F(DirectoryUsersTest, AllocationFailuresHandOutNoHalfList) {
  std::vector<UserEntryRecord> found;
  EXPECT_EQ(SweepAllocationFailures([&] { return Contents("hr", found); }, XO_ERR_GENERAL), 5);
}

}  // namespace
}  // namespace xo::test
