// ODBC query schemes: creating, replacing, reading and deleting them.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

using Schemes = std::vector<OdbcQuerySchemeRecord>;

OdbcQuerySchemeRecord Record(const std::string& name, const std::string& description = "") {
  OdbcQuerySchemeRecord record{};
  Put(record.name, name);
  Put(record.description, description);
  return record;
}

class OdbcQuerySchemesTest : public ApiTest {
 protected:
  int32_t Create(OdbcQuerySchemeRecord record, uint8_t update = 0) {
    return Xo_PolicyApi_CreateODBCQueryScheme(handle_, &record, update);
  }
  int32_t Get(const char* name, Schemes& found) {
    return CallGet(
        [&](OdbcQuerySchemeRecord** list) {
          return Xo_PolicyApi_GetODBCQueryScheme(handle_, name, list);
        },
        found);
  }
  Schemes Get(const char* name) {
    Schemes found;
    EXPECT_EQ(Get(name, found), 0);
    return found;
  }
};

TEST_F(OdbcQuerySchemesTest, CreatedSchemeReadsBackByteForByteAndTheRecordIsNotWritten) {
  OdbcQuerySchemeRecord record = Record("users db", "the HR database");
  for (int i = 0; i < 15; ++i) {
    std::snprintf(record.query[i], sizeof record.query[i], "SELECT %d FROM users WHERE name = ?",
                  i);
  }
  std::memset(record.query[14], 'q', 1023);
  ExpectAddedAsGiven(
      record, [&](auto* r) { return Xo_PolicyApi_CreateODBCQueryScheme(handle_, r, 0); },
      [&](auto** list) { return Xo_PolicyApi_GetODBCQueryScheme(handle_, "users db", list); },
      OdbcQuerySchemeRecordType, XoObjId_ODBCQuery);
}

TEST_F(OdbcQuerySchemesTest, UpdateReplacesTheSchemeOfTheNameOrCreatesOne) {
  ASSERT_EQ(Create(Record("hr", "old")), 0);
  const std::string oid = Get("hr")[0].objectId;
  EXPECT_EQ(Create(Record("hr", "again")), Mapped(xo::store::kNameTaken));
  ASSERT_EQ(Create(Record("hr", "new"), 1), 0);
  const Schemes found = Get("hr");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].objectId, oid);
  EXPECT_STREQ(found[0].description, "new");
  ASSERT_EQ(Create(Record("fresh"), 1), 0);
  ASSERT_EQ(Xo_PolicyApi_DeleteODBCQueryScheme(handle_, "fresh"), 0);
  EXPECT_EQ(
      QueryStoreFile(StorePath(),
                     "SELECT admin, operation, name FROM xo_audit WHERE class = 19 ORDER BY seq"),
      (std::vector<std::string>{"sysadmin|create|hr", "sysadmin|update|hr", "sysadmin|create|fresh",
                                "sysadmin|delete|fresh"}));
}

TEST_F(OdbcQuerySchemesTest, GetAndDeleteTakeEverySchemeOfTheName) {
  const CXoObjId first = Store().OdbcQuery("twin");
  const CXoObjId second = Duplicate(first);
  const Schemes found = Get("twin");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].objectId, first.GetOidString());
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  EXPECT_TRUE(Get("unknown").empty());
  EXPECT_TRUE(Get(nullptr).empty());

  EXPECT_EQ(Xo_PolicyApi_DeleteODBCQueryScheme(handle_, "unknown"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteODBCQueryScheme(handle_, "twin"), 0);
  EXPECT_FALSE(Store().Exists(first));
  EXPECT_FALSE(Store().Exists(second));
}

TEST_F(OdbcQuerySchemesTest, DeletingASchemeThatADirectoryNamesIsNotRefused) {
  const CXoObjId scheme = Store().OdbcQuery("hr");
  CXoObjUserDirectory directory("hr users", "", "ODBC:", "", "", "", "", "", "", 0, 0, 0, false,
                                false, "", "", scheme, "", "", "", "", "");
  const CXoObjId directoryId = Store().Save(directory);
  EXPECT_EQ(Xo_PolicyApi_DeleteODBCQueryScheme(handle_, "hr"), 0);
  EXPECT_FALSE(Store().Exists(scheme));
  ASSERT_TRUE(Store().Load(directoryId, directory));
  EXPECT_TRUE(directory.GetQuerySchemeOid().IsOidNull());
}

TEST_F(OdbcQuerySchemesTest, BadInputGivesClearCodesAndChangesNothing) {
  OdbcQuerySchemeRecord unterminated = Record("hr");
  std::memset(unterminated.query[3], 'u', sizeof unterminated.query[3]);
  const std::string before = Snapshot();
  EXPECT_EQ(Create(unterminated), Mapped(xo::store::kTextTooLong));
  EXPECT_EQ(Create(Record("")), Mapped(xo::store::kNameRequired));
  EXPECT_EQ(Xo_PolicyApi_CreateODBCQueryScheme(handle_, nullptr, 1), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetODBCQueryScheme(handle_, "hr", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(OdbcQuerySchemesTest, StoreAndAllocationFailuresAreReportedAndChangeNothing) {
  EXPECT_EQ(SweepBusy([&] { return Create(Record("hr")); }), 2);
  // With the update flag a failed look-up of the name only means a new scheme.
  EXPECT_EQ(SweepBusy([&] { return Create(Record("hr", "changed"), 1); },
                      {{StoreOp::Search, 0, kAbsorbed}}),
            3);
  Duplicate(Store().OdbcQuery("twin"));
  Schemes found;
  EXPECT_EQ(SweepBusy([&] { return Get("twin", found); }), 4);
  EXPECT_EQ(SweepAllocationFailures([&] { return Get("twin", found); }, XO_ERR_GENERAL), 2);
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_DeleteODBCQueryScheme(handle_, "hr"); }), 3);
}

}  // namespace
}  // namespace xo::test
