// `xopolicy store info`: which store this is and what it holds; `xopolicy
// store copy`: the whole store into a new file or an empty database;
// `xopolicy store set-session-idle`: how long a kept session may go unused.
#include <iostream>
#include <memory>
#include <utility>

#include "XoAdmSession.h"
#include "XoObjId.h"
#include "cli/Nouns.h"
#include "cli/StoreRecords.h"
#include "store/StoreBackend.h"
#include "store/XoStoreCodes.h"

namespace xo::cli {
namespace {

void ShowInfo(const VerbOptions& v) {
  Connection c(v.connection);
  store::StoreInfo info;
  int32_t read = store::CurrentBackend()->ReadInfo(info);
  if (store::Failed(read)) {
    throw CommandError(std::string("cannot read the store's details: ") + store::Describe(read));
  }
  Json counts = Json::object();
  std::vector<Json> rows;
  for (const auto& [className, count] : info.objectCounts) {
    counts[KindOfClassName(className)] = count;
    rows.push_back({{"kind", KindOfClassName(className)}, {"count", count}});
  }
  std::string idle = std::to_string(store::kDefaultSessionIdleMinutes);
  store::CurrentBackend()->ReadSetting(store::kSessionIdleSetting, idle);
  Json details = {{"backend", info.backend},
                  {"location", info.location},
                  {"schemaVersion", info.schemaVersion},
                  {"sessionIdleMinutes", std::stoll(idle)},
                  {"objects", counts}};
  if (v.output.json) {
    std::cout << details.dump(2) << '\n';
    return;
  }
  PrintDetails(v.output, {details},
               {{"backend", "backend"},
                {"location", "location"},
                {"schemaVersion", "schema version"},
                {"sessionIdleMinutes", "session idle minutes"}});
  std::cout << '\n';
  PrintListing(v.output, rows, {{"kind", "objects"}, {"count", "count"}});
}

void SetSessionIdle(const VerbOptions& v, int64_t minutes) {
  Connection c(v.connection);
  if (!c.Allowed(XO_RIGHT_MANAGE, 0, RootObjectId)) {
    throw CommandError("administrator " + Quoted(c.AdminName()) +
                       " may not change the store's settings (that takes the system right)");
  }
  const int32_t written = store::CurrentBackend()->WriteSetting(
      c.SessionId(), store::kSessionIdleSetting, std::to_string(minutes));
  if (store::Failed(written)) {
    throw CommandError(std::string("cannot change the idle time: ") + store::Describe(written));
  }
  const std::string where = store::DisplayName(store::ResolveLocation());
  PrintDone(v.output,
            minutes == 0 ? "The store at " + where + " keeps no sessions now."
                         : "Kept sessions of the store at " + where + " now end after " +
                               std::to_string(minutes) + " minutes unused.",
            {{"sessionIdleMinutes", minutes}});
}

// The copy works on the databases themselves, as a backup does: it needs
// the right to read the one and to write the other, not a store login.
void Copy(const std::string& from, const std::string& to) {
  const store::StoreLocation source = store::ResolveLocation(from);
  const store::StoreLocation target = store::ResolveLocation(to);
  std::string message;
  const int32_t copied = store::CopyStore(source, target, message);
  if (store::Failed(copied)) {
    throw CommandError(message.empty() ? store::Describe(copied) : message);
  }
  std::cout << "Copied the store at " << store::DisplayName(source) << " to "
            << store::DisplayName(target) << ".\n";
}

}  // namespace

void RegisterStoreCommands(CLI::App& app) {
  CLI::App* noun = app.add_subcommand("store", "The store itself");
  auto [verb, options] =
      AddVerb(*noun, "info", "Show the backend, location, schema version and object counts",
              ScopeKind::System);
  verb->callback([options = options] { ShowInfo(*options); });

  auto [idle, idleOptions] = AddVerb(
      *noun, "set-session-idle",
      "Set how long a session kept by 'xopolicy login' may go unused, in minutes (0: keep none)",
      ScopeKind::System);
  auto minutes = std::make_shared<int64_t>(0);
  idle->add_option("minutes", *minutes, "Minutes; 0 ends every kept session and keeps no more")
      ->required()
      ->check(CLI::Range(int64_t{0}, int64_t{366} * 24 * 60));
  idle->callback([options = idleOptions, minutes] { SetSessionIdle(*options, *minutes); });

  auto locations = std::make_shared<std::pair<std::string, std::string>>();
  CLI::App* copy = noun->add_subcommand(
      "copy",
      "Copy the whole store, identifiers, passwords and audit trail included, into a new "
      "file or an empty PostgreSQL database");
  copy->add_option("SOURCE", locations->first,
                   "The store to copy: sqlite:PATH, PATH or "
                   "postgresql://...")
      ->required();
  copy->add_option("TARGET", locations->second,
                   "Where the copy goes: a new file, or an empty "
                   "database")
      ->required();
  copy->callback([locations] { Copy(locations->first, locations->second); });
}

}  // namespace xo::cli
