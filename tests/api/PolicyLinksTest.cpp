// The links of a policy to rules, rule groups, responses and response groups.
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using Strings = std::vector<std::string>;

// A text of 1024 bytes or more fills its field with no terminator.
void Put(char (&field)[XO_TEXT_FIELD], const std::string& text) {
  std::memcpy(field, text.data(), std::min(text.size(), sizeof field));
}

PolicyLinkRecord Link(const std::string& realm, const std::string& rule,
                      const std::string& response = "") {
  PolicyLinkRecord record;
  std::memset(&record, 0, sizeof record);
  Put(record.realmName, realm);
  Put(record.ruleName, rule);
  Put(record.responseName, response);
  return record;
}

// The domain's and the policy's searches, the realm's, then the rule's, which
// falls back on a rule group that is not there; the rights give -1 and any
// other failure is mapped.
std::vector<StoreAnswer> LinkAnswers(std::vector<StoreAnswer> more) {
  more.insert(more.end(), {{StoreOp::Search, 1, XO_ERR_DOMAIN_SEARCH},
                           {StoreOp::Search, 2, XO_ERR_POLICY_SEARCH},
                           {StoreOp::SearchMultiple, 1, XO_ERR_REALM_SEARCH},
                           {StoreOp::SearchMultiple, 2, XO_ERR_GENERAL}});
  return more;
}

class PolicyLinksTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    rule_ = Store().Rule(sales_, Store().Realm(sales_, "web"), "get");
    Store().Rule(sales_, Store().Realm(sales_, "mail"), "get");
    Store().RuleGroup(sales_, "all rules");
    Store().Response(sales_, "welcome");
    Store().ResponseGroup(sales_, "greetings");
    policy_ = Store().Policy(sales_, "staff");
  }
  int32_t Add(const std::string& realm, const std::string& rule, const std::string& response = "",
              const char* policy = "staff") {
    PolicyLinkRecord record = Link(realm, rule, response);
    const int32_t rc = Xo_PolicyApi_AddPolicyLink(handle_, "sales", policy, &record);
    EXPECT_EQ(CXoObjId::ClassOf(record.objectId), rc == 0 ? XoObjId_PolicyLink : XoObjId_None);
    return rc;
  }
  int32_t Remove(const char* realm, const char* rule) {
    return Xo_PolicyApi_RemoveRuleFromPolicy(handle_, "sales", "staff", realm, rule);
  }
  int32_t SetResponse(const char* realm, const char* rule, const char* response) {
    PolicyLinkRecord record = Link(realm, rule, response);
    return Xo_PolicyApi_SetResponseInPolicyLink(handle_, "sales", "staff", &record);
  }
  // The caller's pointer must be left alone on failure.
  int32_t Get(std::vector<PolicyLinkRecord>* found = nullptr) {
    PolicyLinkRecord* const untouched = reinterpret_cast<PolicyLinkRecord*>(this);
    PolicyLinkRecord* list = untouched;
    const int32_t rc = Xo_PolicyApi_GetPolicyLinks(handle_, "sales", "staff", &list);
    if (rc != 0) {
      EXPECT_EQ(list, untouched);
      return rc;
    }
    for (PolicyLinkRecord* r = list; found != nullptr && r != nullptr; r = r->next) {
      found->push_back(*r);
      found->back().next = nullptr;
    }
    return Xo_PolicyApi_FreeMemory(list);
  }
  // Each link as "realm/rule>response".
  Strings Bindings() {
    std::vector<PolicyLinkRecord> found;
    EXPECT_EQ(Get(&found), 0);
    Strings bindings;
    for (const PolicyLinkRecord& r : found) {
      bindings.push_back(std::string(r.realmName) + "/" + r.ruleName + ">" + r.responseName);
    }
    return bindings;
  }

  CXoObjId rule_, policy_;
};

TEST_F(PolicyLinksTest, LinksReadBackByteForByte) {
  PolicyLinkRecord record = Link("web", "get", "welcome");
  ASSERT_EQ(Xo_PolicyApi_AddPolicyLink(handle_, "sales", "staff", &record), 0);
  CXoObjPolicyLink stored;
  ASSERT_TRUE(Store().Load(CXoObjId(std::string(record.objectId)), stored));
  EXPECT_EQ(stored.GetRuleOid(), rule_);
  EXPECT_EQ(stored.GetPolicyOid(), policy_);
  EXPECT_EQ(stored.GetDomainOid(), sales_);
  ASSERT_EQ(Add("web", "all rules", "greetings"), 0);
  ASSERT_EQ(Add("mail", "get"), 0);

  std::vector<PolicyLinkRecord> found;
  ASSERT_EQ(Get(&found), 0);
  ASSERT_EQ(found.size(), 3u);
  record.recordType = PolicyLinkRecordType;
  EXPECT_EQ(std::memcmp(&found[0], &record, sizeof record), 0);
  EXPECT_EQ(Bindings(), (Strings{"web/get>welcome", "/all rules>greetings", "mail/get>"}));
}

TEST_F(PolicyLinksTest, RemovalDeletesEveryLinkOfTheRuleOrGroup) {
  EXPECT_EQ(Remove("web", "get"), XO_ERR_LINK_NOT_FOUND);
  for (const char* realm : {"web", "mail", "web"}) ASSERT_EQ(Add(realm, "get", "welcome"), 0);
  ASSERT_EQ(Add("mail", "all rules"), 0);
  EXPECT_EQ(Remove("web", "get"), 0);
  EXPECT_EQ(Bindings(), (Strings{"mail/get>welcome", "/all rules>"}));
  EXPECT_EQ(Remove("web", "get"), XO_ERR_LINK_NOT_FOUND);
  // The realm is required, but any realm of the domain serves for a group.
  EXPECT_EQ(Remove("", "all rules"), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Remove("web", "all rules"), 0);
  EXPECT_EQ(Bindings(), Strings{"mail/get>welcome"});
}

