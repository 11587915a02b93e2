#include "cli/policy/Reading.h"

#include <algorithm>
#include <tuple>

#include "cli/Records.h"
#include "cli/policy/Kinds.h"

namespace xo::cli::policy {

std::string Reader::Where() const { return domain_.empty() ? "" : " of domain " + Quoted(domain_); }

std::vector<std::string> Reader::GlobalNames(uint32_t kind, const char* plural) const {
  char** names = nullptr;
  int32_t rc = Xo_PolicyApi_GetGlobalObjectNames(Handle(), kind, &names);
  std::vector<std::string> list = TakeNames(names);
  Check(rc, std::string("cannot list the ") + plural);
  return Distinct(list);
}

std::vector<std::string> Reader::DomainObjectNames(uint32_t kind, const char* plural) const {
  char** names = nullptr;
  int32_t rc = Xo_PolicyApi_GetDomainObjectNames(Handle(), domain_.c_str(), kind, &names);
  std::vector<std::string> list = TakeNames(names);
  Check(rc, std::string("cannot list the ") + plural + Where());
  return Distinct(list);
}

const DomainIds& Reader::Ids() {
  if (!ids_) ids_ = std::make_unique<DomainIds>(connection_, domain_);
  return *ids_;
}

const std::string& Reader::UserDirectoryName(const std::string& oid) {
  auto known = directoryNames_.find(oid);
  if (known == directoryNames_.end()) {
    known = directoryNames_.emplace(oid, policy::UserDirectoryName(connection_, oid)).first;
  }
  return known->second;
}

std::vector<std::string> DomainNames(PolicyApiSession* handle) {
  char** names = nullptr;
  int32_t rc = Xo_PolicyApi_GetGlobalObjectNames(handle, XO_GLOBAL_DOMAINS, &names);
  std::vector<std::string> list = TakeNames(names);
  Check(rc, "cannot list the domains");
  return Distinct(list);
}

Json ReadSystem(const Connection& connection, const ReadScope& scope) {
  Reader reader(connection, scope);
  Json system = Json::object();
  for (const Kind* kind : SystemKinds()) system[kind->collection] = kind->read(reader);
  Json document = {{"system", std::move(system)}};
  Canonicalize(document);
  return std::move(document["system"]);
}

std::vector<std::string> DomainsInScope(const Connection& connection, const ReadScope& scope) {
  const std::vector<std::string> existing = DomainNames(connection.Handle());
  std::vector<std::string> wanted = scope.domains ? Distinct(*scope.domains) : existing;
  // Only domains that exist: reading a missing one would fail.
  std::erase_if(wanted, [&](const std::string& name) {
    return std::find(existing.begin(), existing.end(), name) == existing.end();
  });
  std::sort(wanted.begin(), wanted.end());
  return wanted;
}

namespace {

// A domain with its contents, less the collection of `streamed`, whose key
// is left in its place.
Json ReadDomainOf(Reader& reader, bool contents, const Kind* streamed = nullptr) {
  Json read = DomainKind().read(reader);
  if (read.empty()) return nullptr;  // gone since it was listed
  Json domain = std::move(read.front());
  if (contents) {
    for (const Kind* kind : DomainKinds()) {
      domain[kind->collection] = kind == streamed ? Json::array() : kind->read(reader);
    }
  }
  CanonicalizeDomain(domain);
  return domain;
}

}  // namespace

Json ReadDomain(const Connection& connection, const ReadScope& scope, const std::string& name,
                bool contents) {
  Reader reader(connection, scope, name);
  return ReadDomainOf(reader, contents);
}

void WriteDomain(const Connection& connection, const ReadScope& scope, const std::string& name,
                 DocumentWriter& writer) {
  Reader reader(connection, scope, name);
  const Json domain = ReadDomainOf(reader, true, &RuleKind());
  if (domain.is_null()) return;
  const std::vector<DomainIds::Rule>& rules = reader.Ids().Rules();
  std::vector<size_t> order(rules.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return std::tie(rules[a].realm, rules[a].name) < std::tie(rules[b].realm, rules[b].name);
  });
  size_t next = 0;
  writer.Domain(domain, RuleKind().collection, [&]() -> Json {
    return next < order.size() ? RuleObject(rules[order[next++]]) : nullptr;
  });
}

}  // namespace xo::cli::policy
