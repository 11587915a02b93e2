// Rule, response and agent groups: adding and updating them, their members
// (nested groups among them), reading them back, and deleting them.
#include <sqlite3.h>

#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using xo::store::kCycle;
using xo::store::kNameTaken;
using xo::store::kPropertyAbsent;
using xo::store::kTextTooLong;

constexpr const char* kHttp = "HTTP Agent";
constexpr const char* kRadius = "RADIUS Agent";

GroupRecord Record(const std::string& name, const std::string& description,
                   const std::string& vendor) {
  GroupRecord record = Zeroed<GroupRecord>();
  Put(record.name, name);
  Put(record.description, description);
  Put(record.vendorName, vendor);
  return record;
}

class GroupsTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    other_ = Store().Domain("other");
    web_ = Store().Realm(sales_, "web");
    mail_ = Store().Realm(sales_, "mail");
    get_ = Store().Rule(sales_, web_, "get");
    Store().Rule(sales_, web_, "post");
    mailGet_ = Store().Rule(sales_, mail_, "get");
    welcome_ = Store().Response(sales_, "welcome");
    gateway_ = Store().Agent("gateway");
    Store().Agent("proxy");
  }

  int32_t AddGroup(int32_t type, const std::string& name, const char* domain = "sales",
                   uint8_t update = 0, const std::string& description = "",
                   const std::string& vendor = kHttp) {
    GroupRecord record = Record(name, description, vendor);
    return Xo_PolicyApi_AddGroup(handle_, type, domain, &record, update);
  }

  CXoObjId GroupId(int32_t type, const std::string& name, const char* domain = "sales") {
    const std::vector<GroupRecord> found = GetGroup(type, name, domain);
    return found.empty() ? CXoObjId() : CXoObjId(std::string(found.front().objectId));
  }

  std::vector<GroupRecord> GetGroup(int32_t type, const std::string& name,
                                    const char* domain = "sales", int32_t expected = 0) {
    GroupRecord* list = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetGroup(handle_, type, name.c_str(), domain, &list), expected);
    return Collect(list);
  }

  int32_t Members(int32_t type, const std::string& group, std::vector<std::string>& out,
                  const char* domain = "sales") {
    char** names = reinterpret_cast<char**>(this);
    const int32_t rc = Xo_PolicyApi_GetGroupNames(handle_, type, group.c_str(), domain, &names);
    EXPECT_EQ(names == nullptr, rc != 0);
    out = Names(names);
    return rc;
  }

  std::vector<std::string> Members(int32_t type, const std::string& group,
                                   const char* domain = "sales") {
    std::vector<std::string> names;
    EXPECT_EQ(Members(type, group, names, domain), 0);
    return names;
  }

  int32_t Add(int32_t type, const char* group, const char* member, const char* realm = nullptr,
              const char* domain = "sales") {
    return Xo_PolicyApi_AddToGroup(handle_, type, group, member, domain, realm);
  }
  int32_t Remove(int32_t type, const char* group, const char* member, const char* realm = nullptr,
                 const char* domain = "sales") {
    return Xo_PolicyApi_RemoveFromGroup(handle_, type, group, member, domain, realm);
  }

  // The byte as IsGroup leaves it, starting from `initial`.
  uint8_t IsGroup(int32_t type, const char* name, const char* domain = "sales",
                  uint8_t initial = 0x5A) {
    uint8_t flag = initial;
    EXPECT_EQ(Xo_PolicyApi_IsGroup(handle_, type, name, domain, &flag), 0);
    return flag;
  }

  CXoObjIdArray StoredMembers(const CXoObjId& group, uint32_t prop) {
    CXoObjBase object(group.GetOidClass(), group);
    EXPECT_GE(CXoObjStore::Fetch(object, 0, nullptr, Store().Sid()), 0);
    return object.Ids(prop);
  }

  CXoObjId other_, web_, mail_, get_, mailGet_, welcome_, gateway_;
};

