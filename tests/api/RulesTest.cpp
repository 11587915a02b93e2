// Rules: adding and rewriting them within a realm, reading and deleting them
// by domain, realm and name.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "frame/Memory.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using xo::store::kTextTooLong;

RuleRecord Record(const std::string& name, const std::string& realm) {
  RuleRecord record;
  std::memset(&record, 0, sizeof record);
  std::strcpy(record.name, name.c_str());
  std::strcpy(record.realmName, realm.c_str());
  return record;
}

class RulesTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    domain_ = Store().Domain("sales");
    // Typed by RADIUS, so that a rule's type visibly comes from its realm.
    CXoObjRealm realm("web", "", "", Store().Agent("gateway"), WellKnownObjectId16B,
                      WellKnownObjectId13, false, false, false, {}, {}, 0, 0, domain_, false,
                      domain_);
    realm_ = Store().Save(realm);
  }

  CXoObjId AddRule(const std::string& name, uint8_t update = 0) {
    RuleRecord record = Record(name, "web");
    EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, update), 0);
    return CXoObjId(std::string(record.objectId));
  }

  // The returned records, copied byte for byte with their links cleared.
  int32_t GetRule(const std::string& name, std::vector<RuleRecord>& out,
                  const char* realm = "web") {
    RuleRecord* list = nullptr;
    const int32_t rc = Xo_PolicyApi_GetRule(handle_, name.c_str(), realm, "sales", &list);
    out.clear();
    for (RuleRecord* record = list; record != nullptr; record = record->next) {
      out.emplace_back();
      std::memcpy(&out.back(), record, sizeof *record);
      out.back().next = nullptr;
    }
    EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), 0);
    return rc;
  }

  CXoObjId domain_;
  CXoObjId realm_;
};

TEST_F(RulesTest, AddedRuleReadsBackByteForByte) {
  RuleRecord record = Record("get", "web");
  record.recordType = 99;  // neither the tag nor the time text is read
  std::strcpy(record.description, "reading pages");
  std::strcpy(record.ruleText1, "GET");
  std::strcpy(record.ruleText2, "/docs/*");
  std::strcpy(record.timeText, "mon-fri");
  std::memset(record.ruleText3, 't', XO_TEXT_FIELD - 1);
  record.ruleFlag1 = 1;
  record.ruleFlag3 = 7;
  ASSERT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 0), 0);
  const CXoObjId id(std::string(record.objectId));
  EXPECT_EQ(id.GetOidClass(), XoObjId_Rule);

  CXoObjRule stored;
  ASSERT_TRUE(Store().Load(id, stored));
  EXPECT_EQ(stored.GetAgentTypeOid(), WellKnownObjectId16B);
  EXPECT_TRUE(stored.GetTime().IsEmpty());

  RuleRecord expected = record;
  expected.recordType = RuleRecordType;
  std::memset(expected.timeText, 0, sizeof expected.timeText);
  expected.ruleFlag3 = 1;
  std::vector<RuleRecord> found;
  ASSERT_EQ(GetRule("get", found), 0);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(std::memcmp(&found[0], &expected, sizeof expected), 0);
}

TEST_F(RulesTest, UpdateRewritesTheOneRuleOfTheName) {
  const CXoObjId first = AddRule("get");
  RuleRecord record = Record("get", "web");
  std::strcpy(record.description, "changed");
  ASSERT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 1), 0);
  EXPECT_EQ(std::string(record.objectId), first.GetOidString());
  std::vector<RuleRecord> found;
  ASSERT_EQ(GetRule("get", found), 0);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_STREQ(found[0].description, "changed");

  // Without the flag a taken name is refused and the record left alone.
  std::memset(record.objectId, 'x', sizeof record.objectId);
  const RuleRecord before = record;
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 0), Mapped(xo::store::kNameTaken));
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
  // A name no rule has is created.
  AddRule("post", 1);
  ASSERT_EQ(GetRule("post", found), 0);
  EXPECT_EQ(found.size(), 1u);
}

TEST_F(RulesTest, RulesOfOneNameAreAllReadAndAllDeleted) {
  const CXoObjId first = AddRule("get");
  const CXoObjId second = Duplicate(first);
  // Two holders of the name: the update cannot pick one and makes a third.
  const CXoObjId third = AddRule("get", 1);
  EXPECT_FALSE(third == first || third == second);
  // The same name in another realm stays apart.
  const CXoObjId other = Store().Rule(domain_, Store().Realm(domain_, "mail"), "get");

  std::vector<RuleRecord> found;
  ASSERT_EQ(GetRule("get", found), 0);
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[0].objectId, first.GetOidString());
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  EXPECT_EQ(found[2].objectId, third.GetOidString());
  EXPECT_STREQ(found[1].realmName, "web");

  EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, "get", "web", "sales"), 0);
  ASSERT_EQ(GetRule("get", found), 0);
  EXPECT_TRUE(found.empty());
  EXPECT_TRUE(Store().Exists(other));
  // Nothing left to delete is an error here.
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, "get", "web", "sales"), XO_ERR_RULE_SEARCH);
}

