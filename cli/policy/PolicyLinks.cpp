// A policy's links: each binds a rule (by realm and name) or a rule group to
// the policy, with a response, a response group or nothing.
#include <algorithm>

#include "cli/Records.h"
#include "cli/policy/PolicyLists.h"
#include "cli/policy/Sync.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

const std::vector<FieldSpec> kLink{{"group", Text, 0, nullptr, true},
                                   {"realm", Text, 0, nullptr, true},
                                   {"rule", Text, 0, nullptr, true},
                                   {"response", Text}};

// (realm, rule) of a link to a rule, ("", group) of a link to a rule group.
using Target = std::pair<std::string, std::string>;

Target TargetOf(const Json& link) {
  if (link.contains("group")) return {"", TextOf(link, "group")};
  return {TextOf(link, "realm"), TextOf(link, "rule")};
}

std::vector<std::string> RealmNames(const Writer& writer, const std::string& domain) {
  char** names = nullptr;
  int32_t rc =
      Xo_PolicyApi_GetDomainObjectNames(writer.Handle(), domain.c_str(), XO_DOMAIN_REALMS, &names);
  std::vector<std::string> realms = TakeNames(names);
  writer.MustFor(rc, "the realms of its domain");
  return realms;
}

std::string FirstGlobalName(const Writer& writer, uint32_t kind) {
  char** names = nullptr;
  int32_t rc = Xo_PolicyApi_GetGlobalObjectNames(writer.Handle(), kind, &names);
  std::vector<std::string> list = TakeNames(names);
  writer.MustFor(rc, "the system objects a realm needs");
  return list.empty() ? "" : list.front();
}

// A realm made only to name a rule group through, served as the domain's
// first realm is, or by any agent and scheme when it has none.
std::string AddStandInRealm(const Writer& writer, const std::string& domain,
                            const std::vector<std::string>& realms) {
  std::string name = "xopolicy-link";
  for (int n = 2; std::find(realms.begin(), realms.end(), name) != realms.end(); ++n) {
    name = "xopolicy-link-" + std::to_string(n);
  }
  RealmRecord r{};
  SetField(r.name, name);
  if (!realms.empty()) {
    RecordList<RealmRecord> first;
    writer.MustFor(
        Xo_PolicyApi_GetRealm(writer.Handle(), realms.front().c_str(), domain.c_str(), first.Out()),
        "realm " + Quoted(realms.front()));
    if (!first.Items().empty()) {
      std::memcpy(r.agentName, first.Items().front()->agentName, XO_TEXT_FIELD);
      std::memcpy(r.schemeName, first.Items().front()->schemeName, XO_TEXT_FIELD);
    }
  } else {
    std::string agent = FirstGlobalName(writer, XO_GLOBAL_AGENTS);
    SetField(r.agentName, agent.empty() ? FirstGlobalName(writer, XO_GLOBAL_AGENT_GROUPS) : agent);
    SetField(r.schemeName, FirstGlobalName(writer, XO_GLOBAL_SCHEMES));
  }
  writer.MustFor(Xo_PolicyApi_AddRealm(writer.Handle(), domain.c_str(), &r, 0),
                 "a realm to name a rule group through");
  return name;
}

// The library finds a rule group of a link only through a realm of its
// domain, and takes a rule of the group's name in that realm first: `call`
// gets a realm that holds no such rule. When every realm holds one, or the
// domain has none, a realm is made for the call and deleted after it.
template <class Call>
void ThroughRealmWithout(const Writer& writer, const std::string& domain, const std::string& group,
                         Call&& call) {
  std::vector<std::string> realms = RealmNames(writer, domain);
  for (const std::string& realm : realms) {
    RecordList<RuleRecord> rules;
    if (Xo_PolicyApi_GetRule(writer.Handle(), group.c_str(), realm.c_str(), domain.c_str(),
                             rules.Out()) == XO_OK &&
        rules.Items().empty()) {
      call(realm);
      return;
    }
  }
  const std::string standIn = AddStandInRealm(writer, domain, realms);
  call(standIn);
  writer.MustFor(Xo_PolicyApi_DeleteRealm(writer.Handle(), standIn.c_str(), domain.c_str()),
                 "the realm " + Quoted(standIn) + " made to name a rule group through");
}

}  // namespace

const std::vector<FieldSpec>& LinkFields() { return kLink; }

Json ReadLinks(Reader& reader, const std::string& policy) {
  RecordList<PolicyLinkRecord> list;
  Check(Xo_PolicyApi_GetPolicyLinks(reader.Handle(), reader.Domain().c_str(), policy.c_str(),
                                    list.Out()),
        "cannot read the links of policy " + Quoted(policy) + reader.Where());
  Json links = Json::array();
  for (const PolicyLinkRecord* r : list.Items()) {
    // A link to a rule group reads back without a realm.
    std::string realm = FieldText(r->realmName);
    Json link = realm.empty() ? Json{{"group", FieldText(r->ruleName)}}
                              : Json{{"realm", realm}, {"rule", FieldText(r->ruleName)}};
    link["response"] = FieldText(r->responseName);
    links.push_back(std::move(link));
  }
  return links;
}

// Links are removed by what they bind, so a rule or group whose links differ
// loses them all and gets the file's.
void SyncLinks(Writer& writer, const Change& change, const std::string& policy) {
  const std::string& domain = change.domain;
  const auto through = [&](const Target& target, const auto& call) {
    if (target.first.empty()) {
      ThroughRealmWithout(writer, domain, target.second, call);
    } else {
      call(target.first);
    }
  };
  const auto remove = [&](const Target& target, const Json& links) {
    through(target, [&](const std::string& realm) {
      writer.MustFor(
          Xo_PolicyApi_RemoveRuleFromPolicy(writer.Handle(), domain.c_str(), policy.c_str(),
                                            realm.c_str(), target.second.c_str()),
          "links of " + links.front().dump());
    });
  };
  const auto add = [&](const Target& target, const Json& links) {
    through(target, [&](const std::string& realm) {
      for (const Json& link : links) {
        PolicyLinkRecord r{};
        SetField(r.realmName, realm);
        SetField(r.ruleName, target.second);
        SetField(r.responseName, TextOf(link, "response"));
        writer.MustFor(
            Xo_PolicyApi_AddPolicyLink(writer.Handle(), domain.c_str(), policy.c_str(), &r),
            "link " + link.dump());
      }
    });
  };
  SyncGroups(ListOf(change.before, "links"), change.after["links"], TargetOf, remove, add);
}

}  // namespace xo::cli::policy
