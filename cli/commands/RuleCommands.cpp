// `xopolicy rule`: the rules of a realm.
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

using R = RuleRecord;

int32_t GetRules(PolicyApiSession* h, const Scope& s, const std::string& name, R** list) {
  return Xo_PolicyApi_GetRule(h, name.c_str(), s.realm.c_str(), s.domain.c_str(), list);
}

// The library names rules only together with their realm, and lists a
// domain's rule names without it: each realm is asked for each name.
std::vector<R> RulesOfScope(Connection& c, const Scope& scope) {
  std::vector<std::string> realms = {scope.realm};
  if (scope.realm.empty()) realms = DomainObjectNames(XO_DOMAIN_REALMS, "realms")(c, scope);
  std::vector<std::string> names = Distinct(DomainObjectNames(XO_DOMAIN_RULES, "rules")(c, scope));
  std::vector<R> rules;
  for (const std::string& realm : Distinct(realms)) {
    Scope inRealm = scope;
    inRealm.realm = realm;
    for (const std::string& name : names) {
      for (R& rule :
           ReadList<R>(c, inRealm, "cannot read rule " + Quoted(name) + inRealm.Where(),
                       [&](R** list) { return GetRules(c.Handle(), inRealm, name, list); })) {
        rules.push_back(rule);
      }
    }
  }
  return rules;
}

Noun<R> RuleNoun() {
  Noun<R> noun;
  noun.command = "rule";
  noun.kind = "rule";
  noun.help = "Rules: the texts and flags of a realm that policies bind";
  noun.scope = ScopeKind::Realm;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      TextField("realm", "realmName", &R::realmName),
      TextField("text1", "ruleText1", &R::ruleText1, "Rule text 1"),
      TextField("text2", "ruleText2", &R::ruleText2, "Rule text 2"),
      FlagField("flag1", "ruleFlag1", &R::ruleFlag1, "Rule flag 1"),
      FlagField("flag2", "ruleFlag2", &R::ruleFlag2, "Rule flag 2"),
      TextField("text3", "ruleText3", &R::ruleText3, "Rule text 3"),
      FlagField("flag3", "ruleFlag3", &R::ruleFlag3, "Rule flag 3"),
  };
  noun.columns = {"name", "realm", "description"};
  noun.get = GetRules;
  noun.add = [](PolicyApiSession* h, const Scope& s, R& record, uint8_t update) {
    return Xo_PolicyApi_AddRule(h, s.domain.c_str(), &record, update);
  };
  noun.remove = [](PolicyApiSession* h, const Scope& s, const std::string& name) {
    return Xo_PolicyApi_DeleteRule(h, name.c_str(), s.realm.c_str(), s.domain.c_str());
  };
  noun.listAll = RulesOfScope;
  noun.place = [](const Scope& s, R& record) { CopyText(record.realmName, s.realm, "--realm"); };
  return noun;
}

}  // namespace

void RegisterRuleCommands(CLI::App& app) { RegisterNoun(app, RuleNoun()); }

}  // namespace xo::cli