TEST_F(GroupsTest, AddedGroupsReadBackByteForByte) {
  struct Kind {
    int32_t type;
    const char* vendor;
    XoObjId_Class cls;
  };
  for (const Kind& kind : {Kind{XO_GROUP_RULE, kHttp, XoObjId_RuleGroup},
                           Kind{XO_GROUP_RESPONSE, kRadius, XoObjId_ResponseGroup},
                           Kind{XO_GROUP_AGENT, kRadius, XoObjId_DeviceGroup}}) {
    GroupRecord record = Record("staff", "people on the payroll", kind.vendor);
    record.recordType = 99;  // not read
    ExpectAddedAsGiven(
        record,
        [&](GroupRecord* r) { return Xo_PolicyApi_AddGroup(handle_, kind.type, "sales", r, 0); },
        [&](GroupRecord** list) {
          return Xo_PolicyApi_GetGroup(handle_, kind.type, "staff", "sales", list);
        },
        GroupRecordType, kind.cls);
  }
  // Rule and response groups belong to their domain; agent groups to none,
  // so their domain name is neither resolved nor needed.
  EXPECT_TRUE(GetGroup(XO_GROUP_RULE, "staff", "other").empty());
  EXPECT_EQ(GetGroup(XO_GROUP_AGENT, "staff", "no such domain").size(), 1u);
  EXPECT_EQ(GetGroup(XO_GROUP_AGENT, "staff", nullptr).size(), 1u);
  EXPECT_EQ(AddGroup(XO_GROUP_AGENT, "staff", nullptr), Mapped(kNameTaken));
  EXPECT_EQ(AddGroup(XO_GROUP_RULE, "staff", "sales"), Mapped(kNameTaken));
  EXPECT_EQ(AddGroup(XO_GROUP_RULE, "staff", "other"), 0);

  const CXoObjId first = GroupId(XO_GROUP_RULE, "staff");
  const CXoObjId second = Duplicate(first);
  const std::vector<GroupRecord> both = GetGroup(XO_GROUP_RULE, "staff");
  ASSERT_EQ(both.size(), 2u);
  EXPECT_EQ(both[0].objectId, first.GetOidString());
  EXPECT_EQ(both[1].objectId, second.GetOidString());
  EXPECT_TRUE(GetGroup(XO_GROUP_RULE, "nobody").empty());
}

TEST_F(GroupsTest, VendorNameIsRequiredAndMustNameOneAgentType) {
  EXPECT_EQ(AddGroup(XO_GROUP_RULE, "staff", "sales", 0, "", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(AddGroup(XO_GROUP_RULE, "staff", "sales", 0, "", "Telnet Agent"), XO_ERR_GENERAL);
  GroupRecord unterminated = Record("staff", "", "");
  std::memset(unterminated.vendorName, 'v', sizeof unterminated.vendorName);
  EXPECT_EQ(Xo_PolicyApi_AddGroup(handle_, XO_GROUP_RULE, "sales", &unterminated, 0),
            XO_ERR_AGENT_TYPE_SEARCH);
  Duplicate(WellKnownObjectId16B);
  EXPECT_EQ(AddGroup(XO_GROUP_AGENT, "staff", nullptr, 1, "", kRadius), XO_ERR_GENERAL);
  EXPECT_TRUE(GetGroup(XO_GROUP_RULE, "staff").empty());
  EXPECT_TRUE(GetGroup(XO_GROUP_AGENT, "staff").empty());
}

TEST_F(GroupsTest, UpdateRewritesTheGroupAndKeepsItsMembers) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "staff", "sales", 0, "old"), 0);
  const CXoObjId staff = GroupId(XO_GROUP_RULE, "staff");
  ASSERT_EQ(Add(XO_GROUP_RULE, "staff", "get", "web"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "staff", "get", "mail"), 0);

  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "staff", "sales", 1, "new", kRadius), 0);
  const std::vector<GroupRecord> found = GetGroup(XO_GROUP_RULE, "staff");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].objectId, staff.GetOidString());
  EXPECT_STREQ(found[0].description, "new");
  EXPECT_STREQ(found[0].vendorName, kRadius);
  EXPECT_EQ(StoredMembers(staff, CXoObjRuleGroup::Members), (CXoObjIdArray{get_, mailGet_}));

  // A membership the store reports absent counts as none.
  Faults().FailAt(StoreOp::FetchProperty, 1, kPropertyAbsent);
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "staff", "sales", 1, "emptied"), 0);
  EXPECT_TRUE(Members(XO_GROUP_RULE, "staff").empty());

  // A name no group of the kind has is simply created.
  EXPECT_EQ(AddGroup(XO_GROUP_AGENT, "staff", nullptr, 1), 0);
  EXPECT_EQ(GetGroup(XO_GROUP_AGENT, "staff").size(), 1u);
}

