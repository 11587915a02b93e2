// The attribute values of responses: their order, and which values a removal
// takes.
#include "XoStoreCodes.h"
#include "api/PolicyObjects.h"

namespace xo::test {
namespace {

constexpr auto kAdd = Xo_PolicyApi_AddResponseAttr;
constexpr auto kRemove = Xo_PolicyApi_RemoveResponseAttr;

class ResponseAttrsTest : public PolicyObjectsTest {
 protected:
  int32_t Call(decltype(kAdd) call, const char* name, const char* value,
               const char* response = "welcome") {
    ResponseAttrRecord record{0, "", "", "", 0, 0, nullptr};
    Put(record.attrName, name);
    Put(record.value, value);
    return call(handle_, response, "sales", &record);
  }
  Strings Values(const char* response = "welcome") {
    return Each<ResponseAttrRecord>(
        [&](auto** l) { return Xo_PolicyApi_GetResponseAttrs(handle_, response, "sales", l); },
        [](const auto& r) { return std::string(r.attrName) + "=" + r.value; });
  }
};

TEST_F(ResponseAttrsTest, ValuesListInTheOrderAddedRepeatsIncluded) {
  ASSERT_EQ(Call(kAdd, "Filter-Id", "staff"), XO_OK);
  ASSERT_EQ(Call(kAdd, "Reply-Message", "hello"), XO_OK);
  ASSERT_EQ(Call(kAdd, "Filter-Id", "staff"), XO_OK);
  EXPECT_EQ(Call(kAdd, "No-Such-Attribute", "x"), XO_ERR_GENERAL);
  EXPECT_EQ(Values(), (Strings{"Filter-Id=staff", "Reply-Message=hello", "Filter-Id=staff"}));
}

// A value matches ignoring case; an empty one matches every value.
TEST_F(ResponseAttrsTest, RemovalTakesEveryMatchingValueOfTheAttribute) {
  ASSERT_EQ(Call(kAdd, "Filter-Id", "alpha", "farewell"), XO_OK);
  for (const char* value : {"Alpha", "beta", "ALPHA"}) {
    ASSERT_EQ(Call(kAdd, "Filter-Id", value), XO_OK);
  }
  ASSERT_EQ(Call(kAdd, "Reply-Message", "alpha"), XO_OK);
  EXPECT_EQ(Call(kRemove, "Filter-Id", "alpha"), XO_OK);
  EXPECT_EQ(Values(), (Strings{"Filter-Id=beta", "Reply-Message=alpha"}));
  EXPECT_EQ(Call(kRemove, "Filter-Id", "alph"), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Call(kRemove, "Filter-Id", ""), XO_OK);
  EXPECT_EQ(Call(kRemove, "Filter-Id", ""), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Values(), Strings{"Reply-Message=alpha"});
  EXPECT_EQ(Values("farewell"), Strings{"Filter-Id=alpha"});
}

// Unlike other changes, these stay when the servers cannot be told of them.
TEST_F(ResponseAttrsTest, AFailedCacheInvalidationIsReportedButTheChangeStays) {
  Faults().FailAt(StoreOp::InvalidateCache, 1, xo::store::kBusy);
  EXPECT_EQ(Call(kAdd, "Filter-Id", "staff"), Mapped(xo::store::kBusy));
  EXPECT_EQ(Values(), Strings{"Filter-Id=staff"});
  Faults().FailAt(StoreOp::InvalidateCache, 1, xo::store::kBusy);
  EXPECT_EQ(Call(kRemove, "Filter-Id", "STAFF"), Mapped(xo::store::kBusy));
  EXPECT_TRUE(Values().empty());
}

}  // namespace
}  // namespace xo::test
