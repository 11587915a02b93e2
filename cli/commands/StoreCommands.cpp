// `xopolicy store info`: which store this is and what it holds; `xopolicy
// store copy`: the whole store into a new file or an empty database.
#include <iostream>
#include <memory>
#include <utility>

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
  Json details = {{"backend", info.backend},
                  {"location", info.location},
                  {"schemaVersion", info.schemaVersion},
                  {"objects", counts}};
  if (v.output.json) {
    std::cout << details.dump(2) << '\n';
    return;
  }
  PrintDetails(
      v.output, {details},
      {{"backend", "backend"}, {"location", "location"}, {"schemaVersion", "schema version"}});
  std::cout << '\n';
  PrintListing(v.output, rows, {{"kind", "objects"}, {"count", "count"}});
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
