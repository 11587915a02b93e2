// `xopolicy user --userdir NAME`: the users of a directory, as the directory
// itself holds them: listed, disabled and enabled, given a new password, and
// flushed from the policy servers' caches.
#include <cstdlib>
#include <iostream>
#include <map>

#include "XoDsDir.h"
#include "XoObjStore.h"
#include "cli/Nouns.h"
#include "cli/PasswordInput.h"
#include "cli/UserEntries.h"

namespace xo::cli {
namespace {

const std::map<std::string, Xo_Api_DisabledReason_t> kReasons = {
    {"admin", Xo_Api_DisabledByAdmin},
    {"inactivity", Xo_Api_DisabledInactivity},
    {"password-expired", Xo_Api_DisabledPasswordExpired},
    {"failed-logins", Xo_Api_DisabledFailedLogins},
    {"password-policy", Xo_Api_DisabledPasswordPolicy},
};

std::string ReasonName(Xo_Api_DisabledReason_t reason) {
  if (reason == Xo_Api_NotDisabled) return "no";
  for (const auto& [name, value] : kReasons) {
    if (value == reason) return name;
  }
  return std::to_string(static_cast<int32_t>(reason));
}

struct UserVerb : VerbOptions {
  std::string user;
  std::string reason = "admin";
  std::string newPassword;
  bool newPasswordFromStdin = false;

