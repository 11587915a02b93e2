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
  noun.get = [](PolicyApiSession* h, const Scope& s, const std::string& name, R** list) {
    return Xo_PolicyApi_GetResponse(h, name.c_str(), s.domain.c_str(), list);
  };
  noun.add = [](PolicyApiSession* h, const Scope& s, R& record, uint8_t update) {
    return Xo_PolicyApi_AddResponse(h, s.domain.c_str(), &record, update);
  };
  noun.remove = [](PolicyApiSession* h, const Scope& s, const std::string& name) {
    return Xo_PolicyApi_DeleteResponse(h, name.c_str(), s.domain.c_str());
  };
  noun.names = DomainObjectNames(XO_DOMAIN_RESPONSES, "responses");
  return noun;
}

}  // namespace

void RegisterResponseCommands(CLI::App& app) { RegisterNoun(app, ResponseNoun()); }

}  // namespace xo::cli
