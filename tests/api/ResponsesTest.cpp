// Responses: adding, rewriting, reading and deleting them.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"

namespace xo::test {
namespace {

ResponseRecord Record(const char* name, const char* description = "",
                      const char* agentType = "HTTP Agent") {
  ResponseRecord record = Zeroed<ResponseRecord>();
  std::strcpy(record.name, name);
  std::strcpy(record.description, description);
  std::strcpy(record.agentTypeName, agentType);
  return record;
}

class ResponsesTest : public SalesApiTest {
 protected:
  int32_t Add(ResponseRecord record, uint8_t update = 0) {
    return Xo_PolicyApi_AddResponse(handle_, "sales", &record, update);
  }
  int32_t Get(const char* name, std::vector<ResponseRecord>* found = nullptr) {
    std::vector<ResponseRecord> ignored;
    return CallGet(
        [&](ResponseRecord** list) {
          return Xo_PolicyApi_GetResponse(handle_, name, "sales", list);
        },
        found != nullptr ? *found : ignored);
  }
  CXoObjId IdOf(const char* name) {
    std::vector<ResponseRecord> found;
    EXPECT_EQ(Get(name, &found), 0);
    return found.empty() ? CXoObjId() : CXoObjId(std::string(found[0].objectId));
  }
};

TEST_F(ResponsesTest, AddedResponseReadsBackByteForByte) {
  ExpectAddedAsGiven(
      Record("welcome", "greets", "RADIUS Agent"),
      [&](ResponseRecord* r) { return Xo_PolicyApi_AddResponse(handle_, "sales", r, 0); },
      [&](ResponseRecord** list) {
        return Xo_PolicyApi_GetResponse(handle_, "welcome", "sales", list);
      },
      ResponseRecordType, XoObjId_Response);
  CXoObjResponse stored;
  ASSERT_TRUE(Store().Load(IdOf("welcome"), stored));
  EXPECT_EQ(stored.GetAgentTypeOid(), WellKnownObjectId16B);
  EXPECT_EQ(stored.GetDomainOid(), sales_);
  EXPECT_TRUE(stored.Flag(CXoObjResponse::Flag1) && stored.Flag(CXoObjResponse::Flag2) &&
              stored.Flag(CXoObjResponse::Flag3));
}

TEST_F(ResponsesTest, UpdateRewritesOnlyAResponseOfTheNameAndKeepsItsAttributes) {
  ASSERT_EQ(Add(Record("welcome", "old")), 0);
  const CXoObjId id = IdOf("welcome");
  CXoObjResponseAttr attr("staff", Store().DictionaryAttr("Custom"), id, 0, 0, sales_);
  Store().Save(attr);
  EXPECT_EQ(Add(Record("welcome")), Mapped(xo::store::kNameTaken));
  ASSERT_EQ(Add(Record("welcome", "new", "RADIUS Agent"), 1), 0);
  std::vector<ResponseRecord> found;
  ASSERT_EQ(Get("welcome", &found), 0);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].objectId, id.GetOidString());
  EXPECT_STREQ(found[0].agentTypeName, "RADIUS Agent");
  EXPECT_TRUE(Store().Exists(attr.GetOid()));

  // The attribute list may be empty, or reported absent.
  ASSERT_EQ(Add(Record("bare")), 0);
  EXPECT_EQ(Add(Record("bare", "still bare"), 1), 0);
  Faults().FailAt(StoreOp::FetchProperty, 1, xo::store::kPropertyAbsent);
  EXPECT_EQ(Add(Record("bare", "absent list"), 1), 0);

  // A name held by no response, or by two, creates nothing.
  Duplicate(id);
  const std::string before = Snapshot();
  EXPECT_EQ(Add(Record("unknown"), 1), XO_ERR_RESPONSE_SEARCH);
  EXPECT_EQ(Add(Record("welcome"), 1), XO_ERR_RESPONSE_SEARCH);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(ResponsesTest, EveryResponseOfTheNameIsReadAndDeletedWithItsAttributes) {
  ASSERT_EQ(Add(Record("welcome")), 0);
  const CXoObjId first = IdOf("welcome");
  CXoObjResponseAttr attr("staff", Store().DictionaryAttr("Custom"), first, 0, 0, sales_);
  Store().Save(attr);
  const CXoObjId second = Duplicate(first);
  std::vector<ResponseRecord> found;
  ASSERT_EQ(Get("welcome", &found), 0);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  EXPECT_STREQ(found[1].agentTypeName, "HTTP Agent");

  EXPECT_EQ(Xo_PolicyApi_DeleteResponse(handle_, "nothing", "sales"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteResponse(handle_, "welcome", "sales"), 0);
  for (const CXoObjId& gone : {first, second, attr.GetOid()}) EXPECT_FALSE(Store().Exists(gone));
}

TEST_F(ResponsesTest, StoreAndAllocationFailures) {
  // The searches give their own codes in call order.
  const Answer domainSearch = {StoreOp::Search, 1, XO_ERR_DOMAIN_SEARCH};
  const std::vector<Answer> adding = {domainSearch,
                                      {StoreOp::Search, 2, XO_ERR_AGENT_TYPE_SEARCH},
                                      {StoreOp::Search, 3, XO_ERR_RESPONSE_SEARCH}};
  ResponseRecord record = Record("welcome");
  for (uint8_t update : {0, 1}) {
    EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddResponse(handle_, "sales", &record, update); },
                        adding),
              update ? 6 : 4);
  }

  Duplicate(IdOf("welcome"));
  // Each response is followed by its agent type, which reads as an empty
  // name when it cannot be fetched.
  EXPECT_EQ(SweepBusy([&] { return Get("welcome"); },
                      [&](StoreOp op, int n) {
                        return op == StoreOp::Fetch && n % 2 == 0 ? 0
                                                                  : Answers({domainSearch})(op, n);
                      }),
            7);
  EXPECT_EQ(SweepAllocationFailures([&] { return Get("welcome"); }, XO_ERR_GENERAL), 2);
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_DeleteResponse(handle_, "welcome", "sales"); },
                      {domainSearch, {StoreOp::Delete, 2, kAbsorbed}}),
            5);
}

}  // namespace
}  // namespace xo::test
