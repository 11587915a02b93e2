// Object identifiers, the administration protocol's texts, and the
// dictionary of classes and their numbered properties.
#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "XoAdmProtocol.h"
#include "XoObjDict.h"
#include "XoObjId.h"
#include "XoStoreCodes.h"

namespace {

TEST(ObjectIdTest, ClassesComeFromWellFormedTextsAndEqualityFromTheTextOnly) {
  const std::string rule = "0b-6f1c9a3e-5d2b-4c8e-9a71-2f0d4b8c1e77";
  EXPECT_EQ(CXoObjId(rule).GetOidClass(), XoObjId_Rule);
  EXPECT_EQ(CXoObjId("1c" + rule.substr(2)).GetOidClass(), XoObjId_AuditTrail);
  for (const std::string& bad : std::vector<std::string>{
           "", "00-", "0b", "0b-", "0B" + rule.substr(2), "1d" + rule.substr(2), rule.substr(0, 11),
           rule + "x", "0b_" + rule.substr(3, 23)}) {
    EXPECT_EQ(CXoObjId(bad).GetOidClass(), XoObjId_None) << bad;
  }
  for (const CXoObjId& id : {RootObjectId, WellKnownObjectId13, WellKnownObjectId16B}) {
    EXPECT_EQ(CXoObjId(id.GetOidString()).GetOidClass(), id.GetOidClass());
  }
  EXPECT_EQ(WellKnownObjectId26.GetOidString(), "fa347804-9d33-11d3-8025-006008aaae5b");
  EXPECT_EQ(WellKnownObjectId28.GetOidClass(), 28);
  EXPECT_TRUE(CXoObjId(XoObjId_Rule, "same").IsEqual(CXoObjId(XoObjId_Domain, "same")));
  EXPECT_FALSE(CXoObjId(XoObjId_Rule, "same").IsEqual(CXoObjId(XoObjId_Rule, "Same")));
  EXPECT_TRUE(NullObjectId.IsOidNull() && NullObjectId.GetOidString() == "00-");
  for (int cls : {0, 1, 28, 29}) {
    EXPECT_EQ(CXoObjId(static_cast<XoObjId_Class>(cls), "x").IsOidValid(), cls > 0 && cls < 29);
  }
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string id = CXoObjId::NewOid(XoObjId_ResponseGroup).GetOidString();
    EXPECT_TRUE(id.starts_with("09-") && CXoObjId::ClassOf(id) == XoObjId_ResponseGroup) << id;
    seen.insert(id);
  }
  EXPECT_EQ(seen.size(), 1000u);
}

TEST(DictionaryTest, ProtocolTextsAndPropertyNumbersNeverChange) {
  for (const char* null : {"", "@00-", "\"\"", "()"}) {
    EXPECT_TRUE(CXoAdmProtocol::IsNullValue(null)) << null;
  }
  EXPECT_FALSE(CXoAdmProtocol::IsNullValue("@00-x") || CXoAdmProtocol::IsNullValue("( )"));
  std::string empty, quoted;
  CXoAdmProtocol::MakeStringValue("", empty);
  CXoAdmProtocol::MakeStringValue("a b", quoted);
  EXPECT_TRUE(CXoAdmProtocol::IsNullValue(empty));
  EXPECT_EQ(quoted, "\"a b\"");
  EXPECT_EQ(CXoAdmProtocol::ArgSeparator() + " " + CXoAdmProtocol::ListSeparator() + " " +
                ProtocolMethodNames[0] + " " + ProtocolMethodNames[20] + " " +
                ProtocolMethodNames[21] + " " + CXoAdmProtocol::GetClassName(11),
            "& @@ null setpassword  Rule");
  const std::tuple<XoObjId_Class, const char*, int> kNumbers[] = {
      {XoObjId_Domain, "Name", 1},        {XoObjId_Domain, "Admins", 10},
      {XoObjId_Domain, "nothing", -1},    {XoObjId_Rule, "Realm", 4},
      {XoObjId_Admin, "Domains", 7},      {XoObjId_RuleGroup, "Members", 5},
      {XoObjId_DeviceGroup, "Members", 4}};
  for (const auto& [cls, name, number] : kNumbers) {
    EXPECT_EQ(CXoObjDictProp::ForClass(cls)->FindByName(name), number) << name;
  }
  for (const CXoObjDictProp* dict : CXoObjDictProp::All()) {
    for (size_t i = 0; i < dict->Props().size(); ++i) EXPECT_EQ(dict->Props()[i].number, i);
  }
  // An object made for an identifier is of its class; a copy keeps the
  // identifier, and a new one of the class has none.
  std::unique_ptr<CXoObjBase> rule(CXoObjDictProp::MakeObject(CXoObjId::NewOid(XoObjId_Rule)));
  ASSERT_NE(rule, nullptr);
  std::unique_ptr<CXoObjBase> copy(rule->Copy()), fresh(rule->New());
  EXPECT_TRUE(rule->GetClass() == XoObjId_Rule && fresh->GetClass() == XoObjId_Rule);
  EXPECT_TRUE(copy->GetOid().IsEqual(rule->GetOid()) && fresh->GetOid().IsOidNull());
  EXPECT_EQ(CXoObjDictProp::MakeObject(CXoObjId(std::string("garbage"))), nullptr);
  EXPECT_EQ(CXoObjDictProp::MakeObject(WellKnownObjectId26), nullptr);
}

