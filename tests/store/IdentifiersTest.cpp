#include <gtest/gtest.h>

#include <set>

#include "XoAdmProtocol.h"
#include "XoObjDict.h"
#include "XoObjId.h"

namespace {

TEST(ObjectIdTest, ClassComesFromThePrefixOfAWellFormedString) {
  CXoObjId rule(std::string("0b-6f1c9a3e-5d2b-4c8e-9a71-2f0d4b8c1e77"));
  EXPECT_EQ(rule.GetOidClass(), XoObjId_Rule);
  EXPECT_TRUE(rule.IsOidValid());
  EXPECT_EQ(CXoObjId(std::string("1c-6f1c9a3e-5d2b-4c8e-9a71-2f0d4b8c1e77")).GetOidClass(),
            XoObjId_AuditTrail);
  for (const char* bad :
       {"", "00-", "0b", "0b-", "0B-6f1c9a3e-5d2b-4c8e-9a71-2f0d4b8c1e77",
        "1d-6f1c9a3e-5d2b-4c8e-9a71-2f0d4b8c1e77", "0b-6f1c9a3e",
        "0b-6f1c9a3e-5d2b-4c8e-9a71-2f0d4b8c1e77x", "0b_6f1c9a3e-5d2b-4c8e-9a71"}) {
    EXPECT_EQ(CXoObjId(std::string(bad)).GetOidClass(), XoObjId_None) << bad;
  }
}

TEST(ObjectIdTest, WellKnownGuidsKeepTheirClasses) {
  EXPECT_EQ(CXoObjId(RootObjectId.GetOidString()).GetOidClass(), XoObjId_Root);
  EXPECT_EQ(CXoObjId(WellKnownObjectId13.GetOidString()).GetOidClass(), XoObjId_Scheme);
  EXPECT_EQ(CXoObjId(WellKnownObjectId16B.GetOidString()).GetOidClass(), XoObjId_Vendor);
  EXPECT_EQ(WellKnownObjectId26.GetOidString(), "fa347804-9d33-11d3-8025-006008aaae5b");
  EXPECT_EQ(WellKnownObjectId28.GetOidClass(), 28);
}

TEST(ObjectIdTest, EqualityComparesTheTextOnly) {
  CXoObjId a(XoObjId_Rule, "same");
  CXoObjId b(XoObjId_Domain, "same");
  EXPECT_TRUE(a.IsEqual(b));
  EXPECT_FALSE(a.IsEqual(CXoObjId(XoObjId_Rule, "Same")));
  EXPECT_TRUE(NullObjectId.IsOidNull());
  EXPECT_EQ(NullObjectId.GetOidString(), "00-");
  EXPECT_FALSE(CXoObjId(XoObjId_None, "x").IsOidValid());
  EXPECT_FALSE(CXoObjId(static_cast<XoObjId_Class>(29), "x").IsOidValid());
  EXPECT_TRUE(CXoObjId(static_cast<XoObjId_Class>(1), "x").IsOidValid());
}

TEST(ObjectIdTest, NewIdentifiersAreUniqueAndReadBackAsTheirClass) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    CXoObjId id = CXoObjId::NewOid(XoObjId_ResponseGroup);
    EXPECT_EQ(id.GetOidString().substr(0, 3), "09-");
    EXPECT_EQ(CXoObjId::ClassOf(id.GetOidString()), XoObjId_ResponseGroup);
    seen.insert(id.GetOidString());
  }
  EXPECT_EQ(seen.size(), 1000u);
}

TEST(ProtocolTest, NullValuesAndQuoting) {
  EXPECT_TRUE(CXoAdmProtocol::IsNullValue(""));
  EXPECT_TRUE(CXoAdmProtocol::IsNullValue("@00-"));
  EXPECT_TRUE(CXoAdmProtocol::IsNullValue("\"\""));
  EXPECT_TRUE(CXoAdmProtocol::IsNullValue("()"));
  EXPECT_FALSE(CXoAdmProtocol::IsNullValue("@00-x"));
  EXPECT_FALSE(CXoAdmProtocol::IsNullValue("( )"));
  std::string quoted;
  CXoAdmProtocol::MakeStringValue("", quoted);
  EXPECT_TRUE(CXoAdmProtocol::IsNullValue(quoted));
  CXoAdmProtocol::MakeStringValue("a b", quoted);
  EXPECT_EQ(quoted, "\"a b\"");
  EXPECT_EQ(CXoAdmProtocol::ArgSeparator(), "&");
  EXPECT_EQ(CXoAdmProtocol::ListSeparator(), "@@");
  EXPECT_EQ(ProtocolMethodNames[0], "null");
  EXPECT_EQ(ProtocolMethodNames[20], "setpassword");
  EXPECT_EQ(ProtocolMethodNames[21], "");
  EXPECT_EQ(CXoAdmProtocol::GetClassName(11), "Rule");
}

TEST(DictionaryTest, FixedPropertyNumbersAndNames) {
  const CXoObjDictProp* domain = CXoObjDictProp::ForClass(XoObjId_Domain);
  ASSERT_NE(domain, nullptr);
  EXPECT_EQ(domain->FindByName("Oid"), 0);
  EXPECT_EQ(domain->FindByName("Name"), 1);
  EXPECT_EQ(domain->FindByName("Admins"), 10);
  EXPECT_EQ(domain->FindByName("nothing"), -1);
  const CXoObjDictProp* rule = CXoObjDictProp::ForClass(XoObjId_Rule);
  EXPECT_EQ(rule->FindByName("Domain"), 1);
  EXPECT_EQ(rule->FindByName("Name"), 2);
  EXPECT_EQ(rule->FindByName("Realm"), 4);
  EXPECT_EQ(CXoObjDictProp::ForClass(XoObjId_Admin)->FindByName("Domains"), 7);
  EXPECT_EQ(CXoObjDictProp::ForClass(XoObjId_PolicyLink)->FindByName("Policy"), 4);
  EXPECT_EQ(CXoObjDictProp::ForClass(XoObjId_RuleGroup)->FindByName("Members"), 5);
  EXPECT_EQ(CXoObjDictProp::ForClass(XoObjId_DeviceGroup)->FindByName("Members"), 4);
  EXPECT_EQ(CXoObjDictProp::ForClass(XoObjId_Response)->FindByName("Attributes"), 5);
  EXPECT_EQ(CXoObjDictProp::ForClass(XoObjId_ResponseAttr)->FindByName("Domain"), 1);
  for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
    for (size_t i = 0; i < dict->Props().size(); ++i) {
      EXPECT_EQ(dict->Props()[i].number, i) << dict->ClassName();
    }
  }
}

TEST(DictionaryTest, MakeObjectBuildsTheClassOfTheIdentifier) {
  std::unique_ptr<CXoObjBase> rule(CXoObjDictProp::MakeObject(CXoObjId::NewOid(XoObjId_Rule)));
  ASSERT_NE(rule, nullptr);
  EXPECT_EQ(rule->GetClass(), XoObjId_Rule);
  EXPECT_EQ(CXoObjDictProp::MakeObject(CXoObjId(std::string("garbage"))), nullptr);
  EXPECT_EQ(CXoObjDictProp::MakeObject(WellKnownObjectId26), nullptr);
  std::unique_ptr<CXoObjBase> copy(rule->Copy());
  EXPECT_TRUE(copy->GetOid().IsEqual(rule->GetOid()));
  std::unique_ptr<CXoObjBase> fresh(rule->New());
  EXPECT_EQ(fresh->GetClass(), XoObjId_Rule);
  EXPECT_TRUE(fresh->GetOid().IsOidNull());
}

}  // namespace
