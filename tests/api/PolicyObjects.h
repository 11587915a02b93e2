// The fixture of the suites on a domain's policy objects: the domain "sales"
// with the realms "web" and "mail" (served by "test agent"), the rules "get"
// and "post" in web and "get" in mail, the responses "welcome" and
// "farewell", the policy "staff", the empty rule groups "all" and "inner" and
// the empty response group "greetings"; an empty domain "other"; the agent
// "gateway" and the empty agent groups "edge" and "west".
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"
#include "support/StoreFile.h"

namespace xo::test {

class PolicyObjectsTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    other_ = Store().Domain("other");
    web_ = Store().Realm(sales_, "web");
    mail_ = Store().Realm(sales_, "mail");
    get_ = Store().Rule(sales_, web_, "get");
    post_ = Store().Rule(sales_, web_, "post");
    mailGet_ = Store().Rule(sales_, mail_, "get");
    welcome_ = Store().Response(sales_, "welcome");
    Store().Response(sales_, "farewell");
    staff_ = Store().Policy(sales_, "staff");
    all_ = Store().RuleGroup(sales_, "all");
    inner_ = Store().RuleGroup(sales_, "inner");
    Store().ResponseGroup(sales_, "greetings");
    gateway_ = Store().Agent("gateway");
    Store().AgentGroup("edge");
    Store().AgentGroup("west");
  }

  Strings Members(int32_t type, const char* group, const char* domain = "sales") {
    char** names = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetGroupNames(handle_, type, group, domain, &names), XO_OK) << group;
    return Names(names);
  }
  Strings Rows(const std::string& sql) { return QueryStoreFile(StorePath(), sql); }

  CXoObjId other_, web_, mail_, get_, post_, mailGet_, welcome_, staff_, all_, inner_, gateway_;
};

}  // namespace xo::test
