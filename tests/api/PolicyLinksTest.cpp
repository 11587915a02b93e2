// The links of a policy to rules and rule groups, each with a response, a
// response group or none.
#include <functional>

#include "api/PolicyObjects.h"

namespace xo::test {
namespace {

constexpr auto kAdd = Xo_PolicyApi_AddPolicyLink;
constexpr auto kSet = Xo_PolicyApi_SetResponseInPolicyLink;

class PolicyLinksTest : public PolicyObjectsTest {
 protected:
  // Adds a link, or sets the response of the links it matches.
  int32_t Call(decltype(kAdd) call, const char* realm, const char* rule,
               const char* response = "") {
    PolicyLinkRecord record{0, "", "", "", "", nullptr};
    Put(record.realmName, realm);
    Put(record.ruleName, rule);
    Put(record.responseName, response);
    return call(handle_, "sales", "staff", &record);
  }
  int32_t Remove(const char* realm, const char* rule) {
    return Xo_PolicyApi_RemoveRuleFromPolicy(handle_, "sales", "staff", realm, rule);
  }
  const std::function<int32_t(PolicyLinkRecord**)> links_ = [this](PolicyLinkRecord** l) {
    return Xo_PolicyApi_GetPolicyLinks(handle_, "sales", "staff", l);
  };
  // Each link as "realm/rule>response".
  Strings Bindings() {
    return Each<PolicyLinkRecord>(links_, [](const auto& r) {
      return std::string(r.realmName) + "/" + r.ruleName + ">" + r.responseName;
    });
  }
};

// A group is bound with a realm too, but reads back without one.
TEST_F(PolicyLinksTest, EachAddMakesALinkThatReadsBackByteForByte) {
  PolicyLinkRecord record{0, "", "web", "get", "welcome", nullptr};
  ASSERT_EQ(Xo_PolicyApi_AddPolicyLink(handle_, "sales", "staff", &record), XO_OK);
  ASSERT_EQ(Call(kAdd, "mail", "all", "greetings"), XO_OK);
  ASSERT_EQ(Call(kAdd, "mail", "get"), XO_OK);
  ASSERT_EQ(Call(kAdd, "web", "get", "welcome"), XO_OK);
  EXPECT_EQ(Call(kAdd, "", "all"), XO_ERR_EMPTY_NAME);
  const std::vector<PolicyLinkRecord> links = Listed<PolicyLinkRecord>(links_);
  ASSERT_EQ(links.size(), 4u);
  record.recordType = PolicyLinkRecordType;
  EXPECT_TRUE(SameBytes(links[0], record));
  EXPECT_EQ(Bindings(),
            (Strings{"web/get>welcome", "/all>greetings", "mail/get>", "web/get>welcome"}));
}

// Any realm of the domain serves to name a group.
TEST_F(PolicyLinksTest, RemovalTakesEveryLinkOfTheRuleOrGroup) {
  for (const char* realm : {"web", "mail", "web"})
    ASSERT_EQ(Call(kAdd, realm, "get", "welcome"), XO_OK);
  ASSERT_EQ(Call(kAdd, "mail", "all"), XO_OK);
  EXPECT_EQ(Remove("web", "get"), XO_OK);
  EXPECT_EQ(Bindings(), (Strings{"mail/get>welcome", "/all>"}));
  EXPECT_EQ(Remove("web", "get"), XO_ERR_LINK_NOT_FOUND);
  EXPECT_EQ(Remove("web", "all"), XO_OK);
  EXPECT_EQ(Bindings(), Strings{"mail/get>welcome"});
  EXPECT_EQ(Remove("mail", "get"), XO_OK);
  EXPECT_EQ(Call(kSet, "mail", "get", "welcome"), XO_ERR_LINK_NOT_FOUND);
}

// Only a response is ever set: the name of a response group changes nothing.
TEST_F(PolicyLinksTest, SetResponseSetsEveryMatchingLink) {
  ASSERT_EQ(Call(kAdd, "web", "get"), XO_OK);
  ASSERT_EQ(Call(kAdd, "web", "all", "greetings"), XO_OK);
  ASSERT_EQ(Call(kAdd, "web", "get", "greetings"), XO_OK);
  ASSERT_EQ(Call(kAdd, "mail", "get"), XO_OK);
  EXPECT_EQ(Call(kSet, "web", "get", "welcome"), XO_OK);
  EXPECT_EQ(Call(kSet, "mail", "all", "welcome"), XO_OK);
  const Strings set = {"web/get>welcome", "/all>welcome", "web/get>welcome", "mail/get>"};
  EXPECT_EQ(Bindings(), set);
  EXPECT_EQ(Call(kSet, "web", "get", "greetings"), XO_OK);
  EXPECT_EQ(Call(kSet, "web", "post", "welcome"), XO_ERR_GENERAL);
  EXPECT_EQ(Bindings(), set);
}

TEST_F(PolicyLinksTest, LinksLyingInAnotherDomainAreNeverReadOrChanged) {
  CXoObjPolicyLink foreign(get_, NullObjectId, staff_, other_);
  Store().Save(foreign);
  const std::string before = Snapshot();
  EXPECT_TRUE(Listed<PolicyLinkRecord>(links_).empty());
  EXPECT_EQ(Remove("web", "get"), XO_ERR_LINK_NOT_FOUND);
  EXPECT_EQ(Call(kSet, "web", "get", "welcome"), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

}  // namespace
}  // namespace xo::test
