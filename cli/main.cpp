#include <iostream>

#include "cli/CommandGroups.h"

namespace {

using Registrar = void (*)(CLI::App&);

// Every command group of the tool, in the order `--help` lists them.
constexpr Registrar kCommandGroups[] = {
    xo::cli::RegisterInitCommand,
};

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Manage a policy store.", "xopolicy"};
  app.set_version_flag("--version", XO_VERSION);
  app.footer(
      "The store is chosen by --store where a command takes it, else by the environment\n"
      "variable XO_POLICY_STORE (sqlite:PATH or a bare PATH), else it is\n"
      "$XDG_DATA_HOME/xo-policy/policy.db (~/.local/share/xo-policy/policy.db).");
  for (Registrar registerGroup : kCommandGroups) registerGroup(app);

  try {
    app.parse(argc, argv);
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
  if (app.get_subcommands().empty()) {
    // Checked here rather than by CLI11, which would report a mistyped command
    // as a missing one.
    std::cerr << "xopolicy: a command is required\n" << app.help();
    return xo::cli::kExitUsage;
  }
  return xo::cli::kExitSuccess;
}
