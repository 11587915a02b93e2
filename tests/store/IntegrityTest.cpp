// The store's integrity rules: names, lengths, references, ownership.
#include <gtest/gtest.h>

#include "StoreFixture.h"
#include "XoStoreCodes.h"

namespace xo::test {
namespace {

using namespace xo::store;

class IntegrityTest : public StoreTest {
 protected:
  CXoObjRealm NewRealm(const CXoObjId& domain, const std::string& name, const CXoObjId& parent,
                       const CXoObjId& agent) {
    return CXoObjRealm(name, "d", "t", agent, WellKnownObjectId16A, WellKnownObjectId13, true,
                       false, true, NullObjectId, NullObjectId, 7, -3, parent, true, domain);
  }
};

TEST_F(IntegrityTest, ANewStoreHoldsItsSeededObjects) {
  CXoObjVendor http(WellKnownObjectId16A);
  ASSERT_GE(CXoObjStore::Fetch(http, 0, nullptr, Sid()), 0);
  EXPECT_EQ(http.GetName(), "HTTP Agent");
  CXoObjVendor radius(WellKnownObjectId16B);
  ASSERT_GE(CXoObjStore::Fetch(radius, 0, nullptr, Sid()), 0);
  EXPECT_EQ(radius.GetName(), "RADIUS Agent");
  std::vector<std::string> names;
  for (const CXoObjId& id : List(radius, CXoObjVendor::Attributes)) {
    CXoObjVendorAttr attribute(id);
    ASSERT_GE(CXoObjStore::Fetch(attribute, 0, nullptr, Sid()), 0);
    EXPECT_TRUE(attribute.GetVendorOid().IsEqual(WellKnownObjectId16B));
    names.push_back(attribute.GetName());
  }
  for (const char* expected :
       {"Session-Timeout", "Idle-Timeout", "Reply-Message", "Filter-Id", "Class"}) {
    EXPECT_NE(std::find(names.begin(), names.end(), expected), names.end()) << expected;
  }
  EXPECT_FALSE(List(http, CXoObjVendor::Attributes).empty());
  CXoObjRoot root;
  EXPECT_EQ(Texts(List(root, CXoObjRoot::Schemes)),
            std::vector<std::string>{WellKnownObjectId13.GetOidString()});
  EXPECT_EQ(List(root, CXoObjRoot::Admins).size(), 1u);
  EXPECT_TRUE(List(root, CXoObjRoot::Domains).empty());
}

TEST_F(IntegrityTest, OpeningRefusesMissingAndUninitialisedFiles) {
  std::string message;
  EXPECT_EQ(CreateStore({"sqlite", path_}, {"x", "y", "minimum"}, message), kExists);
  EXPECT_NE(message.find("already exists"), std::string::npos);
  direct_.reset();
  SetEnvironment("XO_POLICY_STORE", directory_ + "/missing.db");
  EXPECT_FALSE(CXoObjStore::Init(message, false, false, false, false, false, false, true));
  EXPECT_NE(message.find("no policy store"), std::string::npos) << message;
  std::string empty = directory_ + "/empty.db";
  {
    FILE* f = fopen(empty.c_str(), "w");
    fclose(f);
  }
  SetEnvironment("XO_POLICY_STORE", "sqlite:" + empty);
  EXPECT_FALSE(CXoObjStore::Init(message, false, false, false, false, false, false, true));
  EXPECT_NE(message.find("not an initialised"), std::string::npos) << message;
  SetEnvironment("XO_POLICY_STORE", path_);
}

TEST_F(IntegrityTest, EveryValueOfARealmReadsBackAsSaved) {
  CXoObjId domain = S().Domain("d");
  CXoObjId agent = S().Agent("a");
  CXoObjRealm realm = NewRealm(domain, "r", domain, agent);
  ASSERT_GE(Save(realm), 0);
  CXoObjRealm back(realm.GetOid());
  ASSERT_GE(CXoObjStore::Fetch(back, 0, nullptr, Sid()), 0);
  EXPECT_EQ(back.GetName(), "r");
  EXPECT_EQ(back.GetRealmText(), "t");
  EXPECT_TRUE(back.GetAgentOid().IsEqual(agent));
  EXPECT_TRUE(back.GetSchemeOid().IsEqual(WellKnownObjectId13));
  EXPECT_TRUE(back.GetParentOid().IsEqual(domain));
  EXPECT_TRUE(back.GetDomainOid().IsEqual(domain));
  EXPECT_TRUE(back.GetFlag1() && !back.GetFlag2() && back.GetFlag3() && back.GetFlag4());
  EXPECT_EQ(back.GetInt1(), 7);
  EXPECT_EQ(back.GetInt2(), -3);
  EXPECT_TRUE(back.Id(CXoObjRealm::Reserved1).IsOidNull());
}

TEST_F(IntegrityTest, NamesAreUniqueWithinTheirScope) {
  CXoObjId d1 = S().Domain("d1");
  CXoObjId d2 = S().Domain("d2");
  CXoObjDomain again("d1", "", {}, {});
  EXPECT_EQ(Save(again), kNameTaken);
  CXoObjId agent = S().Agent("a");
  CXoObjRealm r1 = NewRealm(d1, "r", d1, agent);
  CXoObjRealm r2 = NewRealm(d2, "r", d2, agent);
  CXoObjRealm r3 = NewRealm(d1, "r", d1, agent);
  EXPECT_GE(Save(r1), 0);
  EXPECT_GE(Save(r2), 0);
  EXPECT_EQ(Save(r3), kNameTaken);
  CXoObjRealm other = NewRealm(d1, "other", d1, agent);
  ASSERT_GE(Save(other), 0);
  EXPECT_TRUE(S().Rule(d1, r1.GetOid(), "rule").GetOidClass() == XoObjId_Rule);
  EXPECT_TRUE(S().Rule(d1, other.GetOid(), "rule").GetOidClass() == XoObjId_Rule);
  // Renaming onto a taken name is refused too.
  EXPECT_EQ(CXoObjStore::SaveProperty(d2, CXoObjDomain::Name, std::string("d1"), Sid()),
            kNameTaken);
}

TEST_F(IntegrityTest, ReplacingByNameTakesOverTheStoredObject) {
  CXoObjId first = S().Domain("d", "old");
  CXoObjDomain replacement("d", "new", {}, {});
  ASSERT_GE(Save(replacement, true), 0);
  EXPECT_TRUE(replacement.GetOid().IsEqual(first));
  CXoObjDomain back(first);
  ASSERT_GE(CXoObjStore::Fetch(back, 0, nullptr, Sid()), 0);
  EXPECT_EQ(back.GetDescription(), "new");
  CXoObjDomain plain("d", "x", {}, {});
  EXPECT_EQ(Save(plain), kNameTaken);
  EXPECT_EQ(Save(back), kExists);
}

TEST_F(IntegrityTest, OverlongTextsAreRefusedWholeAndNothingIsCut) {
  std::string snapshot = SnapshotStoreFile(path_);
  CXoObjDomain tooLong(std::string(1024, 'n'), "", {}, {});
  EXPECT_EQ(Save(tooLong), kTextTooLong);
  CXoObjDomain longDescription("d", std::string(1024, 'x'), {}, {});
  EXPECT_EQ(Save(longDescription), kTextTooLong);
  CXoObjDomain empty("", "", {}, {});
  EXPECT_EQ(Save(empty), kNameRequired);
  EXPECT_EQ(SnapshotStoreFile(path_), snapshot);
  CXoObjDomain longest(std::string(1023, 'n'), std::string(1023, 'x'), {}, {});
  ASSERT_GE(Save(longest), 0);
  CXoObjDomain back(longest.GetOid());
  ASSERT_GE(CXoObjStore::Fetch(back, 0, nullptr, Sid()), 0);
  EXPECT_EQ(back.GetName().size(), 1023u);
  CXoObjIdArray hits;
  EXPECT_EQ(CXoObjStore::Search(CXoObjDomain(), hits, 1, std::string(5000, 'n'), Sid()),
            kTextTooLong);
}

TEST_F(IntegrityTest, ReferencesMustNameExistingObjectsOfTheRightClass) {
  CXoObjId domain = S().Domain("d");
  std::string snapshot = SnapshotStoreFile(path_);
  CXoObjPolicy ghostDomain("p", "", "", CXoObjTime(), true, false, "",
                           CXoObjId::NewOid(XoObjId_Domain));
  EXPECT_EQ(Save(ghostDomain), kDanglingRef);
  CXoObjPolicy wrongClass("p", "", "", CXoObjTime(), true, false, "", WellKnownObjectId13);
  EXPECT_EQ(Save(wrongClass), kWrongClass);
  CXoObjPolicy garbage("p", "", "", CXoObjTime(), true, false, "",
                       CXoObjId(std::string("not an id")));
  EXPECT_EQ(Save(garbage), kInvalidId);
  CXoObjPolicy noDomain("p", "", "", CXoObjTime(), true, false, "", NullObjectId);
  EXPECT_EQ(Save(noDomain), kInvalidId);
  CXoObjDomain listsGhost("e", "", {CXoObjId::NewOid(XoObjId_UserDirectory)}, {});
  EXPECT_EQ(Save(listsGhost), kDanglingRef);
  EXPECT_EQ(SnapshotStoreFile(path_), snapshot);
  CXoObjPolicy good("p", "", "", CXoObjTime(), true, false, "", domain);
  EXPECT_GE(Save(good), 0);
}

TEST_F(IntegrityTest, DeletingADomainDeletesEverythingItOwns) {
  CXoObjId domain = S().Domain("d");
  CXoObjId keep = S().Domain("keep");
  CXoObjId realm = S().Realm(domain, "r");
  CXoObjId child = S().Realm(domain, "child");
  ASSERT_GE(CXoObjStore::SaveProperty(child, CXoObjRealm::Parent, realm, Sid()), 0);
  CXoObjId rule = S().Rule(domain, child, "rule");
  CXoObjId policy = S().Policy(domain, "p");
  CXoObjId response = S().Response(domain, "resp");
  CXoObjPolicyLink link(rule, response, policy, domain);
  ASSERT_GE(Save(link), 0);
  CXoObjId keptRealm = S().Realm(keep, "r");
  ASSERT_GE(CXoObjStore::Delete(domain, Sid()), 0);
  for (const CXoObjId& gone : {domain, realm, child, rule, policy, response, link.GetOid()}) {
    EXPECT_FALSE(S().Exists(gone)) << gone.GetOidString();
  }
  EXPECT_TRUE(S().Exists(keptRealm));
  EXPECT_EQ(CXoObjStore::Delete(domain, Sid()), kNotFound);
  EXPECT_EQ(CXoObjStore::Delete(RootObjectId, Sid()), kInvalidArgument);
}

TEST_F(IntegrityTest, DeletingARealmTakesItsRulesAndChildRealmsOnly) {
  CXoObjId domain = S().Domain("d");
  CXoObjId parent = S().Realm(domain, "parent");
  CXoObjId child = S().Realm(domain, "child");
  CXoObjId sibling = S().Realm(domain, "sibling");
  ASSERT_GE(CXoObjStore::SaveProperty(child, CXoObjRealm::Parent, parent, Sid()), 0);
  CXoObjId rule = S().Rule(domain, child, "rule");
  CXoObjId otherRule = S().Rule(domain, sibling, "rule");
  CXoObjId group = S().RuleGroup(domain, "g");
  ASSERT_GE(CXoObjStore::SaveProperty(group, CXoObjRuleGroup::Members,
                                      CXoObjIdArray{rule, otherRule}, Sid()),
            0);
  ASSERT_GE(CXoObjStore::Delete(parent, Sid()), 0);
  EXPECT_FALSE(S().Exists(child));
  EXPECT_FALSE(S().Exists(rule));
  EXPECT_TRUE(S().Exists(sibling));
  EXPECT_TRUE(S().Exists(otherRule));
  CXoObjRuleGroup back(group);
  EXPECT_EQ(Texts(List(back, CXoObjRuleGroup::Members)),
            std::vector<std::string>{otherRule.GetOidString()});
}

TEST_F(IntegrityTest, ObjectsInUseCannotBeDeleted) {
  CXoObjId domain = S().Domain("d");
  CXoObjId agent = S().Agent("a");
  CXoObjId scheme = S().Scheme("s");
  CXoObjRealm realm = NewRealm(domain, "r", domain, agent);
  realm.Set(CXoObjRealm::Scheme, scheme);
  ASSERT_GE(Save(realm), 0);
  EXPECT_EQ(CXoObjStore::Delete(agent, Sid()), kInUse);
  EXPECT_EQ(CXoObjStore::Delete(scheme, Sid()), kInUse);
  CXoObjAdmin admin("adm", "", "pw", NullObjectId, scheme, false, {}, 0);
  ASSERT_GE(Save(admin), 0);
  ASSERT_GE(CXoObjStore::Delete(realm.GetOid(), Sid()), 0);
  EXPECT_GE(CXoObjStore::Delete(agent, Sid()), 0);
  EXPECT_EQ(CXoObjStore::Delete(scheme, Sid()), kInUse);
  ASSERT_GE(CXoObjStore::Delete(admin.GetOid(), Sid()), 0);
  EXPECT_GE(CXoObjStore::Delete(scheme, Sid()), 0);
  // A domain that owns the user of an agent goes together with it.
  CXoObjRealm owned = NewRealm(domain, "r2", domain, S().Agent("b"));
  ASSERT_GE(Save(owned), 0);
  EXPECT_GE(CXoObjStore::Delete(domain, Sid()), 0);
}

TEST_F(IntegrityTest, DeletedResponsesAndQuerySchemesLeaveNullReferences) {
  CXoObjId domain = S().Domain("d");
  CXoObjId rule = S().Rule(domain, S().Realm(domain, "r"), "rule");
  CXoObjId response = S().Response(domain, "resp");
  CXoObjPolicyLink link(rule, response, S().Policy(domain, "p"), domain);
  ASSERT_GE(Save(link), 0);
  ASSERT_GE(CXoObjStore::Delete(response, Sid()), 0);
  CXoObjPolicyLink back(link.GetOid());
  ASSERT_GE(CXoObjStore::Fetch(back, 0, nullptr, Sid()), 0);
  EXPECT_TRUE(back.GetResponseOid().IsOidNull());
  EXPECT_TRUE(back.GetRuleOid().IsEqual(rule));

  CXoObjId query = S().OdbcQuery("q");
  CXoObjUserDirectory dir("dir", "", "ODBC:", "", "", "", "", "", "", 0, 0, 0, false, false, "", "",
                          query, "", "", "", "", "");
  ASSERT_GE(Save(dir), 0);
  ASSERT_GE(CXoObjStore::Delete(query, Sid()), 0);
  CXoObjUserDirectory dirBack(dir.GetOid());
  ASSERT_GE(CXoObjStore::Fetch(dirBack, 0, nullptr, Sid()), 0);
  EXPECT_TRUE(dirBack.GetQuerySchemeOid().IsOidNull());
}

TEST_F(IntegrityTest, LoopsOfParentsAndNestedGroupsAreRefused) {
  CXoObjId domain = S().Domain("d");
  CXoObjId a = S().Realm(domain, "a");
  CXoObjId b = S().Realm(domain, "b");
  ASSERT_GE(CXoObjStore::SaveProperty(b, CXoObjRealm::Parent, a, Sid()), 0);
  EXPECT_EQ(CXoObjStore::SaveProperty(a, CXoObjRealm::Parent, b, Sid()), kCycle);
  EXPECT_EQ(CXoObjStore::SaveProperty(a, CXoObjRealm::Parent, a, Sid()), kCycle);
  CXoObjId g1 = S().RuleGroup(domain, "g1");
  CXoObjId g2 = S().RuleGroup(domain, "g2");
  CXoObjId g3 = S().RuleGroup(domain, "g3");
  ASSERT_GE(CXoObjStore::SaveProperty(g1, CXoObjRuleGroup::Members, CXoObjIdArray{g2}, Sid()), 0);
  ASSERT_GE(CXoObjStore::SaveProperty(g2, CXoObjRuleGroup::Members, CXoObjIdArray{g3}, Sid()), 0);
  EXPECT_EQ(CXoObjStore::SaveProperty(g3, CXoObjRuleGroup::Members, CXoObjIdArray{g1}, Sid()),
            kCycle);
  EXPECT_EQ(CXoObjStore::SaveProperty(g1, CXoObjRuleGroup::Members, CXoObjIdArray{g1}, Sid()),
            kCycle);
  EXPECT_EQ(CXoObjStore::SaveProperty(g1, CXoObjRuleGroup::Members,
                                      CXoObjIdArray{S().Response(domain, "resp")}, Sid()),
            kWrongClass);
}

TEST_F(IntegrityTest, StoredListsKeepTheirOrderAndDuplicates) {
  CXoObjId domain = S().Domain("d");
  CXoObjId a = S().UserDirectory("a");
  CXoObjId b = S().UserDirectory("b");
  CXoObjId c = S().UserDirectory("c");
  CXoObjDomain owner(domain);
  for (const CXoObjIdArray& order : {CXoObjIdArray{c, a, b}, CXoObjIdArray{c, a, b, a},
                                     CXoObjIdArray{b}, CXoObjIdArray{}, CXoObjIdArray{a, c}}) {
    ASSERT_GE(CXoObjStore::SaveProperty(domain, CXoObjDomain::UserDirectories, order, Sid()), 0);
    EXPECT_EQ(Texts(List(owner, CXoObjDomain::UserDirectories)), Texts(order));
  }
  ASSERT_GE(CXoObjStore::Delete(a, Sid()), 0);
  EXPECT_EQ(Texts(List(owner, CXoObjDomain::UserDirectories)),
            std::vector<std::string>{c.GetOidString()});
  ASSERT_GE(
      CXoObjStore::SaveProperty(domain, CXoObjDomain::UserDirectories, CXoObjIdArray{c, b}, Sid()),
      0);
  EXPECT_EQ(Texts(List(owner, CXoObjDomain::UserDirectories)),
            (std::vector<std::string>{c.GetOidString(), b.GetOidString()}));
}

TEST_F(IntegrityTest, DomainAdministratorsAndAdministratorDomainsAreOneRelation) {
  CXoObjId d1 = S().Domain("d1");
  CXoObjId d2 = S().Domain("d2");
  CXoObjId alice = S().Admin("alice", "pw", XO_ADMFLAG_DOMAIN);
  CXoObjId bob = S().Admin("bob", "pw", XO_ADMFLAG_DOMAIN);
  ASSERT_GE(CXoObjStore::SaveProperty(d1, CXoObjDomain::Admins, CXoObjIdArray{bob, alice}, Sid()),
            0);
  CXoObjAdmin aliceBack(alice);
  ASSERT_GE(CXoObjStore::Fetch(aliceBack, 0, nullptr, Sid()), 0);
  EXPECT_EQ(Texts(aliceBack.GetDomains()), std::vector<std::string>{d1.GetOidString()});
  // Saving the administrator with another domain list changes the domains.
  aliceBack.SetDomains({d2});
  ASSERT_GE(Save(aliceBack, true), 0);
  CXoObjDomain d1Back(d1), d2Back(d2);
  EXPECT_EQ(Texts(List(d1Back, CXoObjDomain::Admins)),
            std::vector<std::string>{bob.GetOidString()});
  EXPECT_EQ(Texts(List(d2Back, CXoObjDomain::Admins)),
            std::vector<std::string>{alice.GetOidString()});
  ASSERT_GE(CXoObjStore::Delete(bob, Sid()), 0);
  EXPECT_TRUE(List(d1Back, CXoObjDomain::Admins).empty());
}

TEST_F(IntegrityTest, DerivedListsFollowTheOwnedObjectsInCreationOrder) {
  CXoObjId domain = S().Domain("d");
  CXoObjId r2 = S().Realm(domain, "zz");
  CXoObjId r1 = S().Realm(domain, "aa");
  CXoObjDomain owner(domain);
  EXPECT_EQ(Texts(List(owner, CXoObjDomain::Realms)),
            (std::vector<std::string>{r2.GetOidString(), r1.GetOidString()}));
  EXPECT_EQ(CXoObjStore::SaveProperty(domain, CXoObjDomain::Realms, CXoObjIdArray{}, Sid()),
            kBadProperty);
  CXoObjRoot root;
  EXPECT_EQ(List(root, CXoObjRoot::Domains).size(), 1u);
}

}  // namespace
}  // namespace xo::test
