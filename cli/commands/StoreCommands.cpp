// `xopolicy store info`: which store this is and what it holds.
#include "cli/Nouns.h"
#include "cli/StoreRecords.h"
#include "store/StoreBackend.h"

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

}  // namespace

void RegisterStoreCommands(CLI::App& app) {
  CLI::App* noun = app.add_subcommand("store", "The store itself");
  auto [verb, options] =
      AddVerb(*noun, "info", "Show the backend, location, schema version and object counts",
              ScopeKind::System);
  verb->callback([options = options] { ShowInfo(*options); });
}

}  // namespace xo::cli
