// Objects named by their names: adding with and without the update flag,
// every object of a name read and deleted, what an update keeps and what a
// deletion takes with it.
#include <functional>

#include "XoStoreCodes.h"
#include "api/PolicyObjects.h"

namespace xo::test {
namespace {

using S = PolicyApiSession*;

// The calls of one kind, each given the scope of the name: the realm of a
// rule, the domain of anything else.
struct Kind {
  const char* name;
  std::function<int32_t(S, const char* scope, const char* name, const char* description,
                        uint8_t update)>
      add;
  std::function<Strings(S, const char* scope, const char* name)> read;
  std::function<int32_t(S, const char* name, const char* scope)> remove;
  const char *scope, *otherScope;  // where the name means another object, if anywhere
  // What the update flag gives for a name held by no object, or by two.
  int32_t updateUnresolved;
  int32_t deleteOfNothing;
};

void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

template <class Record>
Kind Calls(const char* kind, std::function<int32_t(S, const char*, Record*, uint8_t)> add,
           std::function<int32_t(S, const char*, const char*, Record**)> get,
           std::function<int32_t(S, const char*, const char*)> remove, const char* scope,
           const char* otherScope, int32_t unresolved, int32_t deleteOfNothing = XO_OK) {
  const auto addOne = [=](S h, const char* scope, const char* name, const char* description,
                          uint8_t update) {
    Record r = Zeroed<Record>();
    Put(r.name, name);
    Put(r.description, description);
    return add(h, scope, &r, update);
  };
  const auto read = [=](S h, const char* scope, const char* name) {
    // Each object as "identifier description".
    return Each<Record>(
        [&](Record** l) { return get(h, name, scope, l); },
        [](const Record& r) { return std::string(r.objectId) + " " + r.description; });
  };
  return {kind, addOne, read, remove, scope, otherScope, unresolved, deleteOfNothing};
}

template <int32_t kType>
Kind Groups(const char* kind, const char* domain, const char* otherDomain) {
  return Calls<GroupRecord>(
      kind,
      [](S h, const char* domain, GroupRecord* r, uint8_t update) {
        Put(r->vendorName, "HTTP Agent");
        return Xo_PolicyApi_AddGroup(h, kType, domain, r, update);
      },
      [](S h, const char* name, const char* domain, GroupRecord** l) {
        return Xo_PolicyApi_GetGroup(h, kType, name, domain, l);
      },
      [](S h, const char* name, const char* domain) {
        return Xo_PolicyApi_DeleteGroup(h, kType, domain, name);
      },
      domain, otherDomain, XO_OK);
}

// The record names what the object refers to; agent groups belong to no
// domain, and a domain name given for them is neither resolved nor needed.
const Kind kKinds[] = {
    Calls<RuleRecord>(
        "Rule",
        [](S h, const char* realm, RuleRecord* r, uint8_t update) {
          Put(r->realmName, realm);
          return Xo_PolicyApi_AddRule(h, "sales", r, update);
        },
        [](S h, const char* name, const char* realm, RuleRecord** l) {
          return Xo_PolicyApi_GetRule(h, name, realm, "sales", l);
        },
        [](S h, const char* name, const char* realm) {
          return Xo_PolicyApi_DeleteRule(h, name, realm, "sales");
        },
        "web", "mail", XO_OK, XO_ERR_RULE_SEARCH),
    Calls<RealmRecord>(
        "Realm",
        [](S h, const char* domain, RealmRecord* r, uint8_t update) {
          Put(r->agentName, "test agent");
          Put(r->schemeName, "Basic");
          return Xo_PolicyApi_AddRealm(h, domain, r, update);
        },
        Xo_PolicyApi_GetRealm, Xo_PolicyApi_DeleteRealm, "sales", "other", XO_ERR_GENERAL),
    Calls<PolicyRecord>("Policy", Xo_PolicyApi_AddPolicy, Xo_PolicyApi_GetPolicy,
                        Xo_PolicyApi_DeletePolicy, "sales", "other", XO_OK),
    Calls<ResponseRecord>(
        "Response",
        [](S h, const char* domain, ResponseRecord* r, uint8_t update) {
          Put(r->agentTypeName, "HTTP Agent");
          return Xo_PolicyApi_AddResponse(h, domain, r, update);
        },
        Xo_PolicyApi_GetResponse, Xo_PolicyApi_DeleteResponse, "sales", "other",
        XO_ERR_RESPONSE_SEARCH),
    Groups<XO_GROUP_RULE>("RuleGroup", "sales", "other"),
    Groups<XO_GROUP_AGENT>("AgentGroup", "nowhere", nullptr),
};

class ObjectsByName : public PolicyObjectsTest, public ::testing::WithParamInterface<Kind> {};

TEST_P(ObjectsByName, UpdateRewritesTheOneHolderAndDeleteTakesEveryHolder) {
  const Kind& kind = GetParam();
  ASSERT_EQ(kind.add(handle_, kind.scope, "x", "old", 0), XO_OK);
  const Strings added = kind.read(handle_, kind.scope, "x");
  ASSERT_EQ(added.size(), 1u);
  const std::string id = added[0].substr(0, added[0].find(' '));
  EXPECT_EQ(kind.add(handle_, kind.scope, "x", "new", 0), Mapped(xo::store::kNameTaken));
  ASSERT_EQ(kind.add(handle_, kind.scope, "x", "new", 1), XO_OK);
  EXPECT_EQ(kind.read(handle_, kind.scope, "x"), Strings{id + " new"});
  EXPECT_EQ(kind.add(handle_, kind.scope, "y", "", 1), kind.updateUnresolved);
  EXPECT_EQ(kind.read(handle_, kind.scope, "y").size(), kind.updateUnresolved == XO_OK ? 1u : 0u);

  // With two holders of the name both are read, and an update rewrites
  // neither: it makes a new object or fails.
  const std::string twin = Duplicate(CXoObjId(id)).GetOidString();
  EXPECT_EQ(kind.add(handle_, kind.scope, "x", "third", 1), kind.updateUnresolved);
  Strings holders = kind.read(handle_, kind.scope, "x");
  if (kind.updateUnresolved == XO_OK && !holders.empty()) {
    EXPECT_EQ(holders.back().substr(holders.back().find(' ')), " third");
    holders.pop_back();
  }
  EXPECT_EQ(holders, (Strings{id + " new", twin + " new"}));

  if (kind.otherScope != nullptr) {
    ASSERT_EQ(kind.add(handle_, kind.otherScope, "x", "apart", 0), XO_OK);
  }
  EXPECT_EQ(kind.remove(handle_, "x", kind.scope), XO_OK);
  EXPECT_TRUE(kind.read(handle_, kind.scope, "x").empty());
  if (kind.otherScope != nullptr) {
    EXPECT_EQ(kind.read(handle_, kind.otherScope, "x").size(), 1u);
  }
  EXPECT_EQ(kind.remove(handle_, "x", kind.scope), kind.deleteOfNothing);
}

INSTANTIATE_TEST_SUITE_P(EachKind, ObjectsByName, ::testing::ValuesIn(kKinds),
                         [](const auto& info) { return std::string(info.param.name); });

using ObjectsByNameTest = PolicyObjectsTest;

TEST_F(ObjectsByNameTest, UpdatesKeepAResponsesAttributesAndAGroupsMembers) {
  const Kind &responses = kKinds[3], &ruleGroups = kKinds[4];
  CXoObjResponseAttr attr("staff", Store().DictionaryAttr("Custom"), welcome_, 0, 0, sales_);
  Store().Save(attr);
  ASSERT_EQ(responses.add(handle_, "sales", "welcome", "new", 1), XO_OK);
  EXPECT_TRUE(Store().Exists(attr.GetOid()));
  ASSERT_EQ(Xo_PolicyApi_AddToGroup(handle_, XO_GROUP_RULE, "all", "get", "sales", "mail"), XO_OK);
  ASSERT_EQ(ruleGroups.add(handle_, "sales", "all", "new", 1), XO_OK);
  EXPECT_EQ(Members(XO_GROUP_RULE, "all"), Strings{"get"});
  // A list the store reports absent counts as empty.
  Faults().FailAt(StoreOp::FetchProperty, 1, xo::store::kPropertyAbsent);
  ASSERT_EQ(ruleGroups.add(handle_, "sales", "all", "", 1), XO_OK);
  EXPECT_TRUE(Members(XO_GROUP_RULE, "all").empty());
}

// A flush is a command for the servers naming the realm; without a domain
// name no realm is found to flush, though realms are read from every domain.
TEST_F(ObjectsByNameTest, RealmsWithoutADomainAreReadFromEveryDomainButNotFlushed) {
  Store().Realm(other_, "web");
  const Strings parents =
      Each<RealmRecord>([&](auto** l) { return Xo_PolicyApi_GetRealm(handle_, "web", "", l); },
                        [](const auto& r) { return std::string(r.parentName); });
  EXPECT_EQ(parents, (Strings{"sales", "other"}));
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, "web", ""), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, "docs", "sales"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_FlushRealm(handle_, "web", "sales"), XO_OK);
  EXPECT_EQ(Rows("SELECT command, argument FROM server_command"),
            Strings{"5|" + web_.GetOidString()});
  // A realm without a scheme is refused before its domain is sought.
  RealmRecord realm{0, "", "docs", "", "", "test agent", "", "", 0, 0, 0, 0, 0, 0, 0, {}, nullptr};
  EXPECT_EQ(Xo_PolicyApi_AddRealm(handle_, "nowhere", &realm, 0), XO_ERR_EMPTY_SCHEME);
}

