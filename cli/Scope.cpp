#include "cli/Scope.h"

#include "XoAdmSession.h"
#include "XoObjStore.h"
#include "cli/CommandGroups.h"

namespace xo::cli {
namespace {

struct Refusal {
  std::string reason;  // empty when the store shows nothing wrong with the scope
  int exitCode = kExitFailure;
};

// The objects of a class that have a name: how many (-1 when the store cannot
// tell) and the first.
struct Named {
  int64_t count = -1;
  CXoObjId first;
};

template <class Object>
Named FindNamed(const Connection& connection, uint32_t nameProperty, const std::string& name) {
  CXoObjIdArray hits;
  int32_t searched =
      CXoObjStore::Search(Object(), hits, nameProperty, XoPropValue(name), connection.SessionId());
  if (store::Failed(searched)) return {};
  return {static_cast<int64_t>(hits.size()), hits.empty() ? CXoObjId() : hits.front()};
}

Refusal WhyRefused(const Connection& connection, const Scope& scope) {
  const std::string admin = Quoted(connection.AdminName());
  if (!scope.userDir.empty() &&
      FindNamed<CXoObjUserDirectory>(connection, CXoObjUserDirectory::Name, scope.userDir).count ==
          0) {
    return {"there is no user directory named " + Quoted(scope.userDir), kExitNotFound};
  }
  // A domain named by the command is looked at even where the rights are
  // system-wide (a domain's list of user directories, say): a missing domain
  // is the likelier mistake.
  const bool namesDomain =
      !scope.domain.empty() && (scope.kind != ScopeKind::Group || scope.InDomain());
  if (namesDomain) {
    Named domain = FindNamed<CXoObjDomain>(connection, CXoObjDomain::Name, scope.domain);
    if (domain.count < 0) return {};
    if (domain.count == 0)
      return {"there is no domain named " + Quoted(scope.domain), kExitNotFound};
    if (domain.count > 1) return {"several domains are named " + Quoted(scope.domain)};
    if (scope.InDomain() && !connection.Allowed(XO_RIGHT_MANAGE, 0, domain.first)) {
      return {"administrator " + admin + " may not manage domain " + Quoted(scope.domain)};
    }
  }
  if (!scope.InDomain() && !connection.Allowed(XO_RIGHT_MANAGE, 0, RootObjectId)) {
    return {"administrator " + admin +
            " may not manage objects outside the domains (that takes the system right)"};
  }
  return {};
}

}  // namespace

int32_t Scope::GroupTypeCode() const {
  if (groupType == "rule") return XO_GROUP_RULE;
  if (groupType == "response") return XO_GROUP_RESPONSE;
  if (groupType == "agent") return XO_GROUP_AGENT;
  return 0;
}

bool Scope::InDomain() const {
  switch (kind) {
    case ScopeKind::System:
      return false;
    case ScopeKind::Domain:
    case ScopeKind::Realm:
      return true;
    case ScopeKind::Group:
      return GroupTypeCode() != XO_GROUP_AGENT;
  }
  return false;
}

std::string Scope::Where() const {
  if (!InDomain()) return "";
  if (kind == ScopeKind::Realm && !realm.empty()) {
    return " in realm " + Quoted(realm) + " of domain " + Quoted(domain);
  }
  return " in domain " + Quoted(domain);
}

std::string Scope::KindOf(const std::string& nounKind) const {
  return kind == ScopeKind::Group ? groupType + " group" : nounKind;
}

void Scope::CheckComplete() const {
  if (kind == ScopeKind::Group && InDomain() && domain.empty()) {
    throw CommandError(groupType + " groups live in a domain: give --domain", kExitUsage);
  }
}

void AddVerbOptions(CLI::App& verb, VerbOptions& options, ScopeKind kind, bool listing) {
  options.scope.kind = kind;
  switch (kind) {
    case ScopeKind::System:
      break;
    case ScopeKind::Domain:
    case ScopeKind::Realm:
      verb.add_option("--domain", options.scope.domain, "The domain")
          ->required()
          ->type_name("NAME");
      if (kind == ScopeKind::Realm) {
        CLI::Option* realm =
            verb.add_option("--realm", options.scope.realm, "The realm")->type_name("NAME");
        if (!listing) realm->required();
      }
      break;
    case ScopeKind::Group:
      verb.add_option("--type", options.scope.groupType, "The kind of group")
          ->required()
          ->check(CLI::IsMember({"rule", "response", "agent"}))
          ->type_name("rule|response|agent");
      verb.add_option("--domain", options.scope.domain, "The domain (rule and response groups)")
          ->type_name("NAME");
      break;
  }
  AddConnectionOptions(verb, options.connection);
  AddOutputOptions(verb, options.output);
}

void CheckCall(const Connection& connection, const Scope& scope, int32_t code,
               const std::string& what) {
  if (code == XO_OK) return;
  if (code == XO_ERR_GENERAL) {
    Refusal refusal = WhyRefused(connection, scope);
    if (!refusal.reason.empty()) {
      throw CommandError(what + ": " + refusal.reason + " (result -1)", refusal.exitCode);
    }
  }
  Check(code, what);
}

void NotFound(const std::string& message) { throw CommandError(message, kExitNotFound); }

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

}  // namespace xo::cli
