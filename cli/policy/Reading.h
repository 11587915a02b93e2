// Reading the store into a policy document. Records come through the
// library's Get and listing functions; where the library tells only a name
// and not which object it means, the store's identifiers say it (StoreIds.h).
// The readers of the kinds take objects and lists in the store's order;
// ReadSystem and ReadDomain put them into their canonical order.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "cli/Connection.h"
#include "cli/Output.h"
#include "cli/Scope.h"
#include "cli/policy/Document.h"
#include "cli/policy/RecordFields.h"
#include "cli/policy/StoreIds.h"

namespace xo::cli::policy {

struct ReadScope {
  bool system = true;  // read the "system" section
  // The domains to read; all of them when not given.
  std::optional<std::vector<std::string>> domains;
  // Secrets (administrators' password hashes, directories' bind passwords)
  // are left out unless asked for.
  bool secrets = false;
  // When given, receives "collection/name" of the objects every store is
  // made with (such as the built-in scheme), which pruning leaves alone.
  std::vector<std::string>* builtIn = nullptr;
};

// The store is read a part at a time, each part in canonical order; reads
// that fail throw CommandError.
// The "system" section.
Json ReadSystem(const Connection& connection, const ReadScope& scope);
// The names of the scope's domains that exist, in the document's order.
std::vector<std::string> DomainsInScope(const Connection& connection, const ReadScope& scope);
// One domain: its own record and, with `contents`, every object it holds;
// null when it is gone.
Json ReadDomain(const Connection& connection, const ReadScope& scope, const std::string& name,
                bool contents = true);
// Reads one domain whole into `writer`, its rules (the bulk of a large domain)
// a rule at a time.
void WriteDomain(const Connection& connection, const ReadScope& scope, const std::string& name,
                 DocumentWriter& writer);

// The names of every domain of the store.
std::vector<std::string> DomainNames(PolicyApiSession* handle);

// What the readers of the kinds share: the session, the scope, and the
// domain being read (none for the system objects).
class Reader {
 public:
  Reader(const Connection& connection, const ReadScope& scope, std::string domain = "")
      : connection_(connection), scope_(scope), domain_(std::move(domain)) {}

  PolicyApiSession* Handle() const { return connection_.Handle(); }
  const Connection& Store() const { return connection_; }
  const ReadScope& Scope() const { return scope_; }
  const std::string& Domain() const { return domain_; }
  // " of domain \"D\"" within a domain, for messages.
  std::string Where() const;

  // The names the library lists of a kind, each once.
  std::vector<std::string> GlobalNames(uint32_t kind, const char* plural) const;
  std::vector<std::string> DomainObjectNames(uint32_t kind, const char* plural) const;
  // The identifiers behind the domain's names, read the first time they are needed.
  const DomainIds& Ids();
  // A user directory's name, by its identifier.
  const std::string& UserDirectoryName(const std::string& oid);

 private:
  const Connection& connection_;
  const ReadScope& scope_;
  std::string domain_;
  std::unique_ptr<DomainIds> ids_;
  std::map<std::string, std::string> directoryNames_;
};

// The objects that `make` builds of the records `get(name, out)` hands out
// for each name; `kind` and `where` say what failed to read.
template <class Record, class Get, class Make>
Json ObjectsByName(const std::vector<std::string>& names, const std::string& kind,
                   const std::string& where, Get&& get, Make&& make) {
  Json objects = Json::array();
  for (const std::string& name : names) {
    RecordList<Record> list;
    Check(get(name, list.Out()), "cannot read " + kind + " " + Quoted(name) + where);
    for (const Record* record : list.Items()) objects.push_back(make(*record));
  }
  return objects;
}

}  // namespace xo::cli::policy
