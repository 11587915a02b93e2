// The command groups of xopolicy. Each group lives in a file of its own
// under commands/ and adds its subcommands to the application; main() only
// lists the groups.
#pragma once

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>

namespace xo::cli {

// Process exit codes.
constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;   // the command was understood but could not be done
constexpr int kExitUsage = 2;     // the command line itself is wrong
constexpr int kExitNotFound = 3;  // an object that the command names does not exist
constexpr int kExitNoLogin = 4;   // no session: the store cannot be used or the login failed

// Thrown by a command to stop with a message for the user and an exit code.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& message, int exitCode = kExitFailure)
      : std::runtime_error(message), exitCode_(exitCode) {}
  int ExitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

// `xopolicy init`: creates a new store with its first administrator.
void RegisterInitCommand(CLI::App& app);

// `xopolicy login` and `xopolicy logout`: a session kept between commands.
void RegisterLoginCommands(CLI::App& app);

// `xopolicy export` and `xopolicy apply`: policy as code.
void RegisterPolicyAsCodeCommands(CLI::App& app);

// One noun each, with its verbs: `xopolicy domain add ...`.
void RegisterDomainCommands(CLI::App& app);
void RegisterRealmCommands(CLI::App& app);
void RegisterRuleCommands(CLI::App& app);
void RegisterPolicyCommands(CLI::App& app);
void RegisterLinkCommands(CLI::App& app);
void RegisterResponseCommands(CLI::App& app);
void RegisterAttrCommands(CLI::App& app);
void RegisterAgentCommands(CLI::App& app);
void RegisterSchemeCommands(CLI::App& app);
void RegisterUserDirCommands(CLI::App& app);
void RegisterOdbcQueryCommands(CLI::App& app);
void RegisterAdminCommands(CLI::App& app);
void RegisterGroupCommands(CLI::App& app);
void RegisterUserCommands(CLI::App& app);

// `xopolicy rename OID NAME` and `xopolicy command NUMBER [ARGUMENT]`.
void RegisterRenameCommand(CLI::App& app);
void RegisterManagementCommand(CLI::App& app);

// The store's own records: `audit`, `commands`, `store info`, `store copy`
// and `store set-session-idle`.
void RegisterAuditCommand(CLI::App& app);
void RegisterServerCommandsCommand(CLI::App& app);
void RegisterStoreCommands(CLI::App& app);

}  // namespace xo::cli
