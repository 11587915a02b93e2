// Reading many objects: a walk that announces the objects it is about to
// fetch gets them read in chunks, and a read snapshot keeps one view of the
// store across reads. What they give must still be what plain fetches would.
#include <gtest/gtest.h>

#include "StoreFixture.h"
#include "XoStoreCodes.h"

namespace xo::test {
namespace {

class ReadAheadTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    domain_ = S().Domain("D");
    realm_ = S().Realm(domain_, "r");
    // More rules than one chunk reads, so that a walk crosses chunks.
    for (int i = 0; i < 150; ++i) rules_.push_back(S().Rule(domain_, realm_, Name(i)));
  }
  void TearDown() override {
    CXoObjStore::ExpectFetches({}, Sid());
    StoreTest::TearDown();
  }
  static std::string Name(int i) { return "rule-" + std::to_string(i); }
  std::string FetchedName(const CXoObjId& id, const std::string& sid, int32_t* result = nullptr) {
    CXoObjRule rule(id);
    const int32_t fetched = CXoObjStore::Fetch(rule, 0, nullptr, sid);
    if (result) *result = fetched;
    return fetched >= 0 ? rule.GetName() : "";
  }

  CXoObjId domain_;
  CXoObjId realm_;
  CXoObjIdArray rules_;
};

TEST_F(ReadAheadTest, AWalkGetsEveryObjectWholeInAnyOrder) {
  CXoObjStore::ExpectFetches(rules_, Sid());
  for (int i = 0; i < 150; ++i) {
    CXoObjRule rule(rules_[i]);
    ASSERT_GE(CXoObjStore::Fetch(rule, 0, nullptr, Sid()), 0) << i;
    EXPECT_EQ(rule.GetName(), Name(i));
    EXPECT_TRUE(rule.GetRealmOid().IsEqual(realm_));
  }
  // Out of order, twice the same, and one that was never announced.
  EXPECT_EQ(FetchedName(rules_[7], Sid()), Name(7));
  EXPECT_EQ(FetchedName(rules_[140], Sid()), Name(140));
  EXPECT_EQ(FetchedName(rules_[7], Sid()), Name(7));
  CXoObjRealm realm(realm_);
  EXPECT_GE(CXoObjStore::Fetch(realm, 0, nullptr, Sid()), 0);
  EXPECT_EQ(realm.GetName(), "r");

  // One property at a time, as a listing of names reads them.
  CXoObjStore::ExpectFetches(rules_, Sid());
  for (int i : {0, 1, 149, 2}) {
    CXoObjRule rule(rules_[i]);
    XoPropValue name;
    ASSERT_GE(CXoObjStore::FetchProperty(rule, CXoObjRule::Name, &name, Sid()), 0);
    EXPECT_EQ(std::get<std::string>(name), Name(i));
  }
}

TEST_F(ReadAheadTest, TheSessionsOwnChangesAreSeenAtOnce) {
  CXoObjStore::ExpectFetches(rules_, Sid());
  EXPECT_EQ(FetchedName(rules_[0], Sid()), Name(0));  // reads the first chunk

  ASSERT_GE(CXoObjStore::SaveProperty(rules_[1], CXoObjRule::Name, std::string("renamed"), Sid()),
            0);
  EXPECT_EQ(FetchedName(rules_[1], Sid()), "renamed");
  ASSERT_GE(CXoObjStore::Delete(rules_[2], Sid()), 0);
  int32_t result = 0;
  FetchedName(rules_[2], Sid(), &result);
  EXPECT_EQ(result, xo::store::kNotFound);
}

TEST_F(ReadAheadTest, ObjectsGoneBeforeTheirChunkIsReadAreNotFound) {
  CXoObjStore::ExpectFetches(rules_, Sid());
  DirectStore other("root", "secret");
  ASSERT_GE(CXoObjStore::Delete(rules_[130], other.Sid()), 0);
  ASSERT_GE(CXoObjStore::SaveProperty(rules_[131], CXoObjRule::Name, std::string("new name"),
                                      other.Sid()),
            0);

  EXPECT_EQ(FetchedName(rules_[129], Sid()), Name(129));
  int32_t result = 0;
  FetchedName(rules_[130], Sid(), &result);
  EXPECT_EQ(result, xo::store::kNotFound);
  EXPECT_EQ(FetchedName(rules_[131], Sid()), "new name");
}

TEST_F(ReadAheadTest, AnEndedWalkReadsTheStoreAgain) {
  CXoObjStore::ExpectFetches(rules_, Sid());
  EXPECT_EQ(FetchedName(rules_[0], Sid()), Name(0));
  DirectStore other("root", "secret");
  ASSERT_GE(
      CXoObjStore::SaveProperty(rules_[3], CXoObjRule::Name, std::string("changed"), other.Sid()),
      0);
  CXoObjStore::ExpectFetches({}, Sid());
  EXPECT_EQ(FetchedName(rules_[3], Sid()), "changed");
}

TEST_F(ReadAheadTest, ASnapshotHoldsOneViewUntilTheSessionWritesOrEndsIt) {
  DirectStore other("root", "secret");
  CXoObjStore::BeginReadSnapshot(Sid());
  EXPECT_EQ(FetchedName(rules_[0], Sid()), Name(0));
  ASSERT_GE(
      CXoObjStore::SaveProperty(rules_[1], CXoObjRule::Name, std::string("other's"), other.Sid()),
      0);
  EXPECT_EQ(FetchedName(rules_[1], Sid()), Name(1));

  // A write ends the snapshot: it works on the latest state, and so does
  // every read after it.
  ASSERT_GE(CXoObjStore::SaveProperty(rules_[2], CXoObjRule::Name, std::string("mine"), Sid()), 0);
  EXPECT_EQ(FetchedName(rules_[1], Sid()), "other's");
  EXPECT_EQ(FetchedName(rules_[2], Sid()), "mine");
  CXoObjStore::EndReadSnapshot(Sid());

  CXoObjStore::BeginReadSnapshot(Sid());
  EXPECT_EQ(FetchedName(rules_[3], Sid()), Name(3));
  ASSERT_GE(CXoObjStore::Delete(rules_[3], other.Sid()), 0);
  CXoObjStore::EndReadSnapshot(Sid());
  int32_t result = 0;
  FetchedName(rules_[3], Sid(), &result);
  EXPECT_EQ(result, xo::store::kNotFound);

  // Inside a transaction of the session's own the snapshot changes nothing.
  ASSERT_GE(CXoObjStore::BeginTransaction(Sid()), 0);
  CXoObjStore::BeginReadSnapshot(Sid());
  ASSERT_GE(CXoObjStore::SaveProperty(rules_[4], CXoObjRule::Name, std::string("in tx"), Sid()), 0);
  CXoObjStore::EndReadSnapshot(Sid());
  EXPECT_EQ(FetchedName(rules_[4], Sid()), "in tx");
  ASSERT_GE(CXoObjStore::RollbackTransaction(Sid()), 0);
  EXPECT_EQ(FetchedName(rules_[4], Sid()), Name(4));
}

}  // namespace
}  // namespace xo::test
