// `xopolicy rename OID NAME` and `xopolicy command NUMBER [ARGUMENT]`: the
// calls that act on any object, or on the policy servers.
#include "XoObjId.h"
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

// The library's code for the store's "object not found".
constexpr int32_t kObjectNotFound = -100;

}  // namespace

void RegisterRenameCommand(CLI::App& app) {
  struct RenameVerb : VerbOptions {
    std::string objectId;
    std::string newName;
  };
  auto options = std::make_shared<RenameVerb>();
  CLI::App* verb = app.add_subcommand(
      "rename", "Give any object, named by its identifier (\"id\" in get), a new name");
  verb->add_option("id", options->objectId, "The object's identifier")->required();
  verb->add_option("new-name", options->newName, "The new name")->required();
  AddVerbOptions(*verb, *options, ScopeKind::System);
  verb->callback([options] {
    char scratch[XO_TEXT_FIELD];
    CopyText(scratch, options->newName, "the new name");
    const std::string what = "object " + options->objectId;
    if (CXoObjId::ClassOf(options->objectId) == XoObjId_None) {
      throw CommandError(Quoted(options->objectId) + " is not an object identifier", kExitUsage);
    }
    Connection c(options->connection);
    int32_t code =
        Xo_PolicyApi_RenameObject(c.Handle(), options->objectId.c_str(), options->newName.c_str());
    if (code == kObjectNotFound) NotFound("there is no " + what);
    if (code == XO_ERR_GENERAL) {
      throw CommandError("cannot rename " + what + ": administrator " + Quoted(c.AdminName()) +
                         " may not manage it, or the change failed (result -1)");
    }
    Check(code, "cannot rename " + what);
    PrintDone(options->output, "Renamed " + what + " to " + Quoted(options->newName) + ".",
              {{"objectId", options->objectId}, {"name", options->newName}});
  });
}

void RegisterManagementCommand(CLI::App& app) {
  struct CommandVerb : VerbOptions {
    int32_t command = 0;
    std::string argument;
  };
  auto options = std::make_shared<CommandVerb>();
  CLI::App* verb =
      app.add_subcommand("command", "Record a management command (1 to 5) for the policy servers");
  verb->add_option("number", options->command, "The command, 1 to 5")
      ->required()
      ->check(CLI::Range(1, 5));
  verb->add_option("argument", options->argument, "The command's text argument");
  AddVerbOptions(*verb, *options, ScopeKind::System);
  verb->callback([options] {
    ManagementCommandRecord record{};
    record.command = options->command;
    CopyText(record.argument, options->argument, "the argument");
    Connection c(options->connection);
    const std::string what = "command " + std::to_string(options->command);
    int32_t code = Xo_PolicyApi_ManagementCommand(c.Handle(), &record);
    if (code == XO_ERR_GENERAL) {
      throw CommandError("cannot issue " + what + ": administrator " + Quoted(c.AdminName()) +
                         " may not issue it, or it could not be recorded (result -1)");
    }
    Check(code, "cannot issue " + what);
    PrintDone(options->output, "Recorded " + what + " for the policy servers.",
              {{"command", options->command}, {"argument", options->argument}});
  });
}

}  // namespace xo::cli
