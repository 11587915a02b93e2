#include "Records.h"

#include <initializer_list>

namespace xo::fuzz {

namespace {

using Field = char[XO_TEXT_FIELD];

// Fields of free text.
void Texts(Driver& d, std::initializer_list<Field*> fields) {
  for (Field* field : fields) d.Text(*field, Kind::Text);
}

void Flags(Driver& d, std::initializer_list<uint8_t*> flags) {
  for (uint8_t* flag : flags) *flag = d.AnyFlag();
}

}  // namespace

void Fill(Driver& d, RuleRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Rule);
  d.Text(r.description, Kind::Text);
  d.Text(r.realmName, Kind::Realm);
  Texts(d, {&r.ruleText1, &r.ruleText2, &r.timeText, &r.ruleText3});
  Flags(d, {&r.ruleFlag1, &r.ruleFlag2, &r.ruleFlag3, &r.reserved1});
}

void Fill(Driver& d, PolicyRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Policy);
  Texts(d, {&r.description, &r.policyText1, &r.policyText2});
  r.policyFlag = d.AnyFlag();
}

void Fill(Driver& d, RealmRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Realm);
  Texts(d, {&r.description, &r.realmText});
  d.Text(r.agentName, Kind::Agent);
  d.Text(r.schemeName, Kind::Scheme);
  if (d.Chance(50)) {
    d.Put(r.parentName, "");
  } else {
    d.Text(r.parentName, d.Chance(70) ? Kind::Realm : Kind::Domain);
  }
  Flags(d, {&r.realmFlag1, &r.realmFlag2, &r.realmFlag3, &r.realmFlag4});
  r.realmInt1 = d.AnyInt();
  r.realmInt2 = d.AnyInt();
}

void Fill(Driver& d, ResponseRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Response);
  d.Text(r.description, Kind::Text);
  d.Text(r.agentTypeName, Kind::AgentType);
}

void Fill(Driver& d, UserDirRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::UserDir);
  d.Text(r.description, Kind::Text);
  static const char* const kTypes[] = {"LDAP:", "ODBC:", "NT:", ""};
  d.Put(r.directoryType, kTypes[d.Below(4)]);
  // The server is one that answers at once, or nothing: the run never waits
  // on a network.
  static const char* const kServers[] = {"ldap://127.0.0.1:1", "DSN=xo-fuzz-absent", "",
                                         "not a uri"};
  if (d.Chance(5)) {
    d.Text(r.string1, Kind::Text);
  } else {
    d.Put(r.string1, kServers[d.Below(4)]);
  }
  for (auto* field : {&r.string2, &r.string3, &r.string4, &r.string5, &r.string6, &r.string7,
                      &r.string8, &r.string9, &r.string10, &r.string11, &r.string12, &r.string13}) {
    d.Text(*field, Kind::Text);
  }
  d.Text(r.querySchemeName, d.Chance(60) ? Kind::Text : Kind::OdbcQuery);
  r.int1 = d.AnyInt();
  r.int2 = static_cast<int32_t>(d.Below(3));  // timeout in seconds
  r.int3 = d.AnyInt();
  Flags(d, {&r.flag1, &r.flag2});
}

void Fill(Driver& d, AgentRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Agent);
  Texts(d, {&r.description, &r.agentString1, &r.agentString2});
  d.Text(r.agentTypeName, Kind::AgentType);
  r.agentInt = d.AnyInt();
}

void Fill(Driver& d, DomainRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Domain);
  d.Text(r.description, Kind::Text);
}

void Fill(Driver& d, PolicyLinkRecord& r) {
  d.Head(r);
  d.Text(r.realmName, Kind::Realm);
  d.Text(r.ruleName, d.Chance(70) ? Kind::Rule : Kind::Group);
  d.Text(r.responseName, d.Chance(70) ? Kind::Response : Kind::Group);
}

void Fill(Driver& d, ResponseAttrRecord& r) {
  d.Head(r);
  d.Text(r.attrName, Kind::Attribute);
  d.Text(r.value, Kind::Text);
  r.attrInt1 = d.AnyInt();
  r.attrInt2 = d.AnyInt();
}

void Fill(Driver& d, SchemeRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Scheme);
  Texts(d, {&r.description, &r.schemeString1, &r.schemeString2, &r.schemeString3});
  r.schemeInt1 = d.AnyInt();
  r.schemeInt2 = d.AnyInt();
  Flags(d, {&r.schemeFlag1, &r.schemeFlag2, &r.schemeFlag3, &r.schemeFlag4, &r.schemeFlag5,
            &r.reserved2});
}

void Fill(Driver& d, AdminRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Admin);
  Texts(d, {&r.description, &r.adminText});
  if (d.Chance(70)) {
    d.Put(r.userDirName, "");
  } else {
    d.Text(r.userDirName, Kind::UserDir);
  }
  d.Text(r.schemeName, d.Chance(50) ? Kind::Text : Kind::Scheme);
  static const int32_t kFlags[] = {0, XO_ADMIN_SYSTEM, XO_ADMIN_DOMAIN, XO_ADMIN_COMMAND(1),
                                   XO_ADMIN_COMMAND(8)};
  r.adminFlags = d.Chance(80) ? kFlags[d.Below(5)] : d.AnyInt();
}

void Fill(Driver& d, GroupRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::Group);
  d.Text(r.description, Kind::Text);
  d.Text(r.vendorName, Kind::AgentType);
}

void Fill(Driver& d, OdbcQuerySchemeRecord& r) {
  d.Head(r);
  d.Text(r.name, Kind::OdbcQuery);
  d.Text(r.description, Kind::Text);
  for (auto& query : r.query) d.Text(query, Kind::Text);
}

void Fill(Driver& d, ManagementCommandRecord& r) {
  r.command = d.Chance(80) ? static_cast<int32_t>(d.Below(8)) - 1 : d.AnyInt();
  d.Text(r.argument, Kind::Text);
}

}  // namespace xo::fuzz
