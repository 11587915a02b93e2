#include <iostream>
#include <memory>

#include "cli/CommandGroups.h"
#include "cli/GlobalOptions.h"
#include "cli/PasswordInput.h"
#include "store/StoreBackend.h"
#include "store/XoStoreCodes.h"

namespace xo::cli {
namespace {

// The store, the first administrator's name and --password-stdin may also
// come before the command, as for every other command.
struct InitOptions {
  ConnectionOptions connection;
  std::string password;
  std::string hashCost = "interactive";
  CLI::Option* adminOption = nullptr;
  CLI::Option* passwordOption = nullptr;
  CLI::Option* storeOption = nullptr;
};

bool IsHashCost(const std::string& cost) {
  return cost == "minimum" || cost == "interactive" || cost == "moderate";
}

std::string ChoosePassword(const InitOptions& options) {
  if (options.connection.passwordFromStdin) {
    if (options.passwordOption->count() > 0) {
      throw CommandError("give the password with --password or with --password-stdin, not both",
                         kExitUsage);
    }
    std::string password = ReadPasswordLine(std::cin);
    if (password.empty()) {
      throw CommandError("no password on standard input (--password-stdin reads its first line)",
                         kExitUsage);
    }
    return password;
  }
  if (options.passwordOption->count() == 0) {
    throw CommandError("give the administrator's password with --password or --password-stdin",
                       kExitUsage);
  }
  if (options.password.empty()) throw CommandError("the password must not be empty", kExitUsage);
  return options.password;
}

std::string DescribeFailure(const store::StoreLocation& where, int32_t result,
                            const std::string& message) {
  if (result == store::kExists) {
    return store::DisplayName(where) +
           " already exists; init never overwrites it (choose another location with --store)";
  }
  std::string reason = message.empty() ? store::Describe(result) : message;
  return "could not create a policy store at " + store::DisplayName(where) + ": " + reason;
}

void RunInit(const InitOptions& options) {
  const std::string& adminName = options.connection.admin;
  if (adminName.empty() && options.adminOption->count() > 0) {
    throw CommandError("the administrator name must not be empty", kExitUsage);
  }
  if (adminName.empty()) {
    throw CommandError("give the name of the first administrator with --admin", kExitUsage);
  }
  if (options.storeOption->count() > 0 && options.connection.storeUri.empty()) {
    throw CommandError("--store needs a location (sqlite:PATH, PATH or postgresql://...)",
                       kExitUsage);
  }
  if (!IsHashCost(options.hashCost)) {
    throw CommandError(
        "--hash-cost must be minimum, interactive or moderate, not \"" + options.hashCost + "\"",
        kExitUsage);
  }
  std::string password = ChoosePassword(options);

  store::StoreLocation where = store::ResolveLocation(options.connection.storeUri);
  std::string message;
  int32_t result = store::CreateStore(
      where, store::NewStoreOptions{adminName, password, options.hashCost}, message);
  if (store::Failed(result)) throw CommandError(DescribeFailure(where, result, message));

  std::cout << "Created a new policy store at " << store::DisplayName(where) << " ("
            << where.backend << "), with system administrator \"" << adminName << "\".\n";
}

}  // namespace

void RegisterInitCommand(CLI::App& app) {
  auto options = std::make_shared<InitOptions>();
  CLI::App* init = app.add_subcommand(
      "init", "Create a new policy store with its first administrator, who holds the system right");

  options->adminOption =
      init->add_option("--admin", options->connection.admin, "Name of the first administrator")
          ->type_name("NAME");
  options->passwordOption =
      init->add_option("--password", options->password,
                       "The administrator's password (visible to other users of this machine; "
                       "prefer --password-stdin)")
          ->type_name("PASSWORD");
  init->add_flag("--password-stdin", options->connection.passwordFromStdin,
                 "Read the password from the first line of standard input")
      ->excludes(options->passwordOption);
  options->storeOption =
      init->add_option("--store", options->connection.storeUri,
                       "Where to create the store: sqlite:PATH, PATH or postgresql://... (default: "
                       "XO_POLICY_STORE, "
                       "else the per-user data directory)")
          ->type_name("URI");
  // Cheaper password hashing, for stores made by tests and benchmarks. Hidden
  // options have no name in CLI11's own messages, so RunInit checks the value.
  init->add_option("--hash-cost", options->hashCost, "Password hashing cost")->group("");
  FollowGlobalOptions(options->connection);

  init->callback([options] { RunInit(*options); });
}

}  // namespace xo::cli
