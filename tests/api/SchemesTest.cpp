// Authentication schemes: adding and rewriting them, reading and deleting
// them by name.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using xo::store::kTextTooLong;

SchemeRecord Record(const std::string& name) {
  SchemeRecord record;
  std::memset(&record, 0, sizeof record);
  std::strcpy(record.name, name.c_str());
  return record;
}

class SchemesTest : public ApiTest {
 protected:
  CXoObjId AddScheme(const std::string& name, uint8_t update = 0) {
    SchemeRecord record = Record(name);
    EXPECT_EQ(Xo_PolicyApi_AddScheme(handle_, &record, update), 0);
    return CXoObjId(std::string(record.objectId));
  }

  // The returned records, copied byte for byte with their links cleared.
  int32_t GetScheme(PolicyApiSession* handle, const char* name, std::vector<SchemeRecord>& out) {
    SchemeRecord* list = nullptr;
    const int32_t rc = Xo_PolicyApi_GetScheme(handle, name, &list);
    out.clear();
    for (SchemeRecord* record = list; record != nullptr; record = record->next) {
      out.emplace_back();
      std::memcpy(&out.back(), record, sizeof *record);
      out.back().next = nullptr;
    }
    EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), 0);
    return rc;
  }
};

TEST_F(SchemesTest, AddedSchemeReadsBackByteForByte) {
  SchemeRecord record = Record("forms");
  record.recordType = 99;  // not read
  std::strcpy(record.description, "a login page");
  record.schemeInt1 = 7;
  std::strcpy(record.schemeString1, "/login");
  std::memset(record.schemeString2, 's', XO_TEXT_FIELD - 1);
  std::strcpy(record.schemeString3, "ldap");
  record.schemeFlag1 = 1;
  record.schemeFlag2 = 9;  // any non-zero byte is true
  record.schemeInt2 = -1;
  record.schemeFlag4 = 1;
  ASSERT_EQ(Xo_PolicyApi_AddScheme(handle_, &record, 0), 0);
  const std::string id = record.objectId;
  EXPECT_EQ(CXoObjId::ClassOf(id), XoObjId_Scheme);

  // Padding included: every byte not written is zero.
  SchemeRecord expected;
  std::memcpy(&expected, &record, sizeof expected);
  expected.recordType = SchemeRecordType;
  expected.schemeFlag2 = 1;
  std::vector<SchemeRecord> found;
  ASSERT_EQ(GetScheme(handle_, "forms", found), 0);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(std::memcmp(&found[0], &expected, sizeof expected), 0);

  // The built-in scheme is there from the start.
  ASSERT_EQ(GetScheme(handle_, "Basic", found), 0);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].objectId, WellKnownObjectId13.GetOidString());
}

TEST_F(SchemesTest, UpdateRewritesAndDeleteTakesEverySchemeOfTheName) {
  const CXoObjId first = AddScheme("forms");
  SchemeRecord record = Record("forms");
  std::strcpy(record.description, "changed");
  ASSERT_EQ(Xo_PolicyApi_AddScheme(handle_, &record, 1), 0);
  EXPECT_EQ(std::string(record.objectId), first.GetOidString());
  std::memset(record.objectId, 'x', sizeof record.objectId);
  SchemeRecord before;
  std::memcpy(&before, &record, sizeof before);
  EXPECT_EQ(Xo_PolicyApi_AddScheme(handle_, &record, 0), Mapped(xo::store::kNameTaken));
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
  AddScheme("tokens", 1);  // a new name with the flag is simply created

  const CXoObjId second = Duplicate(first);
  std::vector<SchemeRecord> found;
  ASSERT_EQ(GetScheme(handle_, "forms", found), 0);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].objectId, first.GetOidString());
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  EXPECT_STREQ(found[1].description, "changed");

  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(handle_, "forms"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(handle_, "forms"), 0);
  ASSERT_EQ(GetScheme(handle_, "forms", found), 0);
  EXPECT_TRUE(found.empty());
  ASSERT_EQ(GetScheme(handle_, "tokens", found), 0);
  EXPECT_EQ(found.size(), 1u);
}

