#include <iostream>

#include "cli/Arguments.h"
#include "cli/CommandGroups.h"
#include "cli/GlobalOptions.h"

namespace {

using Registrar = void (*)(CLI::App&);

// Every command group of the tool, in the order `--help` lists them.
constexpr Registrar kCommandGroups[] = {
    xo::cli::RegisterInitCommand,           xo::cli::RegisterLoginCommands,
    xo::cli::RegisterPolicyAsCodeCommands,  xo::cli::RegisterDomainCommands,
    xo::cli::RegisterRealmCommands,         xo::cli::RegisterRuleCommands,
    xo::cli::RegisterPolicyCommands,        xo::cli::RegisterLinkCommands,
    xo::cli::RegisterResponseCommands,      xo::cli::RegisterAttrCommands,
    xo::cli::RegisterAgentCommands,         xo::cli::RegisterSchemeCommands,
    xo::cli::RegisterUserDirCommands,       xo::cli::RegisterOdbcQueryCommands,
    xo::cli::RegisterAdminCommands,         xo::cli::RegisterGroupCommands,
    xo::cli::RegisterUserCommands,          xo::cli::RegisterRenameCommand,
    xo::cli::RegisterManagementCommand,     xo::cli::RegisterAuditCommand,
    xo::cli::RegisterServerCommandsCommand, xo::cli::RegisterStoreCommands,
};

// The innermost command that was given, so that `xopolicy realm` without a
// verb can be told apart from a complete command.
const CLI::App* InnermostCommand(const CLI::App& app) {
  const CLI::App* current = &app;
  for (;;) {
    std::vector<const CLI::App*> chosen =
        current->get_subcommands([](const CLI::App* sub) { return sub->parsed(); });
    if (chosen.empty()) return current;
    current = chosen.front();
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Manage a policy store.", "xopolicy"};
  app.set_version_flag("--version", XO_VERSION);
  app.footer(
      "--store, --admin, --password-stdin and --json may come before the command\n"
      "(xopolicy --store URI export) or after it (xopolicy export --store URI); given\n"
      "in both places, the one after the command wins.\n"
      "The store is chosen by --store, else by the environment variable\n"
      "XO_POLICY_STORE (sqlite:PATH or a bare PATH), else it is\n"
      "$XDG_DATA_HOME/xo-policy/policy.db (~/.local/share/xo-policy/policy.db).\n"
      "After 'xopolicy login', commands given no password (neither --password-stdin\n"
      "nor XO_PASSWORD) use the session it kept for the store, as its administrator\n"
      "(unless --admin or XO_ADMIN names another); a password given always logs in\n"
      "anew. 'xopolicy logout' ends the session.\n"
      "Exit status: 0 success, 1 failed or refused, 2 wrong command line, 3 an object\n"
      "named does not exist, 4 the store cannot be used or the login failed.");
  xo::cli::AddGlobalOptions(app);
  for (Registrar registerGroup : kCommandGroups) registerGroup(app);

  // Checked before the commands run, rather than by CLI11, which would report
  // a mistyped command as a missing one.
  app.parse_complete_callback([&app] {
    xo::cli::ApplyGlobalOptions();
    const CLI::App* innermost = InnermostCommand(app);
    if (innermost->get_subcommands({}).empty()) return;
    std::string what = innermost == &app ? "a command" : "a verb for " + innermost->get_name();
    throw xo::cli::CommandError(what + " is required\n" + innermost->help(), xo::cli::kExitUsage);
  });

  try {
    xo::cli::Arguments arguments(argc, argv);
    app.parse(arguments.Count(), arguments.Values());
  } catch (const CLI::ExtrasError& e) {
    // A word where a command or verb belongs names none of them.
    const CLI::App* innermost = InnermostCommand(app);
    if (innermost->get_subcommands({}).empty()) {
      return app.exit(e) == 0 ? xo::cli::kExitSuccess : xo::cli::kExitUsage;
    }
    std::vector<std::string> extras = innermost->remaining();
    const bool toplevel = innermost == &app;
    const std::string missing = toplevel ? "command" : "verb";
    if (extras.empty() || extras.front().rfind('-', 0) == 0) {
      std::cerr << "xopolicy: a " << missing << (toplevel ? "" : " for " + innermost->get_name())
                << " is required\n";
    } else {
      std::cerr << "xopolicy: unknown " << missing << " \"" << extras.front() << "\"\n";
    }
    std::cerr << "(xopolicy " << (toplevel ? "" : innermost->get_name() + " ")
              << "--help lists them)\n";
    return xo::cli::kExitUsage;
  } catch (const CLI::ParseError& e) {
    // Help and version requests come through here too, with exit code 0.
    return app.exit(e) == 0 ? xo::cli::kExitSuccess : xo::cli::kExitUsage;
  } catch (const xo::cli::CommandError& e) {
    std::cerr << "xopolicy: " << e.what() << '\n';
    return e.ExitCode();
  } catch (const std::exception& e) {
    std::cerr << "xopolicy: unexpected error: " << e.what() << '\n';
    return xo::cli::kExitFailure;
  }
  return xo::cli::kExitSuccess;
}
