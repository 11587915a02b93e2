// `xopolicy audit`: the store's trail of changes, oldest first.
#include "cli/Nouns.h"
#include "cli/StoreRecords.h"
#include "store/StoreBackend.h"

namespace xo::cli {
namespace {

struct AuditVerb : VerbOptions {
  std::string since;
  std::string byAdmin;
  std::string object;
};

bool Wanted(const AuditVerb& v, const store::AuditEntry& entry) {
  if (!v.byAdmin.empty() && entry.admin != v.byAdmin) return false;
  return v.object.empty() || entry.name == v.object || entry.oid == v.object;
}

Json EntryJson(const store::AuditEntry& entry) {
  return {{"sequence", entry.sequence},
          {"time", IsoTime(entry.time)},
          {"admin", entry.admin},
          {"operation", entry.operation},
          {"kind", KindOfClass(entry.objectClass)},
          {"objectId", entry.oid},
          {"name", entry.name}};
}

void ShowAudit(const AuditVerb& v) {
  const int64_t since = v.since.empty() ? 0 : ParseTime(v.since, "--since");
  Connection c(v.connection);
  RequireSystemRight(c, "the audit trail");
  std::vector<store::AuditEntry> entries;
  int32_t read = store::CurrentBackend()->ReadAudit(since, entries);
  if (store::Failed(read)) {
    throw CommandError(std::string("cannot read the audit trail: ") + store::Describe(read));
  }
  std::vector<Json> shown;
  for (const store::AuditEntry& entry : entries) {
    if (Wanted(v, entry)) shown.push_back(EntryJson(entry));
  }
  PrintListing(v.output, shown,
               {{"time", "time"},
                {"admin", "admin"},
                {"operation", "operation"},
                {"kind", "kind"},
                {"name", "name"},
                {"objectId", "id"}});
}

}  // namespace

void RegisterAuditCommand(CLI::App& app) {
  auto [verb, options] = AddVerb<AuditVerb>(
      app, "audit", "List the audit trail: who changed what, and when", ScopeKind::System);
  verb->add_option("--since", options->since,
                   "Only changes from then on: an ISO 8601 date or UTC time, or seconds since 1970")
      ->type_name("TIME");
  verb->add_option("--by", options->byAdmin, "Only changes by this administrator")
      ->type_name("NAME");
  verb->add_option("--object", options->object, "Only changes of objects of this name (or id)")
      ->type_name("NAME");
  verb->callback([options = options] { ShowAudit(*options); });
}

}  // namespace xo::cli
