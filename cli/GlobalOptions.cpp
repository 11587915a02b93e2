#include "cli/GlobalOptions.h"

#include <vector>

namespace xo::cli {
namespace {

struct Globals {
  ConnectionOptions connection;
  OutputOptions output;
  std::vector<ConnectionOptions*> connectionFollowers;
  std::vector<OutputOptions*> outputFollowers;
};

Globals& State() {
  static Globals globals;
  return globals;
}

// An empty store or administrator before the command would be taken for
// none at all.
const CLI::Validator kNotEmpty(
    [](std::string& value) { return value.empty() ? std::string("must not be empty") : ""; }, "",
    "not empty");

}  // namespace

void AddGlobalOptions(CLI::App& app) {
  Globals& globals = State();
  app.add_option("--store", globals.connection.storeUri,
                 "The store: sqlite:PATH, PATH or postgresql://... (default: XO_POLICY_STORE, else "
                 "the per-user data directory)")
      ->type_name("URI")
      ->check(kNotEmpty);
  app.add_option("--admin", globals.connection.admin,
                 "Administrator to log in as (default: XO_ADMIN); for init, the first "
                 "administrator")
      ->type_name("NAME")
      ->check(kNotEmpty);
  app.add_flag("--password-stdin", globals.connection.passwordFromStdin,
               "Read the password from the first line of standard input (else XO_PASSWORD, "
               "else a prompt)");
  app.add_flag("--json", globals.output.json,
               "Print JSON for scripts instead of a table (commands that print records)");
}

void FollowGlobalOptions(ConnectionOptions& options) {
  State().connectionFollowers.push_back(&options);
}

void FollowGlobalOptions(OutputOptions& options) { State().outputFollowers.push_back(&options); }

void ApplyGlobalOptions() {
  const Globals& globals = State();
  for (ConnectionOptions* options : globals.connectionFollowers) {
    if (options->storeUri.empty()) options->storeUri = globals.connection.storeUri;
    if (options->admin.empty()) options->admin = globals.connection.admin;
    options->passwordFromStdin = options->passwordFromStdin || globals.connection.passwordFromStdin;
  }
  for (OutputOptions* options : globals.outputFollowers) {
    options->json = options->json || globals.output.json;
  }
}

}  // namespace xo::cli
