// `xopolicy agent`: the clients of the policy servers, each of one agent type.
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

Noun<AgentRecord> AgentNoun() {
  using R = AgentRecord;
  Noun<R> noun;
  noun.command = "agent";
  noun.kind = "agent";
  noun.help = "Agents: clients of the policy servers, each of one agent type";
  noun.scope = ScopeKind::System;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      TextField("string1", "agentString1", &R::agentString1, "Agent string 1"),
      TextField("string2", "agentString2", &R::agentString2, "Agent string 2"),
      Required(TextField("agent-type", "agentTypeName", &R::agentTypeName,
                         "Agent type, such as \"HTTP Agent\" or \"RADIUS Agent\"")),
      IntegerField("int", "agentInt", &R::agentInt, "Agent integer"),
  };
  noun.columns = {"name", "agent-type", "description"};
  UseSystemCalls(noun, Xo_PolicyApi_GetAgent, Xo_PolicyApi_AddAgent, Xo_PolicyApi_DeleteAgent);
  noun.names = GlobalObjectNames(XO_GLOBAL_AGENTS, "agents");
  return noun;
}

}  // namespace

void RegisterAgentCommands(CLI::App& app) { RegisterNoun(app, AgentNoun()); }

}  // namespace xo::cli
