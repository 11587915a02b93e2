// The frame's name resolvers and name readers against a real store, for every
// kind (most API families reach them only through later work).
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "XoStoreCodes.h"
#include "frame/Names.h"
#include "frame/Resolve.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using namespace xo::frame;

class ResolveTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    realm_ = Store().Realm(sales_, "web");
  }

  struct Kind {
    const char* what;
    CXoObjId stored;  // the object named "target" of the kind
    std::function<int32_t(const std::string& name, CXoObjId& id)> resolve;
    int32_t searchFailure;
  };

  std::vector<Kind> Kinds() {
    const CXoAdmSession& s = Store().Session();
    const CXoObjId d = sales_, r = realm_;
    auto system = [&s](auto resolver) {
      return [&s, resolver](const std::string& n, CXoObjId& id) { return resolver(s, n, id); };
    };
    auto scoped = [&s, d](auto resolver) {
      return
          [&s, d, resolver](const std::string& n, CXoObjId& id) { return resolver(s, n, d, id); };
    };
    return {
        {"domain", Store().Domain("target"), system(ResolveDomain), -9},
        {"admin", Store().Admin("target", "pw", 0), system(ResolveAdmin), -23},
        {"odbc", Store().OdbcQuery("target"), system(ResolveOdbcQuery), -26},
        {"directory", Store().UserDirectory("target"), system(ResolveUserDirectory), -10},
        {"agent group", Store().AgentGroup("target"), system(ResolveAgentGroup), -22},
        {"scheme", Store().Scheme("target"), system(ResolveScheme), -13},
        {"agent", Store().Agent("target"), system(ResolveAgent), -11},
        {"agent type", WellKnownObjectId16B, system(ResolveAgentType), -12},
        {"policy", Store().Policy(d, "target"), scoped(ResolvePolicy), -7},
        {"rule group", Store().RuleGroup(d, "target"), scoped(ResolveRuleGroup), -22},
        {"response group", Store().ResponseGroup(d, "target"), scoped(ResolveResponseGroup), -22},
        {"response", Store().Response(d, "target"), scoped(ResolveResponse), -6},
        {"realm", Store().Realm(d, "target"), scoped(ResolveRealm), -8},
        {"rule", Store().Rule(d, r, "target"),
         [&s, d, r](const std::string& n, CXoObjId& id) { return ResolveRule(s, n, d, r, id); },
         -5},
        {"dictionary attribute", Store().DictionaryAttr("target"), system(ResolveDictionaryAttr),
         -14},
    };
  }

  CXoObjId realm_;
};

TEST_F(ResolveTest, EachKindResolvesItsNameOrSaysWhyNot) {
  // The agent type resolves by its seeded name.
  CXoObjId radius;
  ASSERT_EQ(ResolveAgentType(Store().Session(), "RADIUS Agent", radius), 0);
  EXPECT_EQ(radius, WellKnownObjectId16B);

  for (Kind& kind : Kinds()) {
    const std::string name = kind.stored == WellKnownObjectId16B ? "RADIUS Agent" : "target";
    CXoObjId id;
    EXPECT_EQ(kind.resolve(name, id), 0) << kind.what;
    EXPECT_EQ(id.GetOidString(), kind.stored.GetOidString()) << kind.what;

    id = sales_;
    EXPECT_EQ(kind.resolve("missing", id), XO_ERR_GENERAL) << kind.what;
    EXPECT_EQ(id, sales_) << kind.what;

    Faults().StartRecording();
    EXPECT_EQ(kind.resolve("", id), XO_ERR_EMPTY_NAME) << kind.what;
    EXPECT_TRUE(id.IsOidNull()) << kind.what;
    EXPECT_TRUE(Faults().Recorded().empty()) << kind.what;

    Faults().FailAt(StoreOp::Any, 1, xo::store::kBusy);
    EXPECT_EQ(kind.resolve(name, id), kind.searchFailure) << kind.what;
    Faults().Disarm();
  }
}

TEST_F(ResolveTest, NamesFoundTwiceAreAmbiguous) {
  const CXoObjId rule = Store().Rule(sales_, realm_, "get");
  Duplicate(rule);
  CXoObjId id = realm_;
  EXPECT_EQ(ResolveRule(Store().Session(), "get", sales_, realm_, id), XO_ERR_GENERAL);
  EXPECT_EQ(id, realm_);
}

TEST_F(ResolveTest, RulesAreNamedWithinTheirRealm) {
  const CXoObjId otherRealm = Store().Realm(sales_, "mail");
  const CXoObjId first = Store().Rule(sales_, realm_, "get");
  const CXoObjId second = Store().Rule(sales_, otherRealm, "get");
  CXoObjId id;
  EXPECT_EQ(ResolveRule(Store().Session(), "get", sales_, realm_, id), 0);
  EXPECT_EQ(id, first);
  EXPECT_EQ(ResolveRule(Store().Session(), "get", sales_, otherRealm, id), 0);
  EXPECT_EQ(id, second);
  EXPECT_EQ(ResolveRule(Store().Session(), "get", Store().Domain("other"), realm_, id),
            XO_ERR_GENERAL);
}

