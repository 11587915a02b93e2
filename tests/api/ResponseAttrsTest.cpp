// The attribute values of responses: adding, removing and reading them.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using Strings = std::vector<std::string>;

ResponseAttrRecord Record(const std::string& name, const std::string& value, int32_t int1 = 0,
                          int32_t int2 = 0) {
  ResponseAttrRecord record = Zeroed<ResponseAttrRecord>();
  std::strcpy(record.attrName, name.c_str());
  std::strcpy(record.value, value.c_str());
  record.attrInt1 = int1;
  record.attrInt2 = int2;
  return record;
}

class ResponseAttrsTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    Store().Response(sales_, "other");
    Store().Response(sales_, "welcome");
  }
  int32_t Add(const char* response, const std::string& name, const std::string& value) {
    ResponseAttrRecord record = Record(name, value);
    return Xo_PolicyApi_AddResponseAttr(handle_, response, "sales", &record);
  }
  int32_t Remove(const std::string& name, const std::string& value) {
    ResponseAttrRecord record = Record(name, value);
    return Xo_PolicyApi_RemoveResponseAttr(handle_, "welcome", "sales", &record);
  }
  int32_t Get(const char* response, std::vector<ResponseAttrRecord>* found = nullptr) {
    std::vector<ResponseAttrRecord> ignored;
    return CallGet(
        [&](ResponseAttrRecord** list) {
          return Xo_PolicyApi_GetResponseAttrs(handle_, response, "sales", list);
        },
        found != nullptr ? *found : ignored);
  }
  Strings Values(const char* response = "welcome") {
    std::vector<ResponseAttrRecord> found;
    EXPECT_EQ(Get(response, &found), 0);
    Strings values;
    for (const ResponseAttrRecord& r : found)
      values.push_back(std::string(r.attrName) + "=" + r.value);
    return values;
  }

  // Searches in order: the domain, the response, the dictionary attribute
  // (then a fetch of it), the domain's attribute values. The cache
  // invalidation follows a change that stays.
  static int32_t Answer(StoreOp op, int n) {
    if (op == StoreOp::ReadRights) return XO_ERR_GENERAL;
    if (op == StoreOp::InvalidateCache) return kAbsorbed;
    if (op == StoreOp::Search && n <= 3) {
      return n == 1   ? XO_ERR_DOMAIN_SEARCH
             : n == 2 ? XO_ERR_RESPONSE_SEARCH
                      : XO_ERR_RESPONSE_ATTR_SEARCH;
    }
    return op == StoreOp::Fetch && n == 1 ? XO_ERR_RESPONSE_ATTR_SEARCH : Mapped(kBusy);
  }
};

TEST_F(ResponseAttrsTest, ValuesReadBackByteForByteInTheOrderAdded) {
  ResponseAttrRecord record = Record("Filter-Id", "staff", 7, -3);
  ASSERT_EQ(Xo_PolicyApi_AddResponseAttr(handle_, "welcome", "sales", &record), 0);
  EXPECT_EQ(record.objectId[0], '\0');
  ASSERT_EQ(Add("other", "Filter-Id", "guests"), 0);
  ASSERT_EQ(Add("welcome", "Reply-Message", "hello"), 0);
  ASSERT_EQ(Add("welcome", "Filter-Id", "staff"), 0);

  std::vector<ResponseAttrRecord> found;
  ASSERT_EQ(Get("welcome", &found), 0);
  ASSERT_EQ(found.size(), 3u);
  ResponseAttrRecord expected = Record("Filter-Id", "staff", 7, -3);
  expected.recordType = ResponseAttrRecordType;
  std::strcpy(expected.objectId, found[0].objectId);
  EXPECT_EQ(std::memcmp(&found[0], &expected, sizeof expected), 0);
  EXPECT_EQ(CXoObjId::ClassOf(found[0].objectId), XoObjId_ResponseAttr);
  EXPECT_EQ(Values(), (Strings{"Filter-Id=staff", "Reply-Message=hello", "Filter-Id=staff"}));
  EXPECT_EQ(Values("other"), Strings{"Filter-Id=guests"});
}

