// What administrators without rights, and domain administrators, may do.
#include <cstring>
#include <string>

#include "support/ApiTest.h"

namespace xo::test {
namespace {

class RightsTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    own_ = Store().Domain("own");
    other_ = Store().Domain("other");
    rule_ = Store().Rule(own_, Store().Realm(own_, "web"), "get");
    agent_ = Store().Agent("gateway");
  }

  // Every call implemented so far that reads or changes something, with the
  // answer a domain administrator of "own" gets.
  struct Probe {
    const char* what;
    std::function<int32_t(PolicyApiSession*)> call;
    int32_t forDomainAdmin;
  };
  std::vector<Probe> Probes() {
    return {
        {"add domain",
         [](PolicyApiSession* h) {
           DomainRecord record{};
           std::strcpy(record.name, "new");
           return Xo_PolicyApi_AddDomain(h, &record, 0);
         },
         XO_ERR_GENERAL},
        {"get domain",
         [](PolicyApiSession* h) {
           DomainRecord* list = nullptr;
           const int32_t rc = Xo_PolicyApi_GetDomain(h, "own", &list);
           Xo_PolicyApi_FreeMemory(list);
           return rc;
         },
         XO_ERR_GENERAL},
        {"list own domain", [](PolicyApiSession* h) { return ListRules(h, "own"); }, 0},
        {"list other domain", [](PolicyApiSession* h) { return ListRules(h, "other"); },
         XO_ERR_GENERAL},
        {"global names",
         [](PolicyApiSession* h) {
           char** names = nullptr;
           const int32_t rc = Xo_PolicyApi_GetGlobalObjectNames(h, XO_GLOBAL_DOMAINS, &names);
           if (names != nullptr) Xo_PolicyApi_FreeStringArray(names);
           return rc;
         },
         XO_ERR_GENERAL},
        // Renamed to the names they have, so that the probes do not disturb
        // each other.
        {"rename own domain", [this](PolicyApiSession* h) { return Rename(h, own_, "own"); }, 0},
        {"rename rule of own domain",
         [this](PolicyApiSession* h) { return Rename(h, rule_, "get"); }, 0},
        {"rename other domain", [this](PolicyApiSession* h) { return Rename(h, other_, "other"); },
         XO_ERR_GENERAL},
        {"rename agent", [this](PolicyApiSession* h) { return Rename(h, agent_, "gateway"); },
         XO_ERR_GENERAL},
        {"command",
         [](PolicyApiSession* h) {
           ManagementCommandRecord record{1, "x"};
           return Xo_PolicyApi_ManagementCommand(h, &record);
         },
         XO_ERR_GENERAL},
        {"delete domain", [](PolicyApiSession* h) { return Xo_PolicyApi_DeleteDomain(h, "own"); },
         XO_ERR_GENERAL},
    };
  }

  static int32_t ListRules(PolicyApiSession* h, const char* domain) {
    char** names = nullptr;
    const int32_t rc = Xo_PolicyApi_GetDomainObjectNames(h, domain, XO_DOMAIN_RULES, &names);
    if (names != nullptr) Xo_PolicyApi_FreeStringArray(names);
    return rc;
  }
  static int32_t Rename(PolicyApiSession* h, const CXoObjId& id, const char* name) {
    return Xo_PolicyApi_RenameObject(h, id.GetOidString().c_str(), name);
  }

  CXoObjId own_, other_, rule_, agent_;
};

TEST_F(RightsTest, AnAdministratorWithoutRightsMayDoNothing) {
  PolicyApiSession* nobody = LoginAs("nobody", 0);
  const std::string before = Snapshot();
  for (const Probe& probe : Probes()) {
    EXPECT_EQ(probe.call(nobody), XO_ERR_GENERAL) << probe.what;
  }
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(RightsTest, ADomainAdministratorManagesOnlyTheDomainsThatListIt) {
  CXoObjId danaId;
  PolicyApiSession* dana = LoginAs("dana", XO_ADMIN_DOMAIN, &danaId);
  // Not yet listed anywhere.
  EXPECT_EQ(ListRules(dana, "own"), XO_ERR_GENERAL);
  Store().AppendToDomainList(own_, CXoObjDomain::Admins, danaId);
  for (const Probe& probe : Probes()) {
    EXPECT_EQ(probe.call(dana), probe.forDomainAdmin) << probe.what;
  }

  // Taking the right away takes effect at once.
  ASSERT_GE(CXoObjStore::SaveProperty(own_, CXoObjDomain::Admins, CXoObjIdArray(), Store().Sid()),
            0);
  EXPECT_EQ(ListRules(dana, "own"), XO_ERR_GENERAL);
}

TEST_F(RightsTest, TheSystemAdministratorMayDoEverything) {
  for (const Probe& probe : Probes()) EXPECT_EQ(probe.call(handle_), 0) << probe.what;
}

}  // namespace
}  // namespace xo::test
