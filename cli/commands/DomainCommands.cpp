// `xopolicy domain`: policy domains, their user directories in search order
// and the administrators who manage them.
#include <algorithm>

#include "cli/Nouns.h"

namespace xo::cli {
namespace {

Noun<DomainRecord> DomainNoun() {
  using R = DomainRecord;
  Noun<R> noun;
  noun.command = "domain";
  noun.kind = "domain";
  noun.help = "Policy domains: the containers of realms, rules, policies and responses";
  noun.scope = ScopeKind::System;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
  };
  noun.columns = {"name", "description"};
  UseSystemCalls(noun, Xo_PolicyApi_GetDomain, Xo_PolicyApi_AddDomain, Xo_PolicyApi_DeleteDomain);
  noun.names = GlobalObjectNames(XO_GLOBAL_DOMAINS, "domains");
  return noun;
}

// The domain is the scope's: named, though the rights asked are system-wide.
struct MemberVerb : VerbOptions {
  std::string member;
  std::vector<std::string> members;

  std::string Domain() const { return "domain " + Quoted(scope.domain); }
};

std::vector<std::string> SearchOrder(Connection& c, const MemberVerb& verb) {
  char** names = nullptr;
  CheckCall(c, verb.scope,
            Xo_PolicyApi_GetUserDirSearchOrder(c.Handle(), verb.scope.domain.c_str(), &names),
            "cannot read the user directories of " + verb.Domain());
  return TakeNames(names);
}

std::vector<std::string> Administrators(Connection& c, const MemberVerb& verb) {
  char** names = nullptr;
  Scope domainScope = Scope::Of(ScopeKind::Domain, verb.scope.domain);
  CheckCall(c, domainScope,
            Xo_PolicyApi_GetDomainObjectNames(c.Handle(), verb.scope.domain.c_str(),
                                              XO_DOMAIN_ADMINISTRATORS, &names),
            "cannot read the administrators of " + verb.Domain());
  return TakeNames(names);
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// One member kind of a domain's lists: how it is named, read, added, removed.
struct MemberList {
  std::string kind;  // "user directory"
  std::string verbSuffix;
  std::vector<std::string> (*read)(Connection&, const MemberVerb&);
  int32_t(XO_API_CALL* add)(PolicyApiSession*, const char* member, const char* domain);
  int32_t(XO_API_CALL* remove)(PolicyApiSession*, const char* member, const char* domain);
};

void RegisterMembership(CLI::App& noun, const MemberList& list) {
  auto declare = [&](const std::string& verbName, const std::string& help) {
    auto [verb, options] = AddVerb<MemberVerb>(noun, verbName, help, ScopeKind::System);
    verb->add_option("domain", options->scope.domain, "The domain")->required();
    verb->add_option("member", options->member, "Name of the " + list.kind)->required();
    return std::make_pair(verb, options);
  };
  {
    auto [verb, options] =
        declare("add-" + list.verbSuffix, "Add " + nouns::WithArticle(list.kind) + " to a domain");
    verb->callback([list, options = options] {
      Connection c(options->connection);
      CheckCall(
          c, options->scope,
          list.add(c.Handle(), options->member.c_str(), options->scope.domain.c_str()),
          "cannot add " + list.kind + " " + Quoted(options->member) + " to " + options->Domain());
      PrintDone(options->output, "Added " + list.kind + " " + Quoted(options->member) + " to " +
                                     options->Domain() + ".");
    });
  }
  {
    auto [verb, options] = declare("remove-" + list.verbSuffix,
                                   "Take " + nouns::WithArticle(list.kind) + " out of a domain");
    verb->callback([list, options = options] {
      Connection c(options->connection);
      c.Begin();
      if (!Contains(list.read(c, *options), options->member)) {
        NotFound(list.kind + " " + Quoted(options->member) + " is not in " + options->Domain());
      }
      CheckCall(c, options->scope,
                list.remove(c.Handle(), options->member.c_str(), options->scope.domain.c_str()),
                "cannot take " + list.kind + " " + Quoted(options->member) + " out of " +
                    options->Domain());
      c.Commit();
      PrintDone(options->output, "Took " + list.kind + " " + Quoted(options->member) + " out of " +
                                     options->Domain() + ".");
    });
  }
}

void RegisterSearchOrder(CLI::App& noun) {
  auto [verb, options] = AddVerb<MemberVerb>(
      noun, "search-order",
      "Show a domain's user directories in search order, or set the order by naming them all",
      ScopeKind::System);
  verb->add_option("domain", options->scope.domain, "The domain")->required();
  verb->add_option("userdirs", options->members, "Every user directory of the domain, in order");
  verb->callback([options = options] {
    Connection c(options->connection);
    if (options->members.empty()) {
      PrintNames(options->output, SearchOrder(c, *options));
      return;
    }
    std::vector<char*> names;
    for (std::string& name : options->members) names.push_back(name.data());
    names.push_back(nullptr);
    CheckCall(
        c, options->scope,
        Xo_PolicyApi_SetUserDirSearchOrder(c.Handle(), options->scope.domain.c_str(), names.data()),
        "cannot set the search order of " + options->Domain());
    PrintDone(options->output, "Set the search order of " + options->Domain() + ".");
  });
}

void RegisterAdministrators(CLI::App& noun) {
  auto [verb, options] = AddVerb<MemberVerb>(
      noun, "admins", "List the administrators who manage a domain", ScopeKind::System);
  verb->add_option("domain", options->scope.domain, "The domain")->required();
  verb->callback([options = options] {
    Connection c(options->connection);
    PrintNames(options->output, Administrators(c, *options));
  });
}

}  // namespace

void RegisterDomainCommands(CLI::App& app) {
  CLI::App* noun = RegisterNoun(app, DomainNoun());
  RegisterMembership(*noun,
                     {"user directory", "userdir", SearchOrder, Xo_PolicyApi_AddUserDirToDomain,
                      Xo_PolicyApi_RemoveUserDirFromDomain});
  RegisterSearchOrder(*noun);
  RegisterMembership(*noun, {"administrator", "admin", Administrators,
                             Xo_PolicyApi_AddAdminToDomain, Xo_PolicyApi_RemoveAdminFromDomain});
  RegisterAdministrators(*noun);
}

}  // namespace xo::cli
