// `xopolicy link`: the bindings of a policy to rules (or rule groups), each
// with an optional response (or response group).
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

using R = PolicyLinkRecord;

std::vector<Field<R>> LinkFields() {
  return {
      TextField("id", "objectId", &R::objectId),
      TextField("realm", "realmName", &R::realmName),
      TextField("rule", "ruleName", &R::ruleName),
      TextField("response", "responseName", &R::responseName),
  };
}

struct LinkVerb : VerbOptions {
  std::string policy;
  std::string realm;
  std::string rule;
  std::string response;

  std::string Policy() const { return "policy " + Quoted(policy) + scope.Where(); }
  std::string Binding() const {
    return "link of " + Policy() + " to " + Quoted(rule) +
           (realm.empty() ? "" : " of realm " + Quoted(realm));
  }
  // A link to a rule group carries no realm; one to a rule, the rule's.
  bool Matches(const R& link) const {
    return rule == link.ruleName &&
           (realm.empty() || link.realmName[0] == '\0' || realm == link.realmName);
  }
};

// What a verb names besides the policy.
enum class Needs { Nothing, Rule, RuleMaybeResponse, RuleAndResponse };

std::shared_ptr<LinkVerb> DeclareLinkVerb(CLI::App& noun, const std::string& name,
                                          const std::string& help, Needs needs) {
  auto [verb, options] = AddVerb<LinkVerb>(noun, name, help, ScopeKind::Domain);
  verb->add_option("--policy", options->policy, "The policy")->required()->type_name("NAME");
  if (needs == Needs::Nothing) return options;
  verb->add_option("--rule", options->rule, "The rule, or rule group")
      ->required()
      ->type_name("NAME");
  CLI::Option* realm =
      verb->add_option("--realm", options->realm,
                       "The realm of the rule (the library asks for one for a group too)");
  realm->type_name("NAME");
  if (name != "get") realm->required();
  if (needs == Needs::Rule) return options;
  CLI::Option* response =
      verb->add_option("--response", options->response, "A response, or response group");
  response->type_name("NAME");
  if (needs == Needs::RuleAndResponse) response->required();
  return options;
}

std::vector<R> ReadLinks(Connection& c, const LinkVerb& v) {
  RequireExisting<PolicyRecord>(c, v.scope, v.Policy(), [&](PolicyRecord** list) {
    return Xo_PolicyApi_GetPolicy(c.Handle(), v.policy.c_str(), v.scope.domain.c_str(), list);
  });
  return ReadList<R>(c, v.scope, "cannot read the links of " + v.Policy(), [&](R** list) {
    return Xo_PolicyApi_GetPolicyLinks(c.Handle(), v.scope.domain.c_str(), v.policy.c_str(), list);
  });
}

std::vector<R> MatchingLinks(Connection& c, const LinkVerb& v) {
  std::vector<R> matching;
  for (const R& link : ReadLinks(c, v)) {
    if (v.Matches(link)) matching.push_back(link);
  }
  if (matching.empty()) NotFound("there is no " + v.Binding());
  return matching;
}

R RecordOf(const LinkVerb& v) {
  R record{};
  CopyText(record.realmName, v.realm, "--realm");
  CopyText(record.ruleName, v.rule, "--rule");
  CopyText(record.responseName, v.response, "--response");
  return record;
}

void Add(const LinkVerb& v) {
  R record = RecordOf(v);
  Connection c(v.connection);
  CheckCall(
      c, v.scope,
      Xo_PolicyApi_AddPolicyLink(c.Handle(), v.scope.domain.c_str(), v.policy.c_str(), &record),
      "cannot add a " + v.Binding());
  PrintDone(v.output, "Linked " + v.Policy() + " to " + Quoted(v.rule) + ".",
            nouns::DoneDetails(v.rule, record.objectId));
}

void List(const LinkVerb& v, bool onlyMatching) {
  Connection c(v.connection);
  const auto fields = LinkFields();
  std::vector<R> links = onlyMatching ? MatchingLinks(c, v) : ReadLinks(c, v);
  PrintListing(v.output, RecordsJson(fields, links),
               FieldColumns(fields, {"rule", "realm", "response"}));
}

// The library sets only responses, and answers success without a change when
// the name is a response group's; reading the links back tells.
void SetResponse(const LinkVerb& v) {
  R record = RecordOf(v);
  Connection c(v.connection);
  c.Begin();
  MatchingLinks(c, v);
  CheckCall(c, v.scope,
            Xo_PolicyApi_SetResponseInPolicyLink(c.Handle(), v.scope.domain.c_str(),
                                                 v.policy.c_str(), &record),
            "cannot set the response of the " + v.Binding());
  for (const R& link : MatchingLinks(c, v)) {
    if (v.response != link.responseName) {
      throw CommandError("cannot set the response of the " + v.Binding() + " to " +
                         Quoted(v.response) +
                         ": only a response can be set; to answer with a response group, delete "
                         "the link and add it again");
    }
  }
  c.Commit();
  PrintDone(v.output, "Set the response of the " + v.Binding() + " to " + Quoted(v.response) + ".");
}

void Delete(const LinkVerb& v) {
  Connection c(v.connection);
  c.Begin();
  MatchingLinks(c, v);
  CheckCall(c, v.scope,
            Xo_PolicyApi_RemoveRuleFromPolicy(c.Handle(), v.scope.domain.c_str(), v.policy.c_str(),
                                              v.realm.c_str(), v.rule.c_str()),
            "cannot delete the " + v.Binding());
  c.Commit();
  PrintDone(v.output, "Deleted the " + v.Binding() + ".");
}

}  // namespace

void RegisterLinkCommands(CLI::App& app) {
  CLI::App* noun = app.add_subcommand(
      "link", "Policy links: the rules (or rule groups) a policy binds, with their responses");
  auto add = DeclareLinkVerb(*noun, "add", "Bind a rule or rule group to a policy",
                             Needs::RuleMaybeResponse);
  noun->get_subcommand("add")->callback([add] { Add(*add); });
  auto get = DeclareLinkVerb(*noun, "get", "Show the links of a policy to a rule", Needs::Rule);
  noun->get_subcommand("get")->callback([get] { List(*get, true); });
  auto list = DeclareLinkVerb(*noun, "list", "List the links of a policy", Needs::Nothing);
  noun->get_subcommand("list")->callback([list] { List(*list, false); });
  auto update = DeclareLinkVerb(*noun, "update", "Set the response of a policy's links to a rule",
                                Needs::RuleAndResponse);
  noun->get_subcommand("update")->callback([update] { SetResponse(*update); });
  auto remove =
      DeclareLinkVerb(*noun, "delete", "Unbind a rule or rule group from a policy", Needs::Rule);
  noun->get_subcommand("delete")->callback([remove] { Delete(*remove); });
}

}  // namespace xo::cli