// The protocol's view of an object: its values checked against the class's
// dictionary, and each value as the protocol writes it.
TEST(AdmObjectTest, ChecksValuesAgainstTheDictionaryAndWritesThemForTheProtocol) {
  using R = CXoObjRealm;
  namespace codes = xo::store;
  const CXoObjId domain = CXoObjId::NewOid(XoObjId_Domain);
  const CXoObjId agent = CXoObjId::NewOid(XoObjId_Device);
  const auto realm = [&](uint32_t prop, XoPropValue value) {
    std::unique_ptr<CXoObjBase> object(CXoObjDictProp::MakeObject(CXoObjId::NewOid(XoObjId_Realm)));
    object->Set(R::Domain, domain);
    object->Set(R::Name, std::string("r"));
    object->Set(R::Agent, agent);
    object->Set(R::Scheme, CXoObjId::NewOid(XoObjId_Scheme));
    object->Set(R::Parent, domain);
    object->Set(prop, std::move(value));
    return CXoAdmObject(std::move(object));
  };
  const std::tuple<uint32_t, XoPropValue, int32_t> kChecks[] = {
      {R::Description, std::string("d"), 0},
      {R::Name, std::string(), codes::kNameRequired},
      {R::Name, std::string(1023, 'n'), 0},
      {R::Name, std::string(1024, 'n'), codes::kTextTooLong},
      {R::Agent, NullObjectId, codes::kNameRequired},
      {R::Agent, domain, codes::kWrongClass},
      {R::AgentType, NullObjectId, 0},
      {R::Reserved1, domain, 0}};
  for (const auto& [prop, value, expected] : kChecks) {
    EXPECT_EQ(realm(prop, value).ValidateProps(), expected) << prop;
  }
  EXPECT_EQ(CXoAdmObject(XoObjId_Realm).ValidateProps(), codes::kNotFound);

  const CXoAdmObject flagged = realm(R::Flag1, true);
  const std::pair<uint32_t, std::string> kValues[] = {{R::Name, "\"r\""},
                                                      {R::Agent, "@" + agent.GetOidString()},
                                                      {R::Flag1, "1"},
                                                      {R::Flag2, "\"\""}};  // never set
  for (const auto& [prop, text] : kValues) EXPECT_EQ(flagged.SearchValue(prop), text) << prop;
  EXPECT_EQ(realm(R::Int2, int32_t{-7}).SearchValue(R::Int2), "-7");
  EXPECT_EQ(realm(R::Flag3, false).SearchValue(R::Flag3), "0");
  std::unique_ptr<CXoObjBase> owner(CXoObjDictProp::MakeObject(domain));
  const CXoObjId a = CXoObjId::NewOid(XoObjId_Admin), b = CXoObjId::NewOid(XoObjId_Admin);
  owner->Set(10, CXoObjIdArray{a, b});
  owner->Set(4, CXoObjIdArray{});
  const CXoAdmObject lists(std::move(owner));
  EXPECT_EQ(lists.SearchValue(10), "(@" + a.GetOidString() + "@@@" + b.GetOidString() + ")");
  EXPECT_EQ(lists.SearchValue(4), "()");
  EXPECT_EQ(CXoAdmObject(XoObjId_Realm).SearchValue(R::Name), "\"\"");
}

}  // namespace
