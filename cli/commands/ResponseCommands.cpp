// `xopolicy response`: the responses of a domain, sent to agents of one agent
// type when a policy fires. Their values are `xopolicy attr`.
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

Noun<ResponseRecord> ResponseNoun() {
  using R = ResponseRecord;
  Noun<R> noun;
  noun.command = "response";
  noun.kind = "response";
  noun.help = "Responses: attribute values sent to agents of one agent type";
  noun.scope = ScopeKind::Domain;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      Required(TextField("agent-type", "agentTypeName", &R::agentTypeName,
                         "Agent type whose agents receive it, such as \"HTTP Agent\"")),
  };
  noun.columns = {"name", "agent-type", "description"};
  UseDomainCalls(noun, Xo_PolicyApi_GetResponse, Xo_PolicyApi_AddResponse,
                 Xo_PolicyApi_DeleteResponse);
  noun.names = DomainObjectNames(XO_DOMAIN_RESPONSES, "responses");
  return noun;
}

}  // namespace

void RegisterResponseCommands(CLI::App& app) { RegisterNoun(app, ResponseNoun()); }

}  // namespace xo::cli