TEST_F(GroupsTest, MembersNestAndAreListedByName) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "reads"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "reads", "get", "web"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "reads"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "post", "web"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "get", "mail"), 0);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), (std::vector<std::string>{"reads", "post", "get"}));
  EXPECT_EQ(Members(XO_GROUP_RULE, "reads"), std::vector<std::string>{"get"});

  // "post" is now a rule group as well as a rule: the group is taken.
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "post"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "reads", "post", "web"), 0);
  EXPECT_EQ(StoredMembers(GroupId(XO_GROUP_RULE, "reads"), CXoObjRuleGroup::Members),
            (CXoObjIdArray{get_, GroupId(XO_GROUP_RULE, "post")}));

  ASSERT_EQ(AddGroup(XO_GROUP_RESPONSE, "greetings"), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_RESPONSE, "polite"), 0);
  ASSERT_EQ(Add(XO_GROUP_RESPONSE, "greetings", "welcome"), 0);
  ASSERT_EQ(Add(XO_GROUP_RESPONSE, "greetings", "polite"), 0);
  EXPECT_EQ(Members(XO_GROUP_RESPONSE, "greetings"),
            (std::vector<std::string>{"welcome", "polite"}));

  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "west", nullptr), 0);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "west", "proxy", nullptr, nullptr), 0);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "gateway", nullptr, "no such domain"), 0);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "west", nullptr, nullptr), 0);
  EXPECT_EQ(Members(XO_GROUP_AGENT, "edge", nullptr),
            (std::vector<std::string>{"gateway", "west"}));
  EXPECT_EQ(Members(XO_GROUP_AGENT, "west", nullptr), std::vector<std::string>{"proxy"});
}

TEST_F(GroupsTest, AddToGroupRefusesWhatItCannotResolveOrTakeTwice) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "inner"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "get", "web"), 0);
  const std::string before = Snapshot();

  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "get", "web"), XO_ERR_ALREADY_MEMBER);
  EXPECT_EQ(Add(XO_GROUP_RULE, "nobody", "get", "web"), XO_ERR_GENERAL);
  EXPECT_EQ(Add(XO_GROUP_RULE, nullptr, "get", "web"), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "get", nullptr), XO_ERR_EMPTY_NAME);  // the realm
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "get", "attic"), XO_ERR_GENERAL);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "get", std::string(1100, 'r').c_str()), XO_ERR_REALM_SEARCH);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", std::string(1100, 'g').c_str(), "web"), XO_ERR_RULE_SEARCH);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "delete", "web"), XO_ERR_GENERAL);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", nullptr, "web"), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Add(XO_GROUP_RESPONSE, "all", "welcome"), XO_ERR_GENERAL);  // a rule group
  EXPECT_EQ(Snapshot(), before);
  ASSERT_EQ(AddGroup(XO_GROUP_RESPONSE, "greetings"), 0);
  const std::string withGreetings = Snapshot();
  EXPECT_EQ(Add(XO_GROUP_RESPONSE, "greetings", "farewell"), XO_ERR_GENERAL);
  EXPECT_EQ(Add(XO_GROUP_RESPONSE, "greetings", std::string(1100, 'f').c_str()),
            XO_ERR_RESPONSE_SEARCH);
  EXPECT_EQ(Snapshot(), withGreetings);
  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  const std::string withEdge = Snapshot();
  EXPECT_EQ(Add(XO_GROUP_AGENT, "edge", "router", nullptr, nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Add(XO_GROUP_AGENT, "edge", std::string(1100, 'a').c_str(), nullptr, nullptr),
            XO_ERR_AGENT_SEARCH);
  EXPECT_EQ(Snapshot(), withEdge);

  // No group may hold itself, however deep.
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "inner"), 0);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "all"), Mapped(kCycle));
  EXPECT_EQ(Add(XO_GROUP_RULE, "inner", "all"), Mapped(kCycle));
  EXPECT_TRUE(Members(XO_GROUP_RULE, "inner").empty());
}

