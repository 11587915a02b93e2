// Directory entries attached to policies, looked up in an SQLite users
// database reached through ODBC.
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

UserEntryRecord Entry(const std::string& entry, const std::string& detail, int32_t kind) {
  UserEntryRecord record{};
  record.recordType = UserEntryRecordType;
  std::strcpy(record.entry, entry.c_str());
  std::strcpy(record.entryDetail, detail.c_str());
  record.entryKind = kind;
  return record;
}

class PolicyUsersTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    Store().Policy(sales_, "staff");
    Store().Policy(sales_, "guests");
    CXoObjODBCQuery queries = odbc_.QueryScheme();
    const CXoObjId scheme = Store().Save(queries);
    for (const char* name : {"hr", "hr copy"}) {
      CXoObjUserDirectory directory = odbc_.Directory(scheme, name);
      Store().Save(directory);
    }
  }
  int32_t Attach(const char* entry, const char* policy = "staff", const char* directory = "hr",
                 Xo_PolicyResolution_t resolution = Xo_PolicyResolution_User) {
    return Xo_PolicyApi_AddUsersToPolicy(handle_, "sales", policy, directory, entry, resolution);
  }
  int32_t Detach(const char* entry, const char* policy = "staff", const char* directory = "hr") {
    return Xo_PolicyApi_RemoveUsersFromPolicy(handle_, "sales", policy, directory, entry);
  }
  int32_t List(std::vector<UserEntryRecord>& out, const char* policy = "staff",
               const char* directory = "hr", const char* domain = "sales") {
    return CallGet(
        [&](UserEntryRecord** list) {
          return Xo_PolicyApi_GetPolicyUsers(handle_, domain, policy, directory, list);
        },
        out);
  }
  std::vector<std::string> Entries(const char* policy = "staff", const char* directory = "hr") {
    std::vector<UserEntryRecord> records;
    EXPECT_EQ(List(records, policy, directory), 0);
    std::vector<std::string> entries;
    for (const UserEntryRecord& r : records) entries.push_back(r.entry);
    return entries;
  }
  std::vector<std::string> Attachments() {
    return QueryStoreFile(StorePath(), "SELECT entry, resolution FROM user_policy ORDER BY seq");
  }

  OdbcUsers odbc_;
};

TEST_F(PolicyUsersTest, AttachedEntriesListBackByteForByte) {
  ASSERT_EQ(Attach("users/alice"), 0);
  ASSERT_EQ(Attach("groups/staff", "staff", "hr", Xo_PolicyResolution_NestedGroup), 0);
  ASSERT_EQ(Attach("bob"), 0);  // a user's name finds its entry
  std::vector<UserEntryRecord> found;
  ASSERT_EQ(List(found), 0);
  const std::vector<UserEntryRecord> expected = {Entry("users/alice", "Alice Liddell", 1),
                                                 Entry("groups/staff", "Staff", 2),
                                                 Entry("users/bob", "Bob Cratchit", 1)};
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    EXPECT_EQ(std::memcmp(&found[i], &expected[i], sizeof expected[i]), 0) << found[i].entry;
  }
  EXPECT_EQ(Attachments(),
            (std::vector<std::string>{"users/alice|1", "groups/staff|3", "users/bob|1"}));
  EXPECT_EQ(QueryStoreFile(StorePath(), "SELECT admin, operation FROM xo_audit WHERE class = 18"),
            std::vector<std::string>(3, "sysadmin|create"));
}