TEST_F(SchemesTest, ASchemeThatProtectsARealmIsKept) {
  Store().Realm(Store().Domain("sales"), "web");  // protected by "Basic"
  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(handle_, "Basic"), Mapped(xo::store::kInUse));
  EXPECT_EQ(Snapshot(), before);
  ASSERT_EQ(Xo_PolicyApi_DeleteRealm(handle_, "web", "sales"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(handle_, "Basic"), 0);
}

TEST_F(SchemesTest, BadInputAndRights) {
  PolicyApiSession* domainAdmin = LoginAs("dana", XO_ADMIN_DOMAIN);
  const std::string before = Snapshot();
  const std::string longName(2000, 'x');
  SchemeRecord record = Record("new");
  std::memset(record.schemeString3, 't', XO_TEXT_FIELD);  // no terminator
  EXPECT_EQ(Xo_PolicyApi_AddScheme(handle_, &record, 1), Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_AddScheme(handle_, nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetScheme(handle_, "Basic", nullptr), XO_ERR_GENERAL);
  std::vector<SchemeRecord> found;
  EXPECT_EQ(GetScheme(handle_, longName.c_str(), found), Mapped(kTextTooLong));
  EXPECT_EQ(GetScheme(handle_, nullptr, found), 0);
  EXPECT_TRUE(found.empty());
  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(handle_, longName.c_str()), Mapped(kTextTooLong));

  // Schemes are system objects: a domain administrator may not touch them.
  record = Record("new");
  EXPECT_EQ(Xo_PolicyApi_AddScheme(domainAdmin, &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(GetScheme(domainAdmin, "Basic", found), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteScheme(domainAdmin, "Basic"), XO_ERR_GENERAL);
  EXPECT_EQ(record.objectId[0], '\0');
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(SchemesTest, StoreFailuresAreReportedAndChangeNothing) {
  const auto mapped = [](StoreOp op, int) {
    return op == StoreOp::ReadRights ? XO_ERR_GENERAL : Mapped(kBusy);
  };
  SchemeRecord record = Record("forms");
  const auto add = [&](uint8_t update) {
    return SweepStoreFailures(
        StoreOp::Any, kBusy, [&] { return Xo_PolicyApi_AddScheme(handle_, &record, update); },
        [&](StoreOp op, int n) {
          // A failed look-up for the update is passed over.
          return op == StoreOp::Search ? kAbsorbed : mapped(op, n);
        });
  };
  EXPECT_EQ(add(0), 2);
  EXPECT_EQ(add(1), 3);
  EXPECT_EQ(SweepStoreFailures(
                StoreOp::Any, kBusy,
                [&] {
                  std::vector<SchemeRecord> found;
                  return GetScheme(handle_, "forms", found);
                },
                mapped),
            3);
  EXPECT_EQ(
      SweepStoreFailures(
          StoreOp::Any, kBusy, [&] { return Xo_PolicyApi_DeleteScheme(handle_, "forms"); }, mapped),
      3);
}

TEST_F(SchemesTest, AllocationFailuresHandOutNoHalfList) {
  Duplicate(AddScheme("forms"));
  SchemeRecord* untouched = reinterpret_cast<SchemeRecord*>(this);
  EXPECT_EQ(SweepAllocationFailures(
                [&] {
                  SchemeRecord* list = untouched;
                  const int32_t rc = Xo_PolicyApi_GetScheme(handle_, "forms", &list);
                  if (rc == 0) {
                    Xo_PolicyApi_FreeMemory(list);
                  } else {
                    EXPECT_EQ(list, untouched);
                  }
                  return rc;
                },
                XO_ERR_GENERAL),
            2);
}

}  // namespace
}  // namespace xo::test