TEST_F(GroupsTest, RemoveFromGroupTakesOutTheFirstOccurrenceOnly) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  const CXoObjId all = GroupId(XO_GROUP_RULE, "all");
  EXPECT_EQ(Remove(XO_GROUP_RULE, "all", "get", "web"), XO_ERR_NOT_MEMBER);  // empty

  // The store keeps a list as written, repeats included.
  ASSERT_GE(CXoObjStore::SaveProperty(all, CXoObjRuleGroup::Members,
                                      CXoObjIdArray{get_, mailGet_, get_}, Store().Sid()),
            0);
  EXPECT_EQ(Remove(XO_GROUP_RULE, "all", "get", "web"), 0);
  EXPECT_EQ(StoredMembers(all, CXoObjRuleGroup::Members), (CXoObjIdArray{mailGet_, get_}));
  EXPECT_EQ(Remove(XO_GROUP_RULE, "all", "post", "web"), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Remove(XO_GROUP_RULE, "all", "nothing", "web"), XO_ERR_GENERAL);
  EXPECT_EQ(Remove(XO_GROUP_RULE, "all", "get", "web"), 0);
  EXPECT_EQ(Remove(XO_GROUP_RULE, "all", "get", "web"), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), std::vector<std::string>{"get"});

  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "west", nullptr), 0);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "west", nullptr, nullptr), 0);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "gateway", nullptr, nullptr), 0);
  EXPECT_EQ(Remove(XO_GROUP_AGENT, "edge", "west", nullptr, "ignored"), 0);
  EXPECT_EQ(Members(XO_GROUP_AGENT, "edge", nullptr), std::vector<std::string>{"gateway"});
}

TEST_F(GroupsTest, IsGroupWritesOnlyAYes) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  EXPECT_EQ(IsGroup(XO_GROUP_RULE, "all"), 1);
  EXPECT_EQ(IsGroup(XO_GROUP_AGENT, "edge", nullptr), 1);
  EXPECT_EQ(IsGroup(XO_GROUP_AGENT, "edge", "no such domain"), 1);

  EXPECT_EQ(IsGroup(XO_GROUP_RULE, "get"), 0x5A);  // a rule, not a group
  EXPECT_EQ(IsGroup(XO_GROUP_RESPONSE, "all"), 0x5A);
  EXPECT_EQ(IsGroup(XO_GROUP_RULE, nullptr), 0x5A);
  EXPECT_EQ(IsGroup(XO_GROUP_RULE, "all", "other", 0), 0);
  Duplicate(GroupId(XO_GROUP_RULE, "all"));
  EXPECT_EQ(IsGroup(XO_GROUP_RULE, "all"), 0x5A);
  Faults().FailAt(StoreOp::Search, 1, kBusy);  // no domain to look up first
  EXPECT_EQ(IsGroup(XO_GROUP_AGENT, "edge", nullptr), 0x5A);
}

TEST_F(GroupsTest, GetGroupNamesFailsCleanly) {
  std::vector<std::string> names;
  EXPECT_EQ(Members(XO_GROUP_RULE, "nobody", names), XO_ERR_GENERAL);
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all", names), 0);
  EXPECT_TRUE(names.empty());

  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "get", "web"), 0);
  // A member that cannot be read fails the listing.
  Faults().FailAt(StoreOp::Fetch, 2, kBusy);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all", names), XO_ERR_GENERAL);

  // A member of a class the kind does not hold, which the store itself would
  // refuse, put in beside it.
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(StorePath().c_str(), &db), SQLITE_OK);
  sqlite3_busy_timeout(db, 5000);
  const std::string insert =
      "INSERT INTO xo_list (owner, owner_class, prop, pos, member) VALUES ('" +
      GroupId(XO_GROUP_RULE, "all").GetOidString() + "', 12, 5, 7, '" + welcome_.GetOidString() +
      "')";
  EXPECT_EQ(sqlite3_exec(db, insert.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all", names), XO_ERR_WRONG_CLASS);
}

TEST_F(GroupsTest, DeleteGroupDeletesEveryGroupOfTheNameInItsScope) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "inner"), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "inner", "other"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "inner", "get", "web"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "inner"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "post", "web"), 0);
  Duplicate(GroupId(XO_GROUP_RULE, "inner"));

  EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, XO_GROUP_RULE, "sales", "inner"), 0);
  EXPECT_TRUE(GetGroup(XO_GROUP_RULE, "inner").empty());
  EXPECT_EQ(GetGroup(XO_GROUP_RULE, "inner", "other").size(), 1u);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), std::vector<std::string>{"post"});
  EXPECT_TRUE(Store().Exists(get_));
  EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, XO_GROUP_RULE, "sales", "nobody"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, XO_GROUP_RULE, "nowhere", "all"), XO_ERR_GENERAL);

  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, XO_GROUP_AGENT, "no such domain", "edge"), 0);
  EXPECT_TRUE(GetGroup(XO_GROUP_AGENT, "edge").empty());
}

