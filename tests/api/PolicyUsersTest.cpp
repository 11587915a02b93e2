// Directory entries attached to policies, looked up in an SQLite users
// database reached through ODBC.
#include "XoStoreCodes.h"
#include "api/PolicyObjects.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

class PolicyUsersTest : public PolicyObjectsTest {
 protected:
  void SetUp() override {
    PolicyObjectsTest::SetUp();
    Store().Policy(sales_, "guests");
    Store().Policy(other_, "staff");
    CXoObjODBCQuery queries = odbc_.QueryScheme();
    const CXoObjId scheme = Store().Save(queries);
    for (const char* name : {"hr", "hr copy"}) {
      CXoObjUserDirectory directory = odbc_.Directory(scheme, name);
      Store().Save(directory);
    }
  }
  int32_t Attach(const char* entry, const char* policy = "staff", const char* directory = "hr",
                 Xo_PolicyResolution_t resolution = Xo_PolicyResolution_User,
                 const char* domain = "sales") {
    return Xo_PolicyApi_AddUsersToPolicy(handle_, domain, policy, directory, entry, resolution);
  }
  int32_t Detach(const char* entry, const char* policy = "staff", const char* directory = "hr") {
    return Xo_PolicyApi_RemoveUsersFromPolicy(handle_, "sales", policy, directory, entry);
  }
  Strings Entries(const char* policy = "staff", const char* directory = "hr") {
    return Each<UserEntryRecord>(
        [&](auto** l) {
          return Xo_PolicyApi_GetPolicyUsers(handle_, "sales", policy, directory, l);
        },
        [](const auto& r) { return std::string(r.entry); });
  }

  OdbcUsers odbc_;
};

TEST_F(PolicyUsersTest, AttachedEntriesListBackAsTheDirectoryNamesThem) {
  ASSERT_EQ(Attach("users/alice"), XO_OK);
  ASSERT_EQ(Attach("groups/staff", "staff", "hr", Xo_PolicyResolution_NestedGroup), XO_OK);
  ASSERT_EQ(Attach("bob"), XO_OK);  // a user's name finds its entry
  const std::vector<UserEntryRecord> found = Listed<UserEntryRecord>(
      [&](auto** l) { return Xo_PolicyApi_GetPolicyUsers(handle_, "sales", "staff", "hr", l); });
  const std::vector<UserEntryRecord> expected = {
      {UserEntryRecordType, "users/alice", "Alice Liddell", 1, nullptr},
      {UserEntryRecordType, "groups/staff", "Staff", 2, nullptr},
      {UserEntryRecordType, "users/bob", "Bob Cratchit", 1, nullptr}};
  ASSERT_EQ(found.size(), expected.size());
  for (size_t i = 0; i < found.size(); ++i) EXPECT_TRUE(SameBytes(found[i], expected[i])) << i;
  // The resolution is kept, though not listed.
  EXPECT_EQ(Rows("SELECT entry, resolution FROM user_policy ORDER BY seq"),
            (Strings{"users/alice|1", "groups/staff|3", "users/bob|1"}));
}

// An entry the directory does not hold is not attached.
TEST_F(PolicyUsersTest, EachAddAttachesAnewAndRemovalTakesOnlyTheMatchingOnes) {
  ASSERT_EQ(Attach("users/alice"), XO_OK);
  ASSERT_EQ(Attach("users/alice"), XO_OK);
  ASSERT_EQ(Attach("users/alice", "guests"), XO_OK);
  ASSERT_EQ(Attach("users/alice", "staff", "hr copy"), XO_OK);
  ASSERT_EQ(Attach("users/alice", "staff", "hr", Xo_PolicyResolution_User, "other"), XO_OK);
  ASSERT_EQ(Attach("users/bob"), XO_OK);
  EXPECT_EQ(Entries(), (Strings{"users/alice", "users/alice", "users/bob"}));

  ASSERT_EQ(Detach("users/alice"), XO_OK);
  EXPECT_EQ(Entries(), Strings{"users/bob"});
  EXPECT_EQ(Entries("guests"), Strings{"users/alice"});
  EXPECT_EQ(Entries("staff", "hr copy"), Strings{"users/alice"});
  EXPECT_EQ(Detach("users/alice"), XO_OK);
  EXPECT_EQ(Attach("users/nobody"), XO_ERR_GENERAL);
  EXPECT_EQ(Rows("SELECT count(*) FROM user_policy"), Strings{"4"});
}

// The domain, then the policy within it, then the directory.
TEST_F(PolicyUsersTest, NamesAreResolvedInTurn) {
  const std::string before = Snapshot();
  UserEntryRecord* list = nullptr;
  for (const auto& [domain, policy, directory, code] :
       {std::tuple{"", "nobody", "nowhere", XO_ERR_EMPTY_NAME},
        {"nowhere", "", "", XO_ERR_GENERAL},
        {"sales", "", "nowhere", XO_ERR_EMPTY_NAME},
        {"sales", "nobody", "", XO_ERR_GENERAL},
        {"sales", "staff", "", XO_ERR_EMPTY_NAME}}) {
    EXPECT_EQ((std::vector<int32_t>{
                  Xo_PolicyApi_AddUsersToPolicy(handle_, domain, policy, directory, "users/alice",
                                                Xo_PolicyResolution_User),
                  Xo_PolicyApi_RemoveUsersFromPolicy(handle_, domain, policy, directory, "bob"),
                  Xo_PolicyApi_GetPolicyUsers(handle_, domain, policy, directory, &list)}),
              std::vector<int32_t>(3, code))
        << domain << "/" << policy << "/" << directory;
  }
  EXPECT_EQ(Snapshot(), before);
}

// Unlike other changes, these stay when the servers cannot be told of them.
TEST_F(PolicyUsersTest, AFailedCacheInvalidationIsReportedButTheChangeStays) {
  Faults().FailAt(StoreOp::InvalidateCache, 1, xo::store::kBusy);
  EXPECT_EQ(Attach("users/alice"), Mapped(xo::store::kBusy));
  EXPECT_EQ(Entries(), Strings{"users/alice"});
  Faults().FailAt(StoreOp::InvalidateCache, 1, xo::store::kBusy);
  EXPECT_EQ(Detach("users/alice"), Mapped(xo::store::kBusy));
  EXPECT_TRUE(Entries().empty());
}

}  // namespace
}  // namespace xo::test