TEST_F(ResponseAttrsTest, RemovalMatchesTheValueIgnoringCaseOrEveryValue) {
  ASSERT_EQ(Add("other", "Filter-Id", "alpha"), 0);
  for (const char* value : {"Alpha", "beta", "ALPHA"}) {
    ASSERT_EQ(Add("welcome", "Filter-Id", value), 0);
  }
  ASSERT_EQ(Add("welcome", "Reply-Message", "alpha"), 0);

  EXPECT_EQ(Remove("Filter-Id", "alpha"), 0);
  EXPECT_EQ(Values(), (Strings{"Filter-Id=beta", "Reply-Message=alpha"}));
  EXPECT_EQ(Remove("Filter-Id", "alph"), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Remove("Filter-Id", ""), 0);
  EXPECT_EQ(Remove("Filter-Id", ""), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Values(), Strings{"Reply-Message=alpha"});
  EXPECT_EQ(Values("other"), Strings{"Filter-Id=alpha"});
}

TEST_F(ResponseAttrsTest, AFailedCacheInvalidationIsReportedButTheChangeStays) {
  Faults().FailAt(StoreOp::InvalidateCache, 1, kBusy);
  EXPECT_EQ(Add("welcome", "Filter-Id", "staff"), Mapped(kBusy));
  EXPECT_EQ(Values(), Strings{"Filter-Id=staff"});
  Faults().FailAt(StoreOp::InvalidateCache, 1, kBusy);
  EXPECT_EQ(Remove("Filter-Id", "STAFF"), Mapped(kBusy));
  EXPECT_TRUE(Values().empty());
}

TEST_F(ResponseAttrsTest, RefusedCallsChangeNothing) {
  ASSERT_EQ(Add("welcome", "Filter-Id", "staff"), 0);
  CXoObjId danaId;
  PolicyApiSession* dana = LoginAs("dana", XO_ADMIN_DOMAIN, &danaId);
  Store().AppendToDomainList(Store().Domain("elsewhere"), CXoObjDomain::Admins, danaId);
  ResponseAttrRecord record = Record("Filter-Id", "staff");
  ResponseAttrRecord longValue = Record("Filter-Id", "");
  std::memset(longValue.value, 'v', sizeof longValue.value);
  ResponseAttrRecord longName = Record("", "");
  std::memset(longName.attrName, 'n', sizeof longName.attrName);

  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_AddResponseAttr(dana, "welcome", "sales", &record), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_RemoveResponseAttr(dana, "welcome", "sales", &record), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetResponseAttrs(dana, "welcome", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_RemoveResponseAttr(handle_, "welcome", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_AddResponseAttr(handle_, nullptr, "sales", &record), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Get("nobody"), XO_ERR_GENERAL);
  EXPECT_EQ(Add("welcome", "", "x"), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Add("welcome", "No-Such-Attribute", "x"), XO_ERR_GENERAL);
  EXPECT_EQ(Remove("Class", ""), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Xo_PolicyApi_AddResponseAttr(handle_, "welcome", "sales", &longValue),
            Mapped(xo::store::kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_RemoveResponseAttr(handle_, "welcome", "sales", &longName),
            XO_ERR_RESPONSE_ATTR_SEARCH);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(ResponseAttrsTest, StoreAndAllocationFailures) {
  EXPECT_EQ(SweepBusy([&] { return Add("welcome", "Filter-Id", "staff"); }, Answer), 7);
  ASSERT_EQ(Remove("Filter-Id", ""), 0);
  // The other response's value is read first and left alone.
  ASSERT_EQ(Add("other", "Filter-Id", "guests"), 0);
  ASSERT_EQ(Add("welcome", "Filter-Id", "staff"), 0);
  EXPECT_EQ(SweepBusy([&] { return Remove("Filter-Id", "staff"); }, Answer), 10);

  // Each of the response's values costs a fetch of the value and one of its
  // dictionary attribute's name; the other response's value only the first.
  ASSERT_EQ(Add("welcome", "Filter-Id", "a"), 0);
  ASSERT_EQ(Add("welcome", "Reply-Message", "b"), 0);
  EXPECT_EQ(SweepBusy([&] { return Get("welcome"); },
                      [](StoreOp op, int n) {
                        if (op == StoreOp::Search && n == 3) return Mapped(kBusy);
                        if (op != StoreOp::Fetch) return Answer(op, n);
                        return n == 3 || n == 5 ? XO_ERR_GENERAL : Mapped(kBusy);
                      }),
            9);
  EXPECT_EQ(SweepAllocationFailures([&] { return Get("welcome"); }, XO_ERR_GENERAL), 2);
}

}  // namespace
}  // namespace xo::test
