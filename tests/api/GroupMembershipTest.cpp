// The members of rule, response and agent groups: nesting, duplicates,
// removal, and telling groups from other objects.

#include "XoStoreCodes.h"
#include "api/PolicyObjects.h"

namespace xo::test {
namespace {

class GroupMembershipTest : public PolicyObjectsTest {
 protected:
  int32_t Add(int32_t type, const char* group, const char* member, const char* realm = nullptr,
              const char* domain = "sales") {
    return Xo_PolicyApi_AddToGroup(handle_, type, group, member, domain, realm);
  }
  int32_t Remove(const char* member, const char* realm) {
    return Xo_PolicyApi_RemoveFromGroup(handle_, XO_GROUP_RULE, "all", member, "sales", realm);
  }
  CXoObjIdArray Stored(const CXoObjId& group) {
    CXoObjRuleGroup object;
    EXPECT_TRUE(Store().Load(group, object));
    return object.GetMembers();
  }
};

TEST_F(GroupMembershipTest, MembersNestAndAreListedByNameInTheOrderAdded) {
  ASSERT_EQ(Add(XO_GROUP_RULE, "inner", "get", "web"), XO_OK);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "inner"), XO_OK);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "post", "web"), XO_OK);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "get", "mail"), XO_OK);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), (Strings{"inner", "post", "get"}));
  EXPECT_EQ(Stored(all_), (CXoObjIdArray{inner_, post_, mailGet_}));
  // A name that is both a rule group and a rule is taken as the group.
  const CXoObjId postGroup = Store().RuleGroup(sales_, "post");
  ASSERT_EQ(Add(XO_GROUP_RULE, "inner", "post", "web"), XO_OK);
  EXPECT_EQ(Stored(inner_), (CXoObjIdArray{get_, postGroup}));

  Store().ResponseGroup(sales_, "polite");
  ASSERT_EQ(Add(XO_GROUP_RESPONSE, "greetings", "welcome"), XO_OK);
  ASSERT_EQ(Add(XO_GROUP_RESPONSE, "greetings", "polite"), XO_OK);
  EXPECT_EQ(Members(XO_GROUP_RESPONSE, "greetings"), (Strings{"welcome", "polite"}));
  // A rule group is no response group.
  EXPECT_EQ(Add(XO_GROUP_RESPONSE, "all", "welcome"), XO_ERR_GENERAL);

  // Agent groups belong to no domain, whatever domain name is given.
  ASSERT_EQ(Add(XO_GROUP_AGENT, "west", "gateway", nullptr, "nowhere"), XO_OK);
  ASSERT_EQ(Add(XO_GROUP_AGENT, "edge", "west", nullptr, nullptr), XO_OK);
  EXPECT_EQ(Members(XO_GROUP_AGENT, "edge", nullptr), Strings{"west"});
  EXPECT_EQ(Members(XO_GROUP_AGENT, "west", "nowhere"), Strings{"gateway"});
  char** names = nullptr;
  EXPECT_EQ(Xo_PolicyApi_GetGroupNames(handle_, XO_GROUP_RULE, "none", "sales", &names),
            XO_ERR_GENERAL);
  // A member of a class the kind does not hold, which the store itself
  // would refuse, written beside the others.
  QueryStoreFile(StorePath(),
                 "INSERT INTO xo_list (owner, owner_class, prop, pos, member) VALUES ('" +
                     all_.GetOidString() + "', 12, 5, 9, '" + welcome_.GetOidString() + "')");
  EXPECT_EQ(Xo_PolicyApi_GetGroupNames(handle_, XO_GROUP_RULE, "all", "sales", &names),
            XO_ERR_WRONG_CLASS);
}

TEST_F(GroupMembershipTest, NoMemberIsHeldTwiceAndNoGroupHoldsItself) {
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "get", "web"), XO_OK);
  ASSERT_EQ(Add(XO_GROUP_RULE, "all", "inner"), XO_OK);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "get", "web"), XO_ERR_ALREADY_MEMBER);
  EXPECT_EQ(Add(XO_GROUP_RULE, "all", "all"), Mapped(xo::store::kCycle));
  EXPECT_EQ(Add(XO_GROUP_RULE, "inner", "all"), Mapped(xo::store::kCycle));
  EXPECT_EQ(Stored(all_), (CXoObjIdArray{get_, inner_}));
}

TEST_F(GroupMembershipTest, RemovalTakesOutTheFirstOccurrenceOnly) {
  // The store keeps a list as written, repeats included.
  ASSERT_GE(CXoObjStore::SaveProperty(all_, CXoObjRuleGroup::Members,
                                      CXoObjIdArray{get_, mailGet_, get_}, Store().Sid()),
            0);
  EXPECT_EQ(Remove("get", "web"), XO_OK);
  EXPECT_EQ(Stored(all_), (CXoObjIdArray{mailGet_, get_}));
  EXPECT_EQ(Remove("post", "web"), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Remove("get", "web"), XO_OK);
  EXPECT_EQ(Remove("get", "web"), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Stored(all_), CXoObjIdArray{mailGet_});
}

// A name that is no group of the kind is no error, and the byte is left as
// the caller set it.
TEST_F(GroupMembershipTest, IsGroupWritesOnlyAYes) {
  Duplicate(Store().RuleGroup(sales_, "twin"));
  for (const auto& [type, name, domain, yes] : {std::tuple{XO_GROUP_RULE, "all", "sales", true},
                                                {XO_GROUP_AGENT, "edge", nullptr, true},
                                                {XO_GROUP_RULE, "get", "sales", false},
                                                {XO_GROUP_RESPONSE, "all", "sales", false},
                                                {XO_GROUP_RULE, "all", "other", false},
                                                {XO_GROUP_RULE, "twin", "sales", false}}) {
    uint8_t flag = 0x5A;
    EXPECT_EQ(Xo_PolicyApi_IsGroup(handle_, type, name, domain, &flag), XO_OK) << name;
    EXPECT_EQ(flag, yes ? 1 : 0x5A) << type << " " << name;
  }
}

// The type is checked before any name, even names that would not resolve.
TEST_F(GroupMembershipTest, EveryGroupFunctionRefusesAnUnknownType) {
  GroupRecord record = Zeroed<GroupRecord>();
  GroupRecord* list = nullptr;
  char** names = nullptr;
  uint8_t flag = 7;
  for (int32_t type : {0, 4, -1}) {
    EXPECT_EQ((std::vector<int32_t>{
                  Xo_PolicyApi_AddGroup(handle_, type, "nowhere", &record, 1),
                  Xo_PolicyApi_GetGroup(handle_, type, "x", "nowhere", &list),
                  Xo_PolicyApi_GetGroupNames(handle_, type, "x", "nowhere", &names),
                  Xo_PolicyApi_AddToGroup(handle_, type, "x", "y", "nowhere", "nowhere"),
                  Xo_PolicyApi_RemoveFromGroup(handle_, type, "x", "y", "nowhere", "nowhere"),
                  Xo_PolicyApi_IsGroup(handle_, type, "x", "nowhere", &flag),
                  Xo_PolicyApi_DeleteGroup(handle_, type, "nowhere", "x")}),
              std::vector<int32_t>(7, XO_ERR_BAD_GROUP_TYPE))
        << type;
  }
  EXPECT_EQ(flag, 7);
}

}  // namespace
}  // namespace xo::test
