// Realms: adding and rewriting them under a domain or a parent realm, reading
// them back with names for every reference, deleting them with what they
// own, and flush commands for the servers.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

using xo::store::kTextTooLong;

RealmRecord Record(const std::string& name, const std::string& parent = "") {
  RealmRecord record = Zeroed<RealmRecord>();
  std::strcpy(record.name, name.c_str());
  std::strcpy(record.agentName, "gateway");
  std::strcpy(record.schemeName, "forms");
  std::strcpy(record.parentName, parent.c_str());
  return record;
}

class RealmsTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    // A RADIUS agent, so that a realm's type visibly comes from its agent.
    CXoObjDevice agent("gateway", "", "", "", WellKnownObjectId16B, 0);
    Store().Save(agent);
    Store().Scheme("forms");
  }

  void AddRealm(const std::string& name, const std::string& parent = "", uint8_t update = 0) {
    RealmRecord record = Record(name, parent);
    EXPECT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", &record, update), 0) << name;
  }

  int32_t GetRealm(PolicyApiSession* handle, const std::string& name, const std::string& domain,
                   std::vector<RealmRecord>& out) {
    return CallGet(
        [&](RealmRecord** list) {
          return Xo_PolicyApi_GetRealm(handle, name.c_str(), domain.c_str(), list);
        },
        out);
  }
  RealmRecord TheRealm(const std::string& name) {
    std::vector<RealmRecord> found;
    EXPECT_EQ(GetRealm(handle_, name, "sales", found), 0);
    EXPECT_EQ(found.size(), 1u) << name;
    return found.empty() ? Record("") : found[0];
  }
  std::vector<std::string> Commands() {
    return QueryStoreFile(StorePath(), "SELECT command, argument FROM server_command ORDER BY seq");
  }
};

TEST_F(RealmsTest, AddedRealmsReadBackWithTheirReferencesNamed) {
  RealmRecord record = Record("web");
  std::memset(record.objectId, 'q', sizeof record.objectId);  // left as it is
  std::strcpy(record.description, "the public site");
  std::strcpy(record.realmText, "/www");
  record.realmFlag1 = 1;
  record.realmFlag3 = 1;
  record.realmInt1 = -7;
  record.realmInt2 = 3600;
  record.realmFlag4 = 1;
  ASSERT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", &record, 0), 0);
  EXPECT_EQ(record.objectId[0], 'q');
  AddRealm("docs", "web");

  const RealmRecord web = TheRealm("web");
  const CXoObjId id(std::string(web.objectId));
  CXoObjRealm stored;
  ASSERT_TRUE(Store().Load(id, stored));
  EXPECT_EQ(stored.GetAgentTypeOid(), WellKnownObjectId16B);
  EXPECT_EQ(stored.GetParentOid(), sales_);

  // A realm under the domain reads back the domain's name as its parent.
  RealmRecord expected;
  std::memcpy(&expected, &record, sizeof expected);
  expected.recordType = RealmRecordType;
  std::memset(expected.objectId, 0, sizeof expected.objectId);
  std::strcpy(expected.objectId, id.GetOidString().c_str());
  std::strcpy(expected.parentName, "sales");
  EXPECT_EQ(std::memcmp(&web, &expected, sizeof expected), 0);
  EXPECT_STREQ(TheRealm("docs").parentName, "web");
}

TEST_F(RealmsTest, AnAgentGroupServesAsTheAgent) {
  Store().AgentGroup("farm");
  RealmRecord record = Record("web");
  std::strcpy(record.agentName, "farm");
  ASSERT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", &record, 0), 0);
  const RealmRecord web = TheRealm("web");
  EXPECT_STREQ(web.agentName, "farm");
  CXoObjRealm stored;
  ASSERT_TRUE(Store().Load(CXoObjId(std::string(web.objectId)), stored));
  EXPECT_EQ(stored.GetAgentOid().GetOidClass(), XoObjId_DeviceGroup);
  EXPECT_EQ(stored.GetAgentTypeOid(), WellKnownObjectId16A);
}