TEST_F(PolicyUsersTest, EachAddAttachesAnewAndRemovalTakesOnlyTheMatchingOnes) {
  ASSERT_EQ(Attach("users/alice"), 0);
  ASSERT_EQ(Attach("users/alice"), 0);
  ASSERT_EQ(Attach("users/alice", "guests"), 0);
  ASSERT_EQ(Attach("users/alice", "staff", "hr copy"), 0);
  const CXoObjId support = Store().Domain("support");
  Store().Policy(support, "staff");
  ASSERT_EQ(Xo_PolicyApi_AddUsersToPolicy(handle_, "support", "staff", "hr", "users/alice",
                                          Xo_PolicyResolution_User),
            0);
  EXPECT_EQ(Entries(), (std::vector<std::string>{"users/alice", "users/alice"}));

  ASSERT_EQ(Detach("users/alice"), 0);
  EXPECT_TRUE(Entries().empty());
  EXPECT_EQ(Entries("guests"), std::vector<std::string>{"users/alice"});
  EXPECT_EQ(Entries("staff", "hr copy"), std::vector<std::string>{"users/alice"});
  EXPECT_EQ(Attachments().size(), 3u);

  const std::string before = Snapshot();
  EXPECT_EQ(Detach("users/alice"), 0);
  EXPECT_EQ(Detach("users/nobody"), 0);
  EXPECT_EQ(Detach(nullptr), 0);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(PolicyUsersTest, AnEntryTheDirectoryDoesNotHoldIsRefused) {
  CXoObjUserDirectory closed =
      LdapServer::DirectoryAt("ldap://127.0.0.1:" + std::to_string(ClosedPort()), "closed");
  closed.Set(CXoObjUserDirectory::Int2, int32_t{2});
  Store().Save(closed);
  const std::string before = Snapshot();
  EXPECT_EQ(Attach("users/nobody"), XO_ERR_GENERAL);
  EXPECT_EQ(Attach(""), XO_ERR_GENERAL);
  EXPECT_EQ(Attach("users/alice", "staff", "closed"), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(PolicyUsersTest, NamesAreResolvedInTurnWithTheirCodes) {
  Duplicate(Store().Policy(sales_, "twin"));
  const std::string longName(1100, 'n');
  std::vector<UserEntryRecord> found;
  const std::string before = Snapshot();
  EXPECT_EQ(List(found, "staff", "hr", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(List(found, "staff", "hr", "unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(List(found, "staff", "hr", longName.c_str()), XO_ERR_DOMAIN_SEARCH);
  EXPECT_EQ(Attach("users/alice", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Attach("users/alice", "twin"), XO_ERR_GENERAL);
  EXPECT_EQ(Attach("users/alice", longName.c_str()), XO_ERR_POLICY_SEARCH);
  EXPECT_EQ(Detach("users/alice", "staff", nullptr), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Detach("users/alice", "staff", "unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(Detach("users/alice", "staff", longName.c_str()), XO_ERR_USERDIR_SEARCH);
  EXPECT_EQ(Xo_PolicyApi_GetPolicyUsers(handle_, "sales", "staff", "hr", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(PolicyUsersTest, AFailedCacheInvalidationIsReportedButTheAttachmentStays) {
  Faults().FailAt(StoreOp::InvalidateCache, 1, kBusy);
  EXPECT_EQ(Attach("users/alice"), Mapped(kBusy));
  EXPECT_EQ(Entries(), std::vector<std::string>{"users/alice"});
  Faults().FailAt(StoreOp::InvalidateCache, 1, kBusy);
  EXPECT_EQ(Detach("users/alice"), Mapped(kBusy));
  EXPECT_TRUE(Entries().empty());
}

TEST_F(PolicyUsersTest, StoreAndAllocationFailuresAreReported) {
  // Searches 1 to 3 resolve the domain, the policy and the directory.
  const auto expect = [](StoreOp op, int n) {
    if (op == StoreOp::ReadRights) return XO_ERR_GENERAL;
    if (op == StoreOp::Search && n <= 3) {
      return std::vector<int32_t>{XO_ERR_DOMAIN_SEARCH, XO_ERR_POLICY_SEARCH,
                                  XO_ERR_USERDIR_SEARCH}[n - 1];
    }
    // The directory cannot be read without its query scheme.
    if (op == StoreOp::FetchWithoutSession) return XO_ERR_GENERAL;
    // Once the attachment is saved or one deleted, the store has changed.
    if (op == StoreOp::InvalidateCache) return kAbsorbed;
    return Mapped(kBusy);
  };
  std::vector<UserEntryRecord> found;
  EXPECT_EQ(SweepBusy([&] { return Attach("users/alice"); }, expect), 8);
  EXPECT_EQ(SweepBusy([&] { return Detach("users/alice"); }, expect), 8);
  ASSERT_EQ(Attach("users/alice"), 0);
  ASSERT_EQ(Attach("users/bob"), 0);
  ASSERT_EQ(Attach("users/alice", "guests"), 0);
  // The listing fetches only the two attachments of this policy, not the
  // third one of "guests" in the same domain.
  EXPECT_EQ(SweepBusy([&] { return List(found); }, expect), 7);
  EXPECT_EQ(SweepAllocationFailures([&] { return List(found); }, XO_ERR_GENERAL), 2);
}

}  // namespace
}  // namespace xo::test
