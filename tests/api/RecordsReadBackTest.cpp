// Each kind of record added and read back byte for byte, with what the
// library sets itself: the tag, the identifier, fields it does not keep,
// flags as 0 or 1, and the names of what the record refers to.
#include <cstring>

#include "api/PolicyObjects.h"

namespace xo::test {
namespace {

class RecordsReadBackTest : public PolicyObjectsTest {
 protected:
  // Adds `given` and reads the one object of its name back: `expected` with
  // the tag and the new identifier, which the add writes into the record
  // (`writesId`) or leaves alone like every other field. Gives the object as
  // the store holds it.
  template <class Stored, class Record, class Add, class Get>
  Stored ExpectReadBack(Stored stored, Record given, Record expected, bool writesId, Add&& add,
                        Get&& get) {
    Record record = given;
    EXPECT_EQ(add(&record), XO_OK);
    const std::vector<Record> found = Listed<Record>(get);
    EXPECT_EQ(found.size(), 1u);
    if (found.size() != 1) return stored;
    if (writesId) std::strcpy(given.objectId, found[0].objectId);
    EXPECT_TRUE(SameBytes(record, given)) << "the add changed its record";
    expected.recordType = RecordTag<Record>();
    Put(expected.objectId, "");
    ExpectRecord(found[0], expected, stored.GetClass());
    stored.SetOid(CXoObjId(std::string(found[0].objectId)));
    EXPECT_GE(CXoObjStore::Fetch(stored, 0, nullptr, Store().Sid()), 0);
    return stored;
  }
};

// A realm takes its agent type from its agent (here a RADIUS agent group),
// and a rule from its realm; only rules and policies get their identifier
// written into the record.
TEST_F(RecordsReadBackTest, EachKindReadsBackByteForByte) {
  CXoObjDeviceGroup farm("farm", "", WellKnownObjectId16B, {});
  Store().Save(farm);
  RealmRecord realm = Filled<RealmRecord>("docs");
  Put(realm.agentName, "farm");
  Put(realm.schemeName, "Basic");
  Put(realm.parentName, "web");
  realm.realmFlag1 = 1;
  realm.realmInt1 = -7;
  realm.realmInt2 = 3600;
  ExpectReadBack(
      CXoObjRealm(), realm, realm, false,
      [&](auto* r) { return Xo_PolicyApi_AddRealm(handle_, "sales", r, 0); },
      [&](auto** l) { return Xo_PolicyApi_GetRealm(handle_, "docs", "sales", l); });

  RuleRecord rule = Filled<RuleRecord>("get");
  Put(rule.realmName, "docs");
  rule.ruleFlag1 = 2;  // read back as 1
  rule.ruleFlag3 = 1;
  RuleRecord expectedRule = rule;
  std::memset(expectedRule.timeText, 0, XO_TEXT_FIELD);
  expectedRule.ruleFlag1 = 1;
  const CXoObjRule storedRule = ExpectReadBack(
      CXoObjRule(), rule, expectedRule, true,
      [&](auto* r) { return Xo_PolicyApi_AddRule(handle_, "sales", r, 0); },
      [&](auto** l) { return Xo_PolicyApi_GetRule(handle_, "get", "docs", "sales", l); });
  EXPECT_EQ(storedRule.GetAgentTypeOid(), WellKnownObjectId16B);
  EXPECT_TRUE(storedRule.GetTime().IsEmpty());

  PolicyRecord policy = Filled<PolicyRecord>("guests");
  policy.policyFlag = 1;
  const CXoObjPolicy storedPolicy = ExpectReadBack(
      CXoObjPolicy(), policy, policy, true,
      [&](auto* r) { return Xo_PolicyApi_AddPolicy(handle_, "sales", r, 0); },
      [&](auto** l) { return Xo_PolicyApi_GetPolicy(handle_, "guests", "sales", l); });
  EXPECT_TRUE(storedPolicy.GetEnabled());
  EXPECT_TRUE(storedPolicy.GetTime().IsEmpty());

  ResponseRecord response = Filled<ResponseRecord>("denied");
  Put(response.agentTypeName, "RADIUS Agent");
  const CXoObjResponse stored = ExpectReadBack(
      CXoObjResponse(), response, response, false,
      [&](auto* r) { return Xo_PolicyApi_AddResponse(handle_, "sales", r, 0); },
      [&](auto** l) { return Xo_PolicyApi_GetResponse(handle_, "denied", "sales", l); });
  EXPECT_EQ(stored.GetAgentTypeOid(), WellKnownObjectId16B);
  EXPECT_TRUE(stored.Flag(CXoObjResponse::Flag1) && stored.Flag(CXoObjResponse::Flag2) &&
              stored.Flag(CXoObjResponse::Flag3));

  ResponseAttrRecord attr = Filled<ResponseAttrRecord>("");
  Put(attr.attrName, "Filter-Id");
  attr.attrInt1 = 7;
  attr.attrInt2 = -3;
  ExpectReadBack(
      CXoObjResponseAttr(), attr, attr, false,
      [&](auto* r) { return Xo_PolicyApi_AddResponseAttr(handle_, "welcome", "sales", r); },
      [&](auto** l) { return Xo_PolicyApi_GetResponseAttrs(handle_, "welcome", "sales", l); });

  GroupRecord group = Filled<GroupRecord>("staff");
  Put(group.vendorName, "RADIUS Agent");
  for (const auto& kind : {std::pair{XO_GROUP_RULE, XoObjId_RuleGroup},
                           {XO_GROUP_RESPONSE, XoObjId_ResponseGroup},
                           {XO_GROUP_AGENT, XoObjId_DeviceGroup}}) {
    ExpectReadBack(
        CXoObjBase(kind.second), group, group, false,
        [&](auto* r) { return Xo_PolicyApi_AddGroup(handle_, kind.first, "sales", r, 0); },
        [&](auto** l) { return Xo_PolicyApi_GetGroup(handle_, kind.first, "staff", "sales", l); });
  }
}

}  // namespace
}  // namespace xo::test