TEST_F(GroupsTest, GroupTypeIsCheckedBeforeAnyName) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  const std::string before = Snapshot();
  for (int32_t type : {0, 4, -1}) {
    EXPECT_EQ(AddGroup(type, "new", "no such domain"), XO_ERR_BAD_GROUP_TYPE);
    GroupRecord* list = reinterpret_cast<GroupRecord*>(this);
    EXPECT_EQ(Xo_PolicyApi_GetGroup(handle_, type, "all", "nowhere", &list), XO_ERR_BAD_GROUP_TYPE);
    EXPECT_EQ(list, reinterpret_cast<GroupRecord*>(this));
    std::vector<std::string> names;
    EXPECT_EQ(Members(type, "all", names, "nowhere"), XO_ERR_BAD_GROUP_TYPE);
    EXPECT_EQ(Add(type, "all", "get", "web", "nowhere"), XO_ERR_BAD_GROUP_TYPE);
    EXPECT_EQ(Remove(type, "all", "get", "web", "nowhere"), XO_ERR_BAD_GROUP_TYPE);
    uint8_t flag = 7;
    EXPECT_EQ(Xo_PolicyApi_IsGroup(handle_, type, "all", "nowhere", &flag), XO_ERR_BAD_GROUP_TYPE);
    EXPECT_EQ(flag, 7);
    EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, type, "nowhere", "all"), XO_ERR_BAD_GROUP_TYPE);
  }
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(GroupsTest, NullOutputsAndRecordsAreRefused) {
  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_AddGroup(handle_, 1, "sales", nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetGroup(handle_, 1, "all", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetGroupNames(handle_, 1, "all", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_IsGroup(handle_, 1, "all", "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(GroupsTest, OverlongAndUnterminatedTextsAreRefused) {
  const std::string longName(2000, 'x');
  GroupRecord record = Record("new", "", kHttp);
  std::memset(record.description, 'd', sizeof record.description);
  EXPECT_EQ(Xo_PolicyApi_AddGroup(handle_, 1, "sales", &record, 0), Mapped(kTextTooLong));
  record = Record("", "", kHttp);
  std::memset(record.name, 'n', sizeof record.name);
  EXPECT_EQ(Xo_PolicyApi_AddGroup(handle_, 3, nullptr, &record, 1), Mapped(kTextTooLong));
  EXPECT_EQ(AddGroup(XO_GROUP_RULE, "new", longName.c_str()), XO_ERR_DOMAIN_SEARCH);
  EXPECT_EQ(AddGroup(XO_GROUP_RULE, "new", nullptr), XO_ERR_EMPTY_NAME);
  GroupRecord* list = nullptr;
  EXPECT_EQ(Xo_PolicyApi_GetGroup(handle_, 2, longName.c_str(), "sales", &list),
            Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, 3, nullptr, longName.c_str()), Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_DeleteGroup(handle_, 1, "sales", nullptr), 0);
  EXPECT_EQ(Add(XO_GROUP_AGENT, longName.c_str(), "gateway", nullptr, nullptr),
            XO_ERR_GROUP_SEARCH);
  EXPECT_EQ(list, nullptr);
}

TEST_F(GroupsTest, RightsFollowTheKindsScope) {
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all"), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  CXoObjId danaId;
  PolicyApiSession* dana = LoginAs("dana", XO_ADMIN_DOMAIN, &danaId);
  Store().AppendToDomainList(sales_, CXoObjDomain::Admins, danaId);
  PolicyApiSession* nobody = LoginAs("nobody", 0);

  // Each call once per kind, as someone who may manage sales but not other.
  const auto probe = [&](PolicyApiSession* h, int32_t type, const char* domain) {
    GroupRecord record = Record("new", "", kHttp);
    GroupRecord* list = nullptr;
    char** names = nullptr;
    uint8_t flag = 0;
    const char* member = type == XO_GROUP_AGENT ? "gateway" : "get";
    const char* group = type == XO_GROUP_AGENT ? "edge" : "all";
    std::vector<int32_t> results = {
        Xo_PolicyApi_AddGroup(h, type, domain, &record, 1),
        Xo_PolicyApi_GetGroup(h, type, group, domain, &list),
        Xo_PolicyApi_GetGroupNames(h, type, group, domain, &names),
        Xo_PolicyApi_AddToGroup(h, type, group, member, domain, "web"),
        Xo_PolicyApi_RemoveFromGroup(h, type, group, member, domain, "web"),
        Xo_PolicyApi_IsGroup(h, type, group, domain, &flag),
        Xo_PolicyApi_DeleteGroup(h, type, domain, "new"),
    };
    Xo_PolicyApi_FreeMemory(list);
    if (names != nullptr) Xo_PolicyApi_FreeStringArray(names);
    return results;
  };
  const std::vector<int32_t> allowed(7, 0), refused(7, XO_ERR_GENERAL);
  EXPECT_EQ(probe(dana, XO_GROUP_RULE, "sales"), allowed);
  const std::string before = Snapshot();
  EXPECT_EQ(probe(dana, XO_GROUP_RULE, "other"), refused);
  // Agent groups are checked on the null identifier, which only the system
  // administrator may manage.
  EXPECT_EQ(probe(dana, XO_GROUP_AGENT, "sales"), refused);
  for (int32_t type : {XO_GROUP_RULE, XO_GROUP_RESPONSE, XO_GROUP_AGENT}) {
    EXPECT_EQ(probe(nobody, type, "sales"), refused) << type;
  }
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(probe(handle_, XO_GROUP_AGENT, nullptr), allowed);
}

TEST_F(GroupsTest, StoreFailuresAreMappedAndChangeNothing) {
  // The domain's search, then the rights, come first in every call.
  const Answer domainSearch = {StoreOp::Search, 1, XO_ERR_DOMAIN_SEARCH};
  const Answer typeSearch = {StoreOp::Search, 0, XO_ERR_AGENT_TYPE_SEARCH};
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "all", "sales", 0, "", kRadius), 0);
  ASSERT_EQ(AddGroup(XO_GROUP_RULE, "inner"), 0);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "get", "web"), 0);

  // Domain, rights, agent type, save.
  EXPECT_EQ(SweepBusy([&] { return AddGroup(XO_GROUP_RULE, "new"); }, {domainSearch, typeSearch}),
            4);
  // With the update flag the group's own name is looked up (a failed look-up
  // leaves it to the store to find the group by name) and its members read.
  EXPECT_EQ(SweepBusy([&] { return AddGroup(XO_GROUP_RULE, "all", "sales", 1); },
                      {domainSearch, {StoreOp::Search, 3, kAbsorbed}, typeSearch}),
            8);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), std::vector<std::string>{"get"});

  // Domain, rights, search, the group, then its agent type, whose name is
  // simply left empty when it cannot be read.
  EXPECT_EQ(SweepBusy(
                [&] {
                  GroupRecord* list = nullptr;
                  const int32_t rc = Xo_PolicyApi_GetGroup(handle_, 1, "all", "sales", &list);
                  EXPECT_EQ(list == nullptr, rc != 0);
                  if (rc == 0 && Faults().Fired()) {
                    EXPECT_STREQ(list->vendorName, "");
                  }
                  Xo_PolicyApi_FreeMemory(list);
                  return rc;
                },
                {domainSearch, {StoreOp::Fetch, 2, XO_OK}}),
            5);
  // Domain, rights, search, the group, the member's name.
  std::vector<std::string> ignored;
  EXPECT_EQ(SweepBusy([&] { return Members(XO_GROUP_RULE, "all", ignored); },
                      {domainSearch, {StoreOp::Fetch, 2, XO_ERR_GENERAL}}),
            5);
  // Domain, rights, the group, the member as a group (failing, it is sought
  // as a rule: realm, then rule, neither of which exists by that name), the
  // write lock, the membership, its save, the cache notice and the commit;
  // a failure of any of the last five leaves the group as it was.
  const std::vector<Answer> membership = {domainSearch,
                                          {StoreOp::Search, 2, XO_ERR_GROUP_SEARCH},
                                          {StoreOp::Search, 3, XO_ERR_GENERAL},
                                          {StoreOp::SearchMultiple, 1, XO_ERR_REALM_SEARCH},
                                          {StoreOp::SearchMultiple, 0, XO_ERR_RULE_SEARCH}};
  EXPECT_EQ(SweepBusy([&] { return Add(XO_GROUP_RULE, "all", "inner", "web"); }, membership), 9);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), (std::vector<std::string>{"get", "inner"}));
  EXPECT_EQ(SweepBusy([&] { return Remove(XO_GROUP_RULE, "all", "inner", "web"); }, membership), 9);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), std::vector<std::string>{"get"});

  // A failed search only means the name is no group.
  EXPECT_EQ(SweepBusy(
                [&] {
                  uint8_t flag = 0;
                  const int32_t rc = Xo_PolicyApi_IsGroup(handle_, 1, "all", "sales", &flag);
                  return rc == 0 && flag == 0 ? 1 : rc;
                },
                {domainSearch, {StoreOp::Search, 2, 1}}),
            3);
  // The opening, then the opening of deletion by name, the search and the delete.
  EXPECT_EQ(
      SweepBusy([&] { return Xo_PolicyApi_DeleteGroup(handle_, XO_GROUP_RULE, "sales", "inner"); },
                {domainSearch, {StoreOp::Search, 2, XO_ERR_DOMAIN_SEARCH}}),
      6);
  EXPECT_TRUE(GetGroup(XO_GROUP_RULE, "inner").empty());
}