TEST_F(PolicyLinksTest, SetResponseChangesEveryMatchingLinkButOnlyToAResponse) {
  ASSERT_EQ(Add("web", "get"), 0);
  ASSERT_EQ(Add("web", "all rules", "greetings"), 0);
  ASSERT_EQ(Add("web", "get", "greetings"), 0);
  EXPECT_EQ(SetResponse("web", "get", "welcome"), 0);
  EXPECT_EQ(Bindings(), (Strings{"web/get>welcome", "/all rules>greetings", "web/get>welcome"}));

  const std::string before = Snapshot();
  EXPECT_EQ(SetResponse("web", "all rules", "greetings"), 0);
  EXPECT_EQ(SetResponse("web", "get", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(SetResponse("web", "get", "unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(SetResponse("mail", "get", "welcome"), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
  ASSERT_EQ(Remove("web", "get"), 0);
  ASSERT_EQ(Remove("web", "all rules"), 0);
  EXPECT_EQ(SetResponse("web", "get", "welcome"), XO_ERR_LINK_NOT_FOUND);
}

TEST_F(PolicyLinksTest, LinksLyingInAnotherDomainAreNeverReadOrChanged) {
  CXoObjPolicyLink foreign(rule_, NullObjectId, policy_, Store().Domain("other"));
  Store().Save(foreign);
  const std::string before = Snapshot();
  EXPECT_TRUE(Bindings().empty());
  EXPECT_EQ(Remove("web", "get"), XO_ERR_LINK_NOT_FOUND);
  EXPECT_EQ(SetResponse("web", "get", "welcome"), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(PolicyLinksTest, DeletedResponsesLeaveNoResponseAndDeletedPoliciesNoLinks) {
  PolicyLinkRecord record = Link("web", "get", "welcome");
  ASSERT_EQ(Xo_PolicyApi_AddPolicyLink(handle_, "sales", "staff", &record), 0);
  ASSERT_EQ(Xo_PolicyApi_DeleteResponse(handle_, "welcome", "sales"), 0);
  EXPECT_EQ(Bindings(), Strings{"web/get>"});
  ASSERT_EQ(Xo_PolicyApi_DeletePolicy(handle_, "staff", "sales"), 0);
  EXPECT_FALSE(Store().Exists(CXoObjId(std::string(record.objectId))));
  EXPECT_TRUE(Store().Exists(rule_));
}

TEST_F(PolicyLinksTest, RefusedCallsChangeNothing) {
  ASSERT_EQ(Add("web", "get"), 0);
  CXoObjId danaId;
  PolicyApiSession* dana = LoginAs("dana", XO_ADMIN_DOMAIN, &danaId);
  Store().AppendToDomainList(Store().Domain("other"), CXoObjDomain::Admins, danaId);
  PolicyLinkRecord record = Link("web", "get", "welcome");
  const std::string longName(1100, 'n');

  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_AddPolicyLink(dana, "sales", "staff", &record), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_SetResponseInPolicyLink(dana, "sales", "staff", &record), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_RemoveRuleFromPolicy(dana, "sales", "staff", "web", "get"),
            XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetPolicyLinks(dana, "sales", "staff", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_AddPolicyLink(handle_, "sales", "staff", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_SetResponseInPolicyLink(handle_, "sales", "staff", nullptr),
            XO_ERR_GENERAL);
  EXPECT_EQ(Add("web", "get", "", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Add("web", "get", "", "unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(Add("unknown", "get"), XO_ERR_GENERAL);
  EXPECT_EQ(Add(longName, "get"), XO_ERR_REALM_SEARCH);
  EXPECT_EQ(Add("web", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Add("web", "unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(Add("web", longName), XO_ERR_GROUP_SEARCH);
  EXPECT_EQ(Add("web", "get", "unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(Add("web", "get", longName), XO_ERR_GROUP_SEARCH);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(PolicyLinksTest, StoreAndAllocationFailures) {
  // Then the response's search, which falls back on a group that is not there.
  EXPECT_EQ(SweepBusy([&] { return Add("web", "get", "welcome"); },
                      LinkAnswers({{StoreOp::Search, 3, XO_ERR_GENERAL}})),
            7);

  // Each link is read with the names of what it binds.
  ASSERT_EQ(Add("web", "all rules", "greetings"), 0);
  std::vector<Answer> names;
  for (int n : {2, 3, 4, 6, 7}) names.push_back({StoreOp::Fetch, n, XO_ERR_GENERAL});
  EXPECT_EQ(SweepBusy([&] { return Get(); }, LinkAnswers(names)), 11);
  EXPECT_EQ(SweepAllocationFailures([&] { return Get(); }, XO_ERR_GENERAL), 2);

  // The links change as one: a failure after the first has changed undoes it.
  EXPECT_EQ(SweepBusy([&] { return SetResponse("web", "get", "welcome"); },
                      LinkAnswers({{StoreOp::Search, 3, XO_ERR_GENERAL}})),
            12);
  EXPECT_EQ(SweepBusy([&] { return Remove("web", "get"); }, LinkAnswers({})), 11);
  EXPECT_EQ(Bindings(), Strings{"/all rules>greetings"});
}

}  // namespace
}  // namespace xo::test
