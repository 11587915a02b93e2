// `xopolicy commands`: the management commands saved for the policy servers
// (by `xopolicy command`, realm and user flushes), oldest first.
#include "cli/Nouns.h"
#include "cli/StoreObjects.h"
#include "cli/StoreRecords.h"

namespace xo::cli {
namespace {

Json CommandJson(const CXoObjServerCommand& command) {
  return {{"objectId", command.GetOid().GetOidString()},
          {"time", IsoTime(command.GetIssuedAt())},
          {"command", command.GetCommand()},
          {"subCommand", command.GetSubCommand()},
          {"argument", command.GetArgument()},
          {"issuedBy", command.Text(CXoObjServerCommand::IssuedBy)}};
}

void ShowCommands(const VerbOptions& v) {
  Connection c(v.connection);
  RequireSystemRight(c, "the server commands");
  std::vector<Json> commands;
  for (const CXoObjServerCommand& command :
       StoreObjects<CXoObjServerCommand>(c, "server commands")) {
    commands.push_back(CommandJson(command));
  }
  PrintListing(v.output, commands,
               {{"time", "time"},
                {"command", "command"},
                {"subCommand", "sub-command"},
                {"argument", "argument"}});
}

}  // namespace

void RegisterServerCommandsCommand(CLI::App& app) {
  auto [verb, options] =
      AddVerb(app, "commands", "List the commands saved for the policy servers", ScopeKind::System);
  verb->callback([options = options] { ShowCommands(*options); });
}

}  // namespace xo::cli