// Deleting a response takes its attributes and leaves its links without a
// response; a realm its child realms and the rules of both; a policy its links.
TEST_F(ObjectsByNameTest, DeletionTakesWhatTheObjectOwns) {
  CXoObjRealm docs("docs", "", "", gateway_, WellKnownObjectId16A, WellKnownObjectId13, false,
                   false, false, {}, {}, 0, 0, web_, false, sales_);
  const CXoObjId page = Store().Rule(sales_, Store().Save(docs), "page");
  CXoObjResponseAttr attr("staff", Store().DictionaryAttr("Custom"), welcome_, 0, 0, sales_);
  Store().Save(attr);
  CXoObjPolicyLink link(mailGet_, welcome_, staff_, sales_);
  Store().Save(link);
  ASSERT_EQ(Xo_PolicyApi_DeleteResponse(handle_, "welcome", "sales"), XO_OK);
  EXPECT_FALSE(Store().Exists(attr.GetOid()));
  EXPECT_EQ(Rows("SELECT response FROM policy_link"), Strings{"00-"});
  ASSERT_EQ(Xo_PolicyApi_DeleteRealm(handle_, "web", "sales"), XO_OK);
  for (const CXoObjId& id : {web_, docs.GetOid(), page, get_, post_}) {
    EXPECT_FALSE(Store().Exists(id)) << id.GetOidString();
  }
  EXPECT_TRUE(Store().Exists(mailGet_));
  ASSERT_EQ(Xo_PolicyApi_DeletePolicy(handle_, "staff", "sales"), XO_OK);
  EXPECT_FALSE(Store().Exists(link.GetOid()));
}

}  // namespace
}  // namespace xo::test