TEST_F(GroupsTest, AFailedCacheNoticeUndoesTheChange) {
  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  Faults().FailAt(StoreOp::InvalidateCache, 1, kBusy);
  EXPECT_EQ(Add(XO_GROUP_AGENT, "edge", "gateway", nullptr, nullptr), Mapped(kBusy));
  EXPECT_TRUE(Members(XO_GROUP_AGENT, "edge", nullptr).empty());
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "gateway", nullptr, nullptr), 0);
  Faults().FailAt(StoreOp::InvalidateCache, 1, kBusy);
  EXPECT_EQ(Remove(XO_GROUP_AGENT, "edge", "gateway", nullptr, nullptr), Mapped(kBusy));
  EXPECT_EQ(Members(XO_GROUP_AGENT, "edge", nullptr), std::vector<std::string>{"gateway"});
}

TEST_F(GroupsTest, AllocationFailuresHandOutNothing) {
  ASSERT_EQ(AddGroup(XO_GROUP_RESPONSE, "greetings"), 0);
  Duplicate(GroupId(XO_GROUP_RESPONSE, "greetings"));
  EXPECT_EQ(SweepListAllocations<GroupRecord>([&](GroupRecord** list) {
              return Xo_PolicyApi_GetGroup(handle_, 2, "greetings", "sales", list);
            }),
            2);
  // The array, then each name.
  ASSERT_EQ(AddGroup(XO_GROUP_AGENT, "edge", nullptr), 0);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "gateway", nullptr, nullptr), 0);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "proxy", nullptr, nullptr), 0);
  std::vector<std::string> ignored;
  EXPECT_EQ(SweepAllocationFailures(
                [&] { return Members(XO_GROUP_AGENT, "edge", ignored, nullptr); }, XO_ERR_GENERAL),
            3);
}

}  // namespace
}  // namespace xo::test