TEST_F(RulesTest, NamesThatDoNotResolveAndBadInput) {
  AddRule("get");
  const std::string before = Snapshot();
  const std::string longName(2000, 'x');
  RuleRecord record = Record("new", "web");
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "", &record, 0), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "nowhere", &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", nullptr, 0), XO_ERR_GENERAL);
  for (const char* realm : {"", "mail"}) {
    std::strcpy(record.realmName, realm);
    const int32_t expected = *realm ? XO_ERR_GENERAL : XO_ERR_EMPTY_NAME;
    EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 1), expected) << realm;
    EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, "get", realm, "sales"), expected) << realm;
    RuleRecord* list = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetRule(handle_, "get", realm, "sales", &list), expected) << realm;
    EXPECT_EQ(list, nullptr);
  }
  std::memset(record.realmName, 'r', sizeof record.realmName);  // no terminator
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 0), XO_ERR_REALM_SEARCH);
  std::strcpy(record.realmName, "web");
  std::memset(record.ruleText2, 't', sizeof record.ruleText2);
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 1), Mapped(kTextTooLong));

  std::vector<RuleRecord> found;
  EXPECT_EQ(GetRule(longName, found), Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_GetRule(handle_, "get", "web", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, longName.c_str(), "web", "sales"), XO_ERR_RULE_SEARCH);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, nullptr, "web", "sales"), XO_ERR_RULE_SEARCH);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(RulesTest, HandlesWithoutSessionAndRights) {
  // The store message allocation of Login fails: a live handle, no session.
  PolicyApiSession* sessionless = nullptr;
  xo::frame::FailAllocationAt(2);
  EXPECT_EQ(Login(kAdmin, kPassword, &sessionless), XO_ERR_GENERAL);
  xo::frame::FailAllocationAt(0);
  CXoObjId adminId;
  PolicyApiSession* ownAdmin = LoginAs("dana", XO_ADMIN_DOMAIN, &adminId);
  Store().AppendToDomainList(domain_, CXoObjDomain::Admins, adminId);
  PolicyApiSession* otherAdmin = LoginAs("omar", XO_ADMIN_DOMAIN, &adminId);
  Store().AppendToDomainList(Store().Domain("support"), CXoObjDomain::Admins, adminId);

  RuleRecord record = Record("get", "web");
  RuleRecord* list = nullptr;
  EXPECT_EQ(Xo_PolicyApi_AddRule(sessionless, "sales", &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetRule(sessionless, "get", "web", "sales", &list), XO_ERR_BAD_HANDLE);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(sessionless, "get", "web", "sales"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetRule(nullptr, "get", "web", "sales", &list), XO_ERR_BAD_HANDLE);

  EXPECT_EQ(Xo_PolicyApi_AddRule(otherAdmin, "sales", &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetRule(otherAdmin, "get", "web", "sales", &list), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(otherAdmin, "get", "web", "sales"), XO_ERR_GENERAL);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(Xo_PolicyApi_AddRule(ownAdmin, "sales", &record, 0), 0);
  EXPECT_EQ(Xo_PolicyApi_GetRule(ownAdmin, "get", "web", "sales", &list), 0);
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(ownAdmin, "get", "web", "sales"), 0);
}

TEST_F(RulesTest, StoreFailuresAreReportedAndChangeNothing) {
  const auto opening = [](StoreOp op, int n) {
    if (op == StoreOp::Search) return XO_ERR_DOMAIN_SEARCH;
    if (op == StoreOp::SearchMultiple && n == 1) return XO_ERR_REALM_SEARCH;
    if (op == StoreOp::ReadRights) return XO_ERR_GENERAL;
    return Mapped(kBusy);
  };
  // A realm that cannot be fetched is -1; a failed look-up for the update
  // is passed over.
  RuleRecord record = Record("get", "web");
  const auto add = [&](uint8_t update) {
    return SweepStoreFailures(
        StoreOp::Any, kBusy,
        [&] { return Xo_PolicyApi_AddRule(handle_, "sales", &record, update); },
        [&](StoreOp op, int n) {
          if (op == StoreOp::Fetch) return XO_ERR_GENERAL;
          if (op == StoreOp::SearchMultiple && n == 2) return kAbsorbed;
          return opening(op, n);
        });
  };
  EXPECT_EQ(add(0), 5);
  EXPECT_EQ(add(1), 6);

  Duplicate(CXoObjId(std::string(record.objectId)));
  EXPECT_EQ(SweepStoreFailures(
                StoreOp::Any, kBusy,
                [&] {
                  std::vector<RuleRecord> found;
                  return GetRule("get", found);
                },
                [&](StoreOp op, int n) {
                  // The second fetch reads the rule's realm name.
                  if (op == StoreOp::Fetch && n % 2 == 0) return XO_ERR_GENERAL;
                  return opening(op, n);
                }),
            8);
  // A search that fails finds nothing to delete.
  EXPECT_EQ(SweepStoreFailures(
                StoreOp::Any, kBusy,
                [&] { return Xo_PolicyApi_DeleteRule(handle_, "get", "web", "sales"); },
                [&](StoreOp op, int n) {
                  if (op == StoreOp::SearchMultiple && n == 2) return XO_ERR_RULE_SEARCH;
                  if (op == StoreOp::Delete && n == 2) return kAbsorbed;
                  return opening(op, n);
                }),
            6);
}

TEST_F(RulesTest, AllocationFailuresHandOutNoHalfList) {
  Duplicate(AddRule("get"));
  RuleRecord* untouched = reinterpret_cast<RuleRecord*>(this);
  EXPECT_EQ(SweepAllocationFailures(
                [&] {
                  RuleRecord* list = untouched;
                  const int32_t rc = Xo_PolicyApi_GetRule(handle_, "get", "web", "sales", &list);
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
