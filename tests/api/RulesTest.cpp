// Rules: adding and rewriting them within a realm, reading and deleting them
// by domain, realm and name.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"

namespace xo::test {
namespace {

using xo::store::kTextTooLong;

RuleRecord Record(const std::string& name, const std::string& realm) {
  RuleRecord record = Zeroed<RuleRecord>();
  Put(record.name, name);
  Put(record.realmName, realm);
  return record;
}

class RulesTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    // Typed by RADIUS, so that a rule's type visibly comes from its realm.
    CXoObjRealm realm("web", "", "", Store().Agent("gateway"), WellKnownObjectId16B,
                      WellKnownObjectId13, false, false, false, {}, {}, 0, 0, sales_, false,
                      sales_);
    realm_ = Store().Save(realm);
  }

  CXoObjId AddRule(const std::string& name, uint8_t update = 0) {
    RuleRecord record = Record(name, "web");
    EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, update), 0);
    return CXoObjId(std::string(record.objectId));
  }
  int32_t GetRule(const std::string& name, std::vector<RuleRecord>& out) {
    return CallGet(
        [&](RuleRecord** list) {
          return Xo_PolicyApi_GetRule(handle_, name.c_str(), "web", "sales", list);
        },
        out);
  }

  CXoObjId realm_;
};

TEST_F(RulesTest, AddedRuleReadsBackByteForByte) {
  RuleRecord record = Record("get", "web");
  record.recordType = 99;  // neither the tag nor the time text is read
  Put(record.description, "reading pages");
  Put(record.ruleText1, "GET");
  Put(record.ruleText2, "/docs/*");
  Put(record.timeText, "mon-fri");
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
  Put(record.description, "changed");
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
  const CXoObjId other = Store().Rule(sales_, Store().Realm(sales_, "mail"), "get");

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
    Put(record.realmName, realm);
    const int32_t expected = *realm ? XO_ERR_GENERAL : XO_ERR_EMPTY_NAME;
    EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 1), expected) << realm;
    EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, "get", realm, "sales"), expected) << realm;
    RuleRecord* list = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetRule(handle_, "get", realm, "sales", &list), expected) << realm;
    EXPECT_EQ(list, nullptr);
  }
  std::memset(record.realmName, 'r', sizeof record.realmName);  // no terminator
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 0), XO_ERR_REALM_SEARCH);
  Put(record.realmName, "web");
  std::memset(record.ruleText2, 't', sizeof record.ruleText2);
  EXPECT_EQ(Xo_PolicyApi_AddRule(handle_, "sales", &record, 1), Mapped(kTextTooLong));

  std::vector<RuleRecord> found;
  EXPECT_EQ(GetRule(longName, found), Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_GetRule(handle_, "get", "web", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, longName.c_str(), "web", "sales"), XO_ERR_RULE_SEARCH);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(handle_, nullptr, "web", "sales"), XO_ERR_RULE_SEARCH);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(RulesTest, RightsFollowTheDomain) {
  CXoObjId adminId;
  PolicyApiSession* ownAdmin = LoginAs("dana", XO_ADMIN_DOMAIN, &adminId);
  Store().AppendToDomainList(sales_, CXoObjDomain::Admins, adminId);
  PolicyApiSession* otherAdmin = LoginAs("omar", XO_ADMIN_DOMAIN, &adminId);
  Store().AppendToDomainList(Store().Domain("support"), CXoObjDomain::Admins, adminId);

  RuleRecord record = Record("get", "web");
  RuleRecord* list = nullptr;
  EXPECT_EQ(Xo_PolicyApi_AddRule(otherAdmin, "sales", &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetRule(otherAdmin, "get", "web", "sales", &list), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(otherAdmin, "get", "web", "sales"), XO_ERR_GENERAL);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(Xo_PolicyApi_AddRule(ownAdmin, "sales", &record, 0), 0);
  EXPECT_EQ(Xo_PolicyApi_GetRule(ownAdmin, "get", "web", "sales", &list), 0);
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteRule(ownAdmin, "get", "web", "sales"), 0);
}

TEST_F(RulesTest, StoreAndAllocationFailuresAreReportedAndChangeNothing) {
  // The domain's search, the realm's, the rights; a realm that cannot be
  // fetched is -1; a failed look-up for the update is passed over.
  const std::vector<Answer> opening = {{StoreOp::Search, 0, XO_ERR_DOMAIN_SEARCH},
                                       {StoreOp::SearchMultiple, 1, XO_ERR_REALM_SEARCH}};
  const auto with = [&](std::vector<Answer> more) {
    more.insert(more.end(), opening.begin(), opening.end());
    return more;
  };
  RuleRecord record = Record("get", "web");
  for (uint8_t update : {0, 1}) {
    EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddRule(handle_, "sales", &record, update); },
                        with({{StoreOp::Fetch, 0, XO_ERR_GENERAL},
                              {StoreOp::SearchMultiple, 2, kAbsorbed}})),
              5 + update);
  }

  Duplicate(CXoObjId(std::string(record.objectId)));
  std::vector<RuleRecord> found;
  // The second fetch of each rule reads its realm's name.
  EXPECT_EQ(SweepBusy([&] { return GetRule("get", found); },
                      [&](StoreOp op, int n) {
                        if (op == StoreOp::Fetch && n % 2 == 0) return XO_ERR_GENERAL;
                        return Answers(opening)(op, n);
                      }),
            8);
  EXPECT_EQ(SweepListAllocations<RuleRecord>([&](RuleRecord** list) {
              return Xo_PolicyApi_GetRule(handle_, "get", "web", "sales", list);
            }),
            2);
  // A search that fails finds nothing to delete.
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_DeleteRule(handle_, "get", "web", "sales"); },
                      with({{StoreOp::SearchMultiple, 2, XO_ERR_RULE_SEARCH},
                            {StoreOp::Delete, 2, kAbsorbed}})),
            6);
}

}  // namespace
}  // namespace xo::test
