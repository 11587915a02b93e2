// `xopolicy policy`: the policies of a domain and the directory users and
// groups attached to them. Their bindings to rules are `xopolicy link`.
#include "cli/Nouns.h"
#include "cli/Resolutions.h"
#include "cli/UserEntries.h"

namespace xo::cli {
namespace {

Noun<PolicyRecord> PolicyNoun() {
  using R = PolicyRecord;
  Noun<R> noun;
  noun.command = "policy";
  noun.kind = "policy";
  noun.help = "Policies: what binds rules to responses and applies to directory users";
  noun.scope = ScopeKind::Domain;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      TextField("text1", "policyText1", &R::policyText1, "Policy text 1"),
      FlagField("flag", "policyFlag", &R::policyFlag, "Policy flag"),
      TextField("text2", "policyText2", &R::policyText2, "Policy text 2"),
  };
  noun.columns = {"name", "description"};
  UseDomainCalls(noun, Xo_PolicyApi_GetPolicy, Xo_PolicyApi_AddPolicy, Xo_PolicyApi_DeletePolicy);
  noun.names = DomainObjectNames(XO_DOMAIN_POLICIES, "policies");
  return noun;
}

struct PolicyUserVerb : VerbOptions {
  std::string policy;
  std::string entry;
  std::string resolution = "default";
};

std::shared_ptr<PolicyUserVerb> DeclarePolicyUserVerb(CLI::App& noun, const std::string& name,
                                                      const std::string& help, bool withEntry) {
  auto [verb, options] = AddVerb<PolicyUserVerb>(noun, name, help, ScopeKind::Domain);
  verb->add_option("policy", options->policy, "Name of the policy")->required();
  verb->add_option("--userdir", options->scope.userDir, "The user directory")
      ->required()
      ->type_name("NAME");
  if (withEntry) {
    verb->add_option("--entry", options->entry, "The user or group, as the directory names it")
        ->required()
        ->type_name("ENTRY");
  }
  return options;
}

// `"groups/staff" (user directory "people") to policy "p" in domain "D"`.
std::string PolicyUserWhat(const PolicyUserVerb& v, const std::string& preposition = "to") {
  return Quoted(v.entry) + " (user directory " + Quoted(v.scope.userDir) + ") " + preposition +
         " policy " + Quoted(v.policy) + v.scope.Where();
}

std::vector<UserEntryRecord> ReadPolicyUsers(Connection& c, const PolicyUserVerb& v) {
  return ReadList<UserEntryRecord>(
      c, v.scope, "cannot read the users of policy " + Quoted(v.policy) + v.scope.Where(),
      [&](UserEntryRecord** list) {
        return Xo_PolicyApi_GetPolicyUsers(c.Handle(), v.scope.domain.c_str(), v.policy.c_str(),
                                           v.scope.userDir.c_str(), list);
      });
}

void RegisterPolicyUsers(CLI::App& noun) {
  {
    auto options = DeclarePolicyUserVerb(noun, "add-user",
                                         "Attach a user or group of a directory to a policy", true);
    CLI::App* verb = noun.get_subcommand("add-user");
    verb->add_option("--resolution", options->resolution, "How the entry is matched with users")
        ->check(CLI::IsMember(ResolutionNames()))
        ->type_name("KIND");
    verb->callback([options] {
      int32_t resolution = 0;
      ResolutionNamed(options->resolution, resolution);
      Connection c(options->connection);
      CheckCall(c, options->scope,
                Xo_PolicyApi_AddUsersToPolicy(
                    c.Handle(), options->scope.domain.c_str(), options->policy.c_str(),
                    options->scope.userDir.c_str(), options->entry.c_str(),
                    static_cast<Xo_PolicyResolution_t>(resolution)),
                "cannot attach " + PolicyUserWhat(*options));
      PrintDone(options->output, "Attached " + PolicyUserWhat(*options) + ".");
    });
  }
  {
    auto options = DeclarePolicyUserVerb(
        noun, "remove-user", "Detach a user or group of a directory from a policy", true);
    noun.get_subcommand("remove-user")->callback([options] {
      Connection c(options->connection);
      c.Begin();
      bool attached = false;
      for (const UserEntryRecord& user : ReadPolicyUsers(c, *options)) {
        attached = attached || options->entry == user.entry;
      }
      if (!attached) NotFound("there is no attachment of " + PolicyUserWhat(*options));
      CheckCall(c, options->scope,
                Xo_PolicyApi_RemoveUsersFromPolicy(
                    c.Handle(), options->scope.domain.c_str(), options->policy.c_str(),
                    options->scope.userDir.c_str(), options->entry.c_str()),
                "cannot detach " + PolicyUserWhat(*options, "from"));
      c.Commit();
      PrintDone(options->output, "Detached " + PolicyUserWhat(*options, "from") + ".");
    });
  }
  {
    auto options = DeclarePolicyUserVerb(
        noun, "users", "List the users and groups of a directory attached to a policy", false);
    noun.get_subcommand("users")->callback([options] {
      Connection c(options->connection);
      PrintListing(options->output, PolicyUsersJson(ReadPolicyUsers(c, *options)),
                   PolicyUserColumns());
    });
  }
}

}  // namespace

void RegisterPolicyCommands(CLI::App& app) {
  CLI::App* noun = RegisterNoun(app, PolicyNoun());
  RegisterPolicyUsers(*noun);
}

}  // namespace xo::cli