TEST_F(RealmsTest, UpdateRewritesOnlyARealmThatExists) {
  AddRealm("web");
  const std::string id = TheRealm("web").objectId;
  RealmRecord record = Record("web");
  std::strcpy(record.description, "changed");
  ASSERT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", &record, 1), 0);
  EXPECT_STREQ(TheRealm("web").description, "changed");
  EXPECT_EQ(TheRealm("web").objectId, id);

  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", &record, 0), Mapped(xo::store::kNameTaken));
  record = Record("mail");
  EXPECT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", &record, 1), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
  Duplicate(CXoObjId(id));
  record = Record("web");
  EXPECT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", &record, 1), XO_ERR_GENERAL);
}

TEST_F(RealmsTest, NamesThatDoNotResolveAndBadInput) {
  const std::string before = Snapshot();
  RealmRecord record = Record("web");
  record.schemeName[0] = '\0';
  // An empty scheme is refused before any name is looked at.
  Faults().StartRecording();
  EXPECT_EQ(Xo_PolicyApi_AddRealm(handle_, "nowhere", &record, 0), XO_ERR_EMPTY_SCHEME);
  EXPECT_TRUE(Faults().Recorded().empty());
  EXPECT_EQ(Xo_PolicyApi_AddRealm(nullptr, "sales", &record, 0), XO_ERR_BAD_HANDLE);
  EXPECT_EQ(Xo_PolicyApi_AddRealm(handle_, "sales", nullptr, 0), XO_ERR_GENERAL);

  const auto add = [&](void (*change)(RealmRecord&), const char* domain = "sales") {
    RealmRecord changed = Record("web");
    change(changed);
    return Xo_PolicyApi_AddRealm(handle_, domain, &changed, 0);
  };
  const auto same = [](RealmRecord&) {};
  EXPECT_EQ(add(same, ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(add(same, nullptr), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(add(same, "nowhere"), XO_ERR_GENERAL);
  EXPECT_EQ(add([](RealmRecord& r) { r.agentName[0] = '\0'; }), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(add([](RealmRecord& r) { std::strcpy(r.agentName, "nobody"); }), XO_ERR_GENERAL);
  EXPECT_EQ(add([](RealmRecord& r) { std::strcpy(r.schemeName, "nothing"); }), XO_ERR_GENERAL);
  EXPECT_EQ(add([](RealmRecord& r) { std::strcpy(r.parentName, "nothing"); }), XO_ERR_GENERAL);
  // Fields without a terminator: the agent search fails, and so does the
  // agent-group search after it; an overlong text is refused by the store.
  EXPECT_EQ(add([](RealmRecord& r) { std::memset(r.agentName, 'a', XO_TEXT_FIELD); }),
            XO_ERR_GROUP_SEARCH);
  EXPECT_EQ(add([](RealmRecord& r) { std::memset(r.schemeName, 's', XO_TEXT_FIELD); }),
            XO_ERR_SCHEME_SEARCH);
  EXPECT_EQ(add([](RealmRecord& r) { std::memset(r.realmText, 't', XO_TEXT_FIELD); }),
            Mapped(kTextTooLong));

  const std::string longName(2000, 'x');
  std::vector<RealmRecord> found;
  EXPECT_EQ(GetRealm(handle_, longName, "sales", found), Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_GetRealm(handle_, "web", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteRealm(handle_, longName.c_str(), "sales"), Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, longName.c_str(), "sales"), XO_ERR_REALM_SEARCH);
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, "web", "sales"), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(RealmsTest, WithoutADomainEveryDomainIsSearchedOnSystemRights) {
  AddRealm("web");
  const CXoObjId support = Store().Domain("support");
  Store().Realm(support, "web");
  std::vector<RealmRecord> found;
  ASSERT_EQ(GetRealm(handle_, "web", "", found), 0);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_STREQ(found[0].parentName, "sales");
  EXPECT_STREQ(found[1].parentName, "support");
  EXPECT_STREQ(found[1].agentName, "test agent");
  EXPECT_STREQ(found[1].schemeName, "Basic");
  ASSERT_EQ(GetRealm(handle_, "none", "", found), 0);
  EXPECT_TRUE(found.empty());

  CXoObjId adminId;
  PolicyApiSession* dana = LoginAs("dana", XO_ADMIN_DOMAIN, &adminId);
  Store().AppendToDomainList(sales_, CXoObjDomain::Admins, adminId);
  EXPECT_EQ(GetRealm(dana, "web", "sales", found), 0);
  EXPECT_EQ(found.size(), 1u);
  EXPECT_EQ(GetRealm(dana, "web", "", found), XO_ERR_GENERAL);
  EXPECT_EQ(GetRealm(dana, "web", "support", found), XO_ERR_GENERAL);
  const std::string before = Snapshot();
  RealmRecord record = Record("mail");
  EXPECT_EQ(Xo_PolicyApi_AddRealm(dana, "support", &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteRealm(dana, "web", "support"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(dana, "web", "support"), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(dana, "web", "sales"), 0);
}

TEST_F(RealmsTest, DeletingARealmDeletesItsRulesAndChildRealms) {
  AddRealm("web");
  AddRealm("docs", "web");
  const CXoObjId web(std::string(TheRealm("web").objectId));
  const CXoObjId docs(std::string(TheRealm("docs").objectId));
  const CXoObjId rule = Store().Rule(sales_, docs, "get");
  const CXoObjId support = Store().Domain("support");
  const CXoObjId elsewhere = Store().Realm(support, "web");

  EXPECT_EQ(Xo_PolicyApi_DeleteRealm(handle_, "web", "sales"), 0);
  for (const CXoObjId& id : {web, docs, rule}) EXPECT_FALSE(Store().Exists(id));
  EXPECT_TRUE(Store().Exists(elsewhere));
  EXPECT_EQ(Xo_PolicyApi_DeleteRealm(handle_, "web", "sales"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteRealm(handle_, "web", "nowhere"), XO_ERR_GENERAL);
}

TEST_F(RealmsTest, FlushWritesACommandForTheServers) {
  AddRealm("web");
  const std::string id = TheRealm("web").objectId;
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, "web", "sales"), 0);
  EXPECT_EQ(Commands(), std::vector<std::string>{"5|" + id});
  // Without a domain no realm is found.
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, "web", ""), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, "", "sales"), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Commands().size(), 1u);
}

TEST_F(RealmsTest, StoreAndAllocationFailuresAreReportedAndChangeNothing) {
  AddRealm("web");
  AddRealm("docs", "web");
  const Answer domainSearch = {StoreOp::Search, 1, XO_ERR_DOMAIN_SEARCH};
  RealmRecord record = Record("docs", "web");
  // The agent search failing leads to the group search, which finds nothing;
  // an agent that cannot be fetched is -1.
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddRealm(handle_, "sales", &record, 1); },
                      {domainSearch,
                       {StoreOp::Search, 2, XO_ERR_GENERAL},
                       {StoreOp::Search, 3, XO_ERR_SCHEME_SEARCH},
                       {StoreOp::Fetch, 0, XO_ERR_GENERAL},
                       {StoreOp::SearchMultiple, 0, XO_ERR_REALM_SEARCH}}),
            8);
  // The agent's name, then the scheme's and the domain's.
  std::vector<RealmRecord> found;
  EXPECT_EQ(SweepBusy([&] { return GetRealm(handle_, "web", "sales", found); },
                      {domainSearch,
                       {StoreOp::Fetch, 1, Mapped(xo::store::kBusy)},
                       {StoreOp::Fetch, 2, XO_ERR_WRONG_CLASS},
                       {StoreOp::Fetch, 0, XO_ERR_GENERAL}}),
            7);
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_FlushRealm(handle_, "web", "sales"); },
                      {domainSearch, {StoreOp::SearchMultiple, 0, XO_ERR_REALM_SEARCH}}),
            4);
  EXPECT_EQ(
      SweepBusy([&] { return Xo_PolicyApi_DeleteRealm(handle_, "web", "sales"); }, {domainSearch}),
      4);

  AddRealm("web");
  Store().Realm(Store().Domain("support"), "web");
  EXPECT_EQ(SweepListAllocations<RealmRecord>([&](RealmRecord** list) {
              return Xo_PolicyApi_GetRealm(handle_, "web", "", list);
            }),
            2);
}

}  // namespace
}  // namespace xo::test
