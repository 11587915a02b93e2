// Rules: named within their realm, so that one name may stand for a rule in
// each of several realms. The domain lists rule names only; which realms
// hold a rule of each name, and the rules themselves, come from the store.
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = RuleRecord;

// The domain's listing holds every rule whole; a rule's texts are never
// longer than a record's field, as the library saved them.
Json Read(Reader& reader) {
  Json rules = Json::array();
  for (const DomainIds::Rule& rule : reader.Ids().Rules()) rules.push_back(RuleObject(rule));
  return rules;
}

void Write(Writer& writer, const Change& change) {
  R r{};
  const Json& a = change.after;
  SetField(r.name, TextOf(a, "name"));
  SetField(r.description, TextOf(a, "description"));
  SetField(r.realmName, TextOf(a, "realm"));
  SetField(r.ruleText1, TextAt(a, "texts", 0));
  SetField(r.ruleText2, TextAt(a, "texts", 1));
  SetField(r.ruleText3, TextAt(a, "texts", 2));
  r.ruleFlag1 = FlagAt(a, "flags", 0);
  r.ruleFlag2 = FlagAt(a, "flags", 1);
  r.ruleFlag3 = FlagAt(a, "flags", 2);
  writer.Must(Xo_PolicyApi_AddRule(writer.Handle(), change.domain.c_str(), &r, writer.Update()));
}

void Remove(Writer& writer, const Change& change) {
  int32_t rc =
      Xo_PolicyApi_DeleteRule(writer.Handle(), TextOf(change.before, "name").c_str(),
                              TextOf(change.before, "realm").c_str(), change.domain.c_str());
  // Gone already when its realm went first.
  if (rc != XO_ERR_RULE_SEARCH) writer.Must(rc);
}

}  // namespace

Json RuleObject(const DomainIds::Rule& rule) {
  return {{"realm", rule.realm},
          {"name", rule.name},
          {"description", rule.description},
          {"texts", {rule.texts[0], rule.texts[1], rule.texts[2]}},
          {"flags", {rule.flags[0], rule.flags[1], rule.flags[2]}}};
}

const Kind& RuleKind() {
  static const Kind kind{"rules",
                         "rule",
                         2,
                         {{"realm", Text},
                          {"name", Text},
                          {"description", Text},
                          {"texts", Texts, 3},
                          {"flags", Flags, 3}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
