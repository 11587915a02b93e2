#include "cli/policy/Reading.h"

#include <algorithm>

#include "cli/Records.h"

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

Json ReadStore(const Connection& connection, const ReadScope& scope) {
  Json document = Json::object();
  document["version"] = kDocumentVersion;
  if (scope.system) {
    Reader reader(connection, scope);
    Json system = Json::object();
    for (const Kind* kind : SystemKinds()) system[kind->collection] = kind->read(reader);
    document["system"] = std::move(system);
  }
  const std::vector<std::string> existing = DomainNames(connection.Handle());
  std::vector<std::string> wanted = scope.domains ? Distinct(*scope.domains) : existing;
  // Only domains that exist: reading a missing one would fail.
  std::erase_if(wanted, [&](const std::string& name) {
    return std::find(existing.begin(), existing.end(), name) == existing.end();
  });
  Json domains = Json::array();
  for (const std::string& name : wanted) {
    Reader reader(connection, scope, name);
    for (Json& domain : DomainKind().read(reader)) {
      for (const Kind* kind : DomainKinds()) domain[kind->collection] = kind->read(reader);
      domains.push_back(std::move(domain));
    }
  }
  document["domains"] = std::move(domains);
  Canonicalize(document);
  return document;
}

}  // namespace xo::cli::policy