  std::string What() const {
    return "user " + Quoted(user) + " of user directory " + Quoted(scope.userDir);
  }
};

std::shared_ptr<UserVerb> DeclareUserVerb(CLI::App& noun, const std::string& name,
                                          const std::string& help, bool named) {
  auto [verb, options] = AddVerb<UserVerb>(noun, name, help, ScopeKind::System);
  verb->add_option("--userdir", options->scope.userDir, "The user directory")
      ->required()
      ->type_name("NAME");
  if (named) {
    verb->add_option("user", options->user, "The user, as the directory names it")->required();
  }
  return options;
}

void SetState(const UserVerb& v, Xo_Api_DisabledReason_t reason) {
  Connection c(v.connection);
  CheckCall(
      c, v.scope,
      Xo_PolicyApi_SetDisableUserState(c.Handle(), v.scope.userDir.c_str(), v.user.c_str(), reason,
                                       nullptr),
      std::string("cannot ") + (reason == Xo_Api_NotDisabled ? "enable " : "disable ") + v.What());
  PrintDone(v.output,
            std::string(reason == Xo_Api_NotDisabled ? "Enabled " : "Disabled ") + v.What() + ".");
}

void Show(const UserVerb& v) {
  Connection c(v.connection);
  Xo_Api_DisabledReason_t reason = Xo_Api_NotDisabled;
  CheckCall(c, v.scope,
            Xo_PolicyApi_GetDisableUserState(c.Handle(), v.scope.userDir.c_str(), v.user.c_str(),
                                             &reason, nullptr),
            "cannot read the state of " + v.What());
  Json record = {{"entry", v.user},
                 {"disabled", ReasonName(reason)},
                 {"reason", static_cast<int32_t>(reason)}};
  PrintDetails(v.output, {record}, {{"entry", "entry"}, {"disabled", "disabled"}});
}

// Whether the directory holds more entries than a listing of it gives: the
// library's listing cannot say, so the directory is asked again, directly.
bool ListingIsCut(const Connection& c, const std::string& name) {
  CXoObjIdArray hits;
  if (store::Failed(CXoObjStore::Search(CXoObjUserDirectory(), hits, CXoObjUserDirectory::Name,
                                        name, c.SessionId())) ||
      hits.size() != 1) {
    return false;
  }
  CXoObjUserDirectory directory(hits.front());
  if (store::Failed(CXoObjStore::Fetch(directory, 0, nullptr, c.SessionId()))) return false;
  std::vector<std::string> entries, details;
  bool cut = false;
  return CXoDsDir(directory).Enumerate(entries, details, cut) && cut;
}

void List(const UserVerb& v) {
  Connection c(v.connection);
  UserEntryRecord* list = nullptr;
  CheckCall(c, v.scope,
            Xo_PolicyApi_GetDirectoryContents(c.Handle(), v.scope.userDir.c_str(), &list),
            "cannot list user directory " + Quoted(v.scope.userDir));
  const auto fields = DirectoryEntryFields();
  const std::vector<UserEntryRecord> records = TakeRecords(list);
  PrintListing(v.output, RecordsJson(fields, records), FieldColumns(fields));
  if (!records.empty() && ListingIsCut(c, v.scope.userDir)) {
    std::cerr << "xopolicy: the listing was cut after " << records.size()
              << " entries: the directory holds more (its maximum number of results, or its "
                 "server, stops there)\n";
  }
}

std::string NewPassword(const UserVerb& v) {
  if (v.newPasswordFromStdin) return ReadPasswordLine(std::cin);
  if (!v.newPassword.empty()) return v.newPassword;
  if (const char* fromEnvironment = std::getenv("XO_NEW_PASSWORD")) return fromEnvironment;
  throw CommandError(
      "give the new password with --new-password-stdin, XO_NEW_PASSWORD or --new-password",
      kExitUsage);
}

void SetPassword(const UserVerb& v) {
  Connection c(v.connection);
  const std::string password = NewPassword(v);
  CheckCall(c, v.scope,
            Xo_PolicyApi_SetPassword(c.Handle(), v.scope.userDir.c_str(), v.user.c_str(),
                                     password.c_str(), nullptr),
            "cannot set the password of " + v.What());
  PrintDone(v.output, "Set the password of " + v.What() + ".");
}

void Flush(const UserVerb& v) {
  Connection c(v.connection);
  CheckCall(c, v.scope, Xo_PolicyApi_FlushUser(c.Handle(), v.scope.userDir.c_str(), v.user.c_str()),
            "cannot flush " + v.What());
  PrintDone(v.output, "Asked the servers to flush " + v.What() + ".");
}

}  // namespace

void RegisterUserCommands(CLI::App& app) {
  CLI::App* noun = app.add_subcommand(
      "user", "The users of a user directory: their state, passwords and cached policy");

  auto list = DeclareUserVerb(*noun, "list", "List the entries of a user directory", false);
  noun->get_subcommand("list")->callback([list] { List(*list); });

  auto get = DeclareUserVerb(*noun, "get", "Show whether a user is disabled, and why", true);
  noun->get_subcommand("get")->callback([get] { Show(*get); });

  auto disable = DeclareUserVerb(*noun, "disable", "Disable a user", true);
  noun->get_subcommand("disable")
      ->add_option("--reason", disable->reason, "Why (default: admin)")
      ->check(CLI::IsMember(
          {"admin", "inactivity", "password-expired", "failed-logins", "password-policy"}));
  noun->get_subcommand("disable")->callback(
      [disable] { SetState(*disable, kReasons.at(disable->reason)); });

  auto enable = DeclareUserVerb(*noun, "enable", "Enable a disabled user", true);
  noun->get_subcommand("enable")->callback([enable] { SetState(*enable, Xo_Api_NotDisabled); });

  auto password = DeclareUserVerb(*noun, "set-password", "Give a user a new password", true);
  CLI::App* passwordVerb = noun->get_subcommand("set-password");
  CLI::Option* given = passwordVerb->add_option(
      "--new-password", password->newPassword,
      "The new password (visible to other users of this machine; prefer --new-password-stdin)");
  passwordVerb
      ->add_flag("--new-password-stdin", password->newPasswordFromStdin,
                 "Read the new password from standard input (the line after the login password "
                 "when --password-stdin is given too)")
      ->excludes(given);
  passwordVerb->callback([password] { SetPassword(*password); });

  auto flush = DeclareUserVerb(*noun, "flush",
                               "Ask the policy servers to drop what they cached of a user", true);
  noun->get_subcommand("flush")->callback([flush] { Flush(*flush); });
}

}  // namespace xo::cli
