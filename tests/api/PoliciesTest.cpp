// Policies: adding, rewriting, reading and deleting them.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"

namespace xo::test {
namespace {

PolicyRecord Record(const char* name, const char* description = "", uint8_t flag = 0) {
  PolicyRecord record = Zeroed<PolicyRecord>();
  std::strcpy(record.name, name);
  std::strcpy(record.description, description);
  std::strcpy(record.policyText1, "one");
  record.policyFlag = flag;
  std::strcpy(record.policyText2, "two");
  return record;
}

class PoliciesTest : public SalesApiTest {
 protected:
  CXoObjId Add(PolicyRecord record, uint8_t update = 0) {
    EXPECT_EQ(Xo_PolicyApi_AddPolicy(handle_, "sales", &record, update), 0);
    return CXoObjId(std::string(record.objectId));
  }
  int32_t Get(const char* name, std::vector<PolicyRecord>* found = nullptr) {
    std::vector<PolicyRecord> ignored;
    return CallGet(
        [&](PolicyRecord** list) { return Xo_PolicyApi_GetPolicy(handle_, name, "sales", list); },
        found != nullptr ? *found : ignored);
  }
};

TEST_F(PoliciesTest, AddedPolicyReadsBackByteForByteAndIsAlwaysEnabled) {
  const CXoObjId id = Add(Record("staff", "all staff", 1));
  CXoObjPolicy stored;
  ASSERT_TRUE(Store().Load(id, stored));
  EXPECT_TRUE(stored.GetEnabled());
  EXPECT_TRUE(stored.GetTime().IsEmpty());
  EXPECT_EQ(stored.GetDomainOid(), sales_);

  std::vector<PolicyRecord> found;
  ASSERT_EQ(Get("staff", &found), 0);
  ASSERT_EQ(found.size(), 1u);
  PolicyRecord expected = Record("staff", "all staff", 1);
  expected.recordType = PolicyRecordType;
  std::strcpy(expected.objectId, id.GetOidString().c_str());
  EXPECT_EQ(std::memcmp(&found[0], &expected, sizeof expected), 0);
}

TEST_F(PoliciesTest, UpdateRewritesByNameAndEveryPolicyOfANameIsReadAndDeleted) {
  const CXoObjId id = Add(Record("staff", "old", 1));
  EXPECT_EQ(Add(Record("staff", "new"), 1), id);
  EXPECT_NE(Add(Record("guests"), 1), id);
  PolicyRecord taken = Record("staff");
  EXPECT_EQ(Xo_PolicyApi_AddPolicy(handle_, "sales", &taken, 0), Mapped(xo::store::kNameTaken));

  const CXoObjId twin = Duplicate(id);
  CXoObjPolicyLink link(Store().Rule(sales_, Store().Realm(sales_, "web"), "get"), NullObjectId, id,
                        sales_);
  Store().Save(link);
  std::vector<PolicyRecord> found;
  ASSERT_EQ(Get("staff", &found), 0);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_STREQ(found[0].description, "new");
  EXPECT_EQ(found[0].policyFlag, 0);
  EXPECT_EQ(found[1].objectId, twin.GetOidString());

  EXPECT_EQ(Xo_PolicyApi_DeletePolicy(handle_, "nothing", "sales"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeletePolicy(handle_, "staff", "sales"), 0);
  for (const CXoObjId& gone : {id, twin, link.GetOid()}) EXPECT_FALSE(Store().Exists(gone));
  found.clear();
  EXPECT_EQ(Get("staff", &found), 0);
  EXPECT_TRUE(found.empty());
}

// Policies and responses alike.
TEST_F(PoliciesTest, RefusedCallsChangeNothing) {
  Add(Record("staff"));
  ResponseRecord response = Zeroed<ResponseRecord>();
  Put(response.name, "welcome");
  Put(response.agentTypeName, "HTTP Agent");
  ASSERT_EQ(Xo_PolicyApi_AddResponse(handle_, "sales", &response, 0), 0);
  CXoObjId danaId;
  PolicyApiSession* dana = LoginAs("dana", XO_ADMIN_DOMAIN, &danaId);
  Store().AppendToDomainList(Store().Domain("other"), CXoObjDomain::Admins, danaId);
  PolicyRecord record = Record("new");
  PolicyRecord unterminated = Record("new");
  std::memset(unterminated.policyText2, 't', sizeof unterminated.policyText2);
  Put(response.name, "new");
  const auto addResponse = [&](void (*change)(ResponseRecord&)) {
    ResponseRecord changed = response;
    change(changed);
    return Xo_PolicyApi_AddResponse(handle_, "sales", &changed, 0);
  };
  const std::string longName(1500, 'n');

  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_AddPolicy(dana, "sales", &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeletePolicy(dana, "staff", "sales"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetPolicy(dana, "staff", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_AddResponse(dana, "sales", &response, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteResponse(dana, "welcome", "sales"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetResponse(dana, "welcome", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_AddPolicy(handle_, "sales", nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_AddResponse(handle_, "sales", nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_AddPolicy(handle_, nullptr, &record, 0), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Xo_PolicyApi_AddResponse(handle_, "", &response, 0), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Xo_PolicyApi_AddPolicy(handle_, "unknown", &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(addResponse([](ResponseRecord& r) { Put(r.agentTypeName, ""); }), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(addResponse([](ResponseRecord& r) { Put(r.agentTypeName, "Telnet Agent"); }),
            XO_ERR_GENERAL);
  EXPECT_EQ(addResponse([](ResponseRecord& r) { Unterminated(r.description); }),
            Mapped(xo::store::kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_AddPolicy(handle_, "sales", &unterminated, 1),
            Mapped(xo::store::kTextTooLong));
  EXPECT_EQ(Get(longName.c_str()), Mapped(xo::store::kTextTooLong));
  std::vector<ResponseRecord> responses;
  EXPECT_EQ(CallGet(
                [&](ResponseRecord** list) {
                  return Xo_PolicyApi_GetResponse(handle_, longName.c_str(), "sales", list);
                },
                responses),
            Mapped(xo::store::kTextTooLong));
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(record.objectId[0], '\0');
}

TEST_F(PoliciesTest, StoreAndAllocationFailures) {
  // The domain's search comes first, then the rights.
  const Answer domainSearch = {StoreOp::Search, 1, XO_ERR_DOMAIN_SEARCH};
  PolicyRecord record = Record("staff");
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddPolicy(handle_, "sales", &record, 0); },
                      {domainSearch}),
            3);
  // A failed look-up for the update leaves the policy new.
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddPolicy(handle_, "sales", &record, 1); },
                      {domainSearch, {StoreOp::Search, 2, kAbsorbed}}),
            4);
  Duplicate(CXoObjId(std::string(record.objectId)));
  EXPECT_EQ(SweepBusy([&] { return Get("staff"); }, {domainSearch}), 5);
  EXPECT_EQ(SweepAllocationFailures([&] { return Get("staff"); }, XO_ERR_GENERAL), 2);
  // What was deleted before a failed delete stays deleted.
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_DeletePolicy(handle_, "staff", "sales"); },
                      {domainSearch, {StoreOp::Delete, 2, kAbsorbed}}),
            5);
}

}  // namespace
}  // namespace xo::test