TEST_F(ResolveTest, TheLastDictionaryAttributeThatCanBeFetchedWins) {
  // One name under each agent type, found in creation order.
  const CXoObjId first = Store().DictionaryAttr("Color");
  CXoObjVendorAttr radius("Color", "", WellKnownObjectId16B, "string", 0);
  const CXoObjId second = Store().Save(radius);

  CXoObjId id;
  EXPECT_EQ(ResolveDictionaryAttr(Store().Session(), "Color", id), 0);
  EXPECT_EQ(id, second);
  Faults().FailAt(StoreOp::Fetch, 2, xo::store::kNotFound);
  EXPECT_EQ(ResolveDictionaryAttr(Store().Session(), "Color", id), 0);
  EXPECT_EQ(id, first);

  // A name whose only hit cannot be fetched is not resolved.
  Store().DictionaryAttr("Solo");
  Faults().FailAt(StoreOp::Fetch, 1, xo::store::kNotFound);
  EXPECT_EQ(ResolveDictionaryAttr(Store().Session(), "Solo", id), XO_ERR_RESPONSE_ATTR_SEARCH);
  EXPECT_EQ(id, first);
}

TEST_F(ResolveTest, ReadersTurnIdentifiersBackIntoNames) {
  const CXoAdmSession& s = Store().Session();
  const CXoObjId rule = Store().Rule(sales_, realm_, "get");
  using Reader = int32_t (*)(const CXoAdmSession&, const CXoObjId&, std::string&);
  const std::vector<std::tuple<CXoObjId, std::string, Reader>> readers = {
      {sales_, "sales", DomainName},
      {realm_, "web", RealmName},
      {Store().Scheme("target"), "target", SchemeName},
      {Store().UserDirectory("target"), "target", UserDirectoryName},
      {Store().Agent("target"), "target", AgentName},
      {Store().Response(sales_, "target"), "target", ResponseName},
      {Store().Policy(sales_, "target"), "target", PolicyName},
      {Store().DictionaryAttr("target"), "target", DictionaryAttrName},
      {Store().OdbcQuery("target"), "target", OdbcQueryName},
      {Store().RuleGroup(sales_, "target"), "target", RuleGroupName},
      {Store().ResponseGroup(sales_, "target"), "target", ResponseGroupName},
      {Store().AgentGroup("target"), "target", AgentGroupName},
  };
  for (const auto& [id, expected, read] : readers) {
    std::string name;
    EXPECT_EQ(read(s, id, name), 0) << id.GetOidString();
    EXPECT_EQ(name, expected);
    Faults().FailAt(StoreOp::Fetch, 1, xo::store::kNotFound);
    EXPECT_EQ(read(s, id, name), XO_ERR_GENERAL) << id.GetOidString();
    Faults().Disarm();
  }

  std::string name, realmName;
  EXPECT_EQ(RuleName(s, rule, name, &realmName), 0);
  EXPECT_EQ(name + "/" + realmName, "get/web");
  Faults().FailAt(StoreOp::Fetch, 2, xo::store::kNotFound);
  EXPECT_EQ(RuleName(s, rule, name, &realmName), XO_ERR_GENERAL);
  Faults().Disarm();
}

TEST_F(ResolveTest, ClassChecksComeBeforeTheStore) {
  const CXoAdmSession& s = Store().Session();
  const CXoObjId group = Store().RuleGroup(sales_, "group");
  std::string name = "unchanged";
  Faults().StartRecording();
  EXPECT_EQ(RuleName(s, group, name), XO_ERR_WRONG_CLASS);
  EXPECT_EQ(RuleGroupName(s, realm_, name), XO_ERR_WRONG_CLASS);
  EXPECT_EQ(ResponseGroupName(s, group, name), XO_ERR_WRONG_CLASS);
  EXPECT_EQ(AgentGroupName(s, group, name), XO_ERR_WRONG_CLASS);
  EXPECT_TRUE(Faults().Recorded().empty());
  EXPECT_EQ(name, "unchanged");

  // The agent type reader never fails; what it cannot read it leaves.
  EXPECT_EQ(AgentTypeName(s, CXoObjId::NewOid(XoObjId_Vendor), name), 0);
  EXPECT_EQ(name, "unchanged");
  EXPECT_EQ(AgentTypeName(s, WellKnownObjectId16A, name), 0);
  EXPECT_EQ(name, "HTTP Agent");
}

}  // namespace
}  // namespace xo::test
