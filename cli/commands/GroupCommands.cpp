// `xopolicy group --type rule|response|agent`: groups of rules or responses
// in a domain, and groups of agents, with their members (which may be groups
// of the same type).
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

using R = GroupRecord;

std::vector<std::string> GroupNames(Connection& c, const Scope& s) {
  switch (s.GroupTypeCode()) {
    case XO_GROUP_RULE:
      return DomainObjectNames(XO_DOMAIN_RULE_GROUPS, "rule groups")(c, s);
    case XO_GROUP_RESPONSE:
      return DomainObjectNames(XO_DOMAIN_RESPONSE_GROUPS, "response groups")(c, s);
    default:
      return GlobalObjectNames(XO_GLOBAL_AGENT_GROUPS, "agent groups")(c, s);
  }
}

Noun<R> GroupNoun() {
  Noun<R> noun;
  noun.command = "group";
  noun.kind = "group";
  noun.help = "Groups of rules, of responses (in a domain) or of agents";
  noun.scope = ScopeKind::Group;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      Required(TextField("agent-type", "vendorName", &R::vendorName,
                         "Agent type of the group, such as \"HTTP Agent\"")),
  };
  noun.columns = {"name", "agent-type", "description"};
  noun.get = [](PolicyApiSession* h, const Scope& s, const std::string& name, R** list) {
    return Xo_PolicyApi_GetGroup(h, s.GroupTypeCode(), name.c_str(), s.domain.c_str(), list);
  };
  noun.add = [](PolicyApiSession* h, const Scope& s, R& record, uint8_t update) {
    return Xo_PolicyApi_AddGroup(h, s.GroupTypeCode(), s.domain.c_str(), &record, update);
  };
  noun.remove = [](PolicyApiSession* h, const Scope& s, const std::string& name) {
    return Xo_PolicyApi_DeleteGroup(h, s.GroupTypeCode(), s.domain.c_str(), name.c_str());
  };
  noun.names = GroupNames;
  return noun;
}

struct MemberVerb : VerbOptions {
  std::string group;
  std::string member;
  std::string realm;
};

std::shared_ptr<MemberVerb> DeclareMemberVerb(CLI::App& noun, const std::string& name,
                                              const std::string& help, bool withMember) {
  auto [verb, options] = AddVerb<MemberVerb>(noun, name, help, ScopeKind::Group);
  verb->add_option("group", options->group, "Name of the group")->required();
  if (withMember) {
    verb->add_option("member", options->member, "A rule, response or agent, or a group of them")
        ->required();
    verb->add_option("--realm", options->realm, "The realm of a rule member")->type_name("NAME");
  }
  return options;
}

std::string GroupWhat(const MemberVerb& v) {
  return v.scope.KindOf("group") + " " + Quoted(v.group) + v.scope.Where();
}

// Says so when the group is not there, rather than the library's bare -1.
void RequireGroup(Connection& c, const MemberVerb& v) {
  RequireExisting<R>(c, v.scope, GroupWhat(v), [&](R** list) {
    return Xo_PolicyApi_GetGroup(c.Handle(), v.scope.GroupTypeCode(), v.group.c_str(),
                                 v.scope.domain.c_str(), list);
  });
}

using MemberChange = int32_t(XO_API_CALL*)(PolicyApiSession*, int32_t, const char*, const char*,
                                           const char*, const char*);

struct MemberChangeVerb {
  std::string name;
  std::string help;
  MemberChange change;
  std::string verb;  // "add", "take"
  std::string done;  // "Added", "Took"
  std::string preposition;
};

void RegisterMemberChange(CLI::App& noun, const MemberChangeVerb& how) {
  auto options = DeclareMemberVerb(noun, how.name, how.help, true);
  noun.get_subcommand(how.name)->callback([how, options] {
    options->scope.CheckComplete();
    Connection c(options->connection);
    RequireGroup(c, *options);
    const std::string what =
        Quoted(options->member) + " " + how.preposition + " " + GroupWhat(*options);
    CheckCall(
        c, options->scope,
        how.change(c.Handle(), options->scope.GroupTypeCode(), options->group.c_str(),
                   options->member.c_str(), options->scope.domain.c_str(), options->realm.c_str()),
        "cannot " + how.verb + " " + what);
    PrintDone(options->output, how.done + " " + what + ".");
  });
}

void RegisterMembers(CLI::App& noun) {
  auto options = DeclareMemberVerb(noun, "members", "List the members of a group", false);
  noun.get_subcommand("members")->callback([options] {
    options->scope.CheckComplete();
    Connection c(options->connection);
    RequireGroup(c, *options);
    char** names = nullptr;
    CheckCall(
        c, options->scope,
        Xo_PolicyApi_GetGroupNames(c.Handle(), options->scope.GroupTypeCode(),
                                   options->group.c_str(), options->scope.domain.c_str(), &names),
        "cannot read the members of " + GroupWhat(*options));
    PrintNames(options->output, TakeNames(names));
  });
}

}  // namespace

void RegisterGroupCommands(CLI::App& app) {
  CLI::App* noun = RegisterNoun(app, GroupNoun());
  RegisterMemberChange(*noun, {"add-member", "Add a member to a group", Xo_PolicyApi_AddToGroup,
                               "add", "Added", "to"});
  RegisterMemberChange(*noun, {"remove-member", "Take a member out of a group",
                               Xo_PolicyApi_RemoveFromGroup, "take", "Took", "out of"});
  RegisterMembers(*noun);
}

}  // namespace xo::cli
