// `xopolicy realm`: the protected areas of a domain, each served by an agent
// (or agent group) and an authentication scheme.
#include "XoObjStore.h"
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

// The library reads a top-level realm back with its domain's name as the
// parent; the tool shows and writes back an empty parent instead, which is
// what adding such a realm takes. The store tells the two cases apart.
void ClearDomainParent(Connection& c, const Scope&, RealmRecord& record) {
  CXoObjRealm realm{CXoObjId(std::string(record.objectId))};
  if (store::Failed(CXoObjStore::Fetch(realm, 0, nullptr, c.SessionId()))) return;
  if (realm.Id(CXoObjRealm::Parent).IsEqual(realm.GetDomainOid())) record.parentName[0] = '\0';
}

Noun<RealmRecord> RealmNoun() {
  using R = RealmRecord;
  Noun<R> noun;
  noun.command = "realm";
  noun.kind = "realm";
  noun.help = "Realms: protected areas of a domain, served by an agent and a scheme";
  noun.scope = ScopeKind::Domain;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      TextField("text", "realmText", &R::realmText, "The realm's text setting"),
      Required(TextField("agent", "agentName", &R::agentName, "Agent or agent group serving it")),
      Required(TextField("scheme", "schemeName", &R::schemeName, "Authentication scheme")),
      TextField("parent", "parentName", &R::parentName,
                "Parent realm in the same domain (empty: at the top)"),
      FlagField("flag1", "realmFlag1", &R::realmFlag1, "Realm flag 1"),
      FlagField("flag2", "realmFlag2", &R::realmFlag2, "Realm flag 2"),
      FlagField("flag3", "realmFlag3", &R::realmFlag3, "Realm flag 3"),
      IntegerField("int1", "realmInt1", &R::realmInt1, "Realm integer 1"),
      IntegerField("int2", "realmInt2", &R::realmInt2, "Realm integer 2"),
      FlagField("flag4", "realmFlag4", &R::realmFlag4, "Realm flag 4"),
  };
  noun.columns = {"name", "parent", "agent", "scheme", "description"};
  UseDomainCalls(noun, Xo_PolicyApi_GetRealm, Xo_PolicyApi_AddRealm, Xo_PolicyApi_DeleteRealm);
  noun.names = DomainObjectNames(XO_DOMAIN_REALMS, "realms");
  noun.tidy = ClearDomainParent;
  return noun;
}

void RegisterFlush(CLI::App& noun) {
  struct FlushVerb : VerbOptions {
    std::string name;
  };
  auto [verb, options] = AddVerb<FlushVerb>(
      noun, "flush", "Ask the policy servers to drop what they cached of a realm",
      ScopeKind::Domain);
  verb->add_option("name", options->name, "Name of the realm")->required();
  verb->callback([options = options] {
    Connection c(options->connection);
    const std::string what = "realm " + Quoted(options->name) + options->scope.Where();
    CheckCall(
        c, options->scope,
        Xo_PolicyApi_FlushRealm(c.Handle(), options->name.c_str(), options->scope.domain.c_str()),
        "cannot flush " + what);
    PrintDone(options->output, "Asked the servers to flush " + what + ".");
  });
}

}  // namespace

void RegisterRealmCommands(CLI::App& app) {
  CLI::App* noun = RegisterNoun(app, RealmNoun());
  RegisterFlush(*noun);
}

}  // namespace xo::cli
