#include "cli/PolicyRead.h"

#include <algorithm>
#include <map>
#include <set>

#include "cli/Output.h"
#include "cli/PolicyRecords.h"

namespace xo::cli::policy {
namespace {

std::string Quoted(const std::string& name) { return "\"" + name + "\""; }

// Names as listed, each once, in their first order: the store keeps names
// unique in their scope, and a duplicate is read as one.
std::vector<std::string> Distinct(const std::vector<std::string>& names) {
  std::vector<std::string> distinct;
  std::set<std::string> seen;
  for (const std::string& name : names) {
    if (seen.insert(name).second) distinct.push_back(name);
  }
  return distinct;
}

std::vector<std::string> GlobalNames(PolicyApiSession* handle, uint32_t kind, const char* what) {
  char** names = nullptr;
  Check(Xo_PolicyApi_GetGlobalObjectNames(handle, kind, &names),
        std::string("cannot list ") + what);
  return Distinct(TakeNames(names));
}

std::vector<std::string> DomainObjectNames(PolicyApiSession* handle, const std::string& domain,
                                           uint32_t kind, const char* what) {
  char** names = nullptr;
  int32_t rc = Xo_PolicyApi_GetDomainObjectNames(handle, domain.c_str(), kind, &names);
  std::vector<std::string> list = TakeNames(names);
  Check(rc, std::string("cannot list the ") + what + " of domain " + Quoted(domain));
  return list;
}

template <class Record, class Get>
std::vector<const Record*> ReadRecords(RecordList<Record>& list, Get get, const std::string& what) {
  Check(get(list.Out()), "cannot read " + what);
  return list.Items();
}

template <size_t N>
Json Texts(const char (&fields)[N][XO_TEXT_FIELD]) {
  Json texts = Json::array();
  for (const auto& field : fields) texts.push_back(FieldText(field));
  return texts;
}

Json Flags(std::initializer_list<uint8_t> flags) {
  Json list = Json::array();
  for (uint8_t flag : flags) list.push_back(flag != 0);
  return list;
}

Json SortedNames(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return Json(names);
}

class StoreReader {
 public:
  StoreReader(PolicyApiSession* handle, const ReadScope& scope) : h_(handle), scope_(scope) {}

  Json System() {
    Json system = Json::object();
    std::vector<std::string> directoryNames =
        GlobalNames(h_, XO_GLOBAL_USER_DIRECTORIES, "user directories");
    Json directories = Json::array();
    std::set<std::string> queryNames(scope_.odbcQuerySchemes.begin(),
                                     scope_.odbcQuerySchemes.end());
    for (const std::string& name : directoryNames) {
      for (Json& directory : UserDirectories(name)) {
        if (!directory["queryScheme"].get<std::string>().empty()) {
          queryNames.insert(directory["queryScheme"].get<std::string>());
        }
        directories.push_back(std::move(directory));
      }
    }
    Json queries = Json::array();
    for (const std::string& name : queryNames) {
      for (Json& scheme : OdbcQuerySchemes(name)) queries.push_back(std::move(scheme));
    }
    system["odbcQuerySchemes"] = std::move(queries);
    system["userDirectories"] = std::move(directories);
    system["schemes"] = Each(GlobalNames(h_, XO_GLOBAL_SCHEMES, "schemes"), &StoreReader::Schemes);
    system["agents"] = Each(GlobalNames(h_, XO_GLOBAL_AGENTS, "agents"), &StoreReader::Agents);
    system["agentGroups"] =
        Each(GlobalNames(h_, XO_GLOBAL_AGENT_GROUPS, "agent groups"), &StoreReader::AgentGroups);
    system["administrators"] =
        Each(GlobalNames(h_, XO_GLOBAL_ADMINISTRATORS, "administrators"), &StoreReader::Admins);
    return system;
  }

  Json Domains(const std::vector<std::string>& names) {
    Json domains = Json::array();
    for (const std::string& name : names) {
      RecordList<DomainRecord> list;
      for (const DomainRecord* r : ReadRecords(
               list,
               [&](DomainRecord** out) { return Xo_PolicyApi_GetDomain(h_, name.c_str(), out); },
               "domain " + Quoted(name))) {
        domains.push_back(Domain(*r));
      }
    }
    return domains;
  }

 private:
  template <class Reader>
  Json Each(const std::vector<std::string>& names, Reader reader) {
    Json all = Json::array();
    for (const std::string& name : names) {
      for (Json& object : (this->*reader)(name)) all.push_back(std::move(object));
    }
    return all;
  }

  std::vector<Json> UserDirectories(const std::string& name) {
    RecordList<UserDirRecord> list;
    std::vector<Json> found;
    for (const UserDirRecord* r : ReadRecords(
             list,
             [&](UserDirRecord** out) { return Xo_PolicyApi_GetUserDir(h_, name.c_str(), out); },
             "user directory " + Quoted(name))) {
      Json strings = {FieldText(r->string1),  FieldText(r->string2),  FieldText(r->string3),
                      FieldText(r->string4),  FieldText(r->string5),  FieldText(r->string6),
                      FieldText(r->string7),  FieldText(r->string8),  FieldText(r->string9),
                      FieldText(r->string10), FieldText(r->string11), FieldText(r->string12),
                      FieldText(r->string13)};
      found.push_back({{"name", FieldText(r->name)},
                       {"description", FieldText(r->description)},
                       {"type", FieldText(r->directoryType)},
                       {"queryScheme", FieldText(r->querySchemeName)},
                       {"strings", strings},
                       {"integers", {r->int1, r->int2, r->int3}},
                       {"flags", Flags({r->flag1, r->flag2})}});
    }
    return found;
  }

  std::vector<Json> OdbcQuerySchemes(const std::string& name) {
    RecordList<OdbcQuerySchemeRecord> list;
    std::vector<Json> found;
    for (const OdbcQuerySchemeRecord* r : ReadRecords(
             list,
             [&](OdbcQuerySchemeRecord** out) {
               return Xo_PolicyApi_GetODBCQueryScheme(h_, name.c_str(), out);
             },
             "ODBC query scheme " + Quoted(name))) {
      found.push_back({{"name", FieldText(r->name)},
                       {"description", FieldText(r->description)},
                       {"queries", Texts(r->query)}});
    }
    return found;
  }

  std::vector<Json> Schemes(const std::string& name) {
    RecordList<SchemeRecord> list;
    std::vector<Json> found;
    for (const SchemeRecord* r : ReadRecords(
             list,
             [&](SchemeRecord** out) { return Xo_PolicyApi_GetScheme(h_, name.c_str(), out); },
             "scheme " + Quoted(name))) {
      // Objects made with the store keep bare identifiers, without a class prefix.
      std::string oid = FieldText(r->objectId);
      if (scope_.builtIn && (oid.size() < 3 || oid[2] != '-')) {
        scope_.builtIn->push_back("schemes/" + FieldText(r->name));
      }
      found.push_back({{"name", FieldText(r->name)},
                       {"description", FieldText(r->description)},
                       {"integers", {r->schemeInt1, r->schemeInt2}},
                       {"strings",
                        {FieldText(r->schemeString1), FieldText(r->schemeString2),
                         FieldText(r->schemeString3)}},
                       {"flags", Flags({r->schemeFlag1, r->schemeFlag2, r->schemeFlag3,
                                        r->schemeFlag4, r->schemeFlag5})}});
    }
    return found;
  }

  std::vector<Json> Agents(const std::string& name) {
    RecordList<AgentRecord> list;
    std::vector<Json> found;
    for (const AgentRecord* r : ReadRecords(
             list, [&](AgentRecord** out) { return Xo_PolicyApi_GetAgent(h_, name.c_str(), out); },
             "agent " + Quoted(name))) {
      found.push_back({{"name", FieldText(r->name)},
                       {"description", FieldText(r->description)},
                       {"agentType", FieldText(r->agentTypeName)},
                       {"strings", {FieldText(r->agentString1), FieldText(r->agentString2)}},
                       {"integer", r->agentInt}});
    }
    return found;
  }

  // A group's record and its members' names.
  Json Group(int32_t type, const std::string& name, const std::string& domain, Json members) {
    RecordList<GroupRecord> list;
    auto records = ReadRecords(
        list,
        [&](GroupRecord** out) {
          return Xo_PolicyApi_GetGroup(h_, type, name.c_str(), domain.c_str(), out);
        },
        "group " + Quoted(name));
    if (records.empty()) return nullptr;
    return {{"name", FieldText(records.front()->name)},
            {"description", FieldText(records.front()->description)},
            {"agentType", FieldText(records.front()->vendorName)},
            {"members", std::move(members)}};
  }

  std::vector<std::string> GroupMembers(int32_t type, const std::string& name,
                                        const std::string& domain) {
    char** names = nullptr;
    int32_t rc = Xo_PolicyApi_GetGroupNames(h_, type, name.c_str(), domain.c_str(), &names);
    std::vector<std::string> members = TakeNames(names);
    Check(rc, "cannot read the members of group " + Quoted(name));
    return members;
  }

  std::vector<Json> AgentGroups(const std::string& name) {
    Json group =
        Group(XO_GROUP_AGENT, name, "", SortedNames(GroupMembers(XO_GROUP_AGENT, name, "")));
    if (group.is_null()) return {};
    return {std::move(group)};
  }

  std::vector<Json> Admins(const std::string& name) {
    RecordList<AdminRecord> list;
    std::vector<Json> found;
    for (const AdminRecord* r : ReadRecords(
             list, [&](AdminRecord** out) { return Xo_PolicyApi_GetAdmin(h_, name.c_str(), out); },
             "administrator " + Quoted(name))) {
      Json admin = {{"name", FieldText(r->name)},
                    {"description", FieldText(r->description)},
                    {"flags", r->adminFlags},
                    {"userDirectory", FieldText(r->userDirName)},
                    {"scheme", FieldText(r->schemeName)}};
      std::string hash = FieldText(r->adminText);
      if (scope_.passwordHashes && !hash.empty()) admin["password"] = hash;
      found.push_back(std::move(admin));
    }
    return found;
  }

  Json Domain(const DomainRecord& record) {
    std::string name = FieldText(record.name);
    char** order = nullptr;
    int32_t rc = Xo_PolicyApi_GetUserDirSearchOrder(h_, name.c_str(), &order);
    std::vector<std::string> directories = TakeNames(order);
    Check(rc, "cannot read the user directories of domain " + Quoted(name));
    Json domain = {{"name", name},
                   {"description", FieldText(record.description)},
                   {"userDirectories", directories},
                   {"administrators", SortedNames(Distinct(DomainObjectNames(
                                          h_, name, XO_DOMAIN_ADMINISTRATORS, "administrators")))}};
    DomainReader reader{this, name, {}, {}};
    domain["realms"] = reader.Realms();
    domain["rules"] = reader.Rules();
    domain["ruleGroups"] = reader.RuleGroups();
    domain["responses"] = reader.Responses();
    domain["responseGroups"] = reader.ResponseGroups();
    domain["policies"] = reader.Policies();
    return domain;
  }

  // The objects of one domain. Rules are read by realm; what was learnt of
  // them names the realms of rules that groups hold.
  struct DomainReader {
    StoreReader* store;
    std::string domain;
    std::vector<std::string> realmNames;
    std::map<std::string, std::vector<std::string>> realmsOfRule;

    PolicyApiSession* H() const { return store->h_; }
    std::string Where() const { return " of domain " + Quoted(domain); }

    Json Realms() {
      Json realms = Json::array();
      realmNames = Distinct(DomainObjectNames(H(), domain, XO_DOMAIN_REALMS, "realms"));
      std::set<std::string> known(realmNames.begin(), realmNames.end());
      for (const std::string& name : realmNames) {
        RecordList<RealmRecord> list;
        for (const RealmRecord* r : ReadRecords(
                 list,
                 [&](RealmRecord** out) {
                   return Xo_PolicyApi_GetRealm(H(), name.c_str(), domain.c_str(), out);
                 },
                 "realm " + Quoted(name) + Where())) {
          // A top-level realm reads back with its domain's name as parent.
          std::string parent = FieldText(r->parentName);
          if (parent == domain && known.count(parent) == 0) parent.clear();
          realms.push_back(
              {{"name", FieldText(r->name)},
               {"description", FieldText(r->description)},
               {"text", FieldText(r->realmText)},
               {"agent", FieldText(r->agentName)},
               {"scheme", FieldText(r->schemeName)},
               {"parent", parent},
               {"flags", Flags({r->realmFlag1, r->realmFlag2, r->realmFlag3, r->realmFlag4})},
               {"integers", {r->realmInt1, r->realmInt2}}});
        }
      }
      return realms;
    }

    // The domain lists rule names without realms; a name listed k times is
    // in k realms. Rules are mostly made realm by realm, so the realm of the
    // previous rule is tried first.
    Json Rules() {
      std::vector<std::string> listed = DomainObjectNames(H(), domain, XO_DOMAIN_RULES, "rules");
      std::map<std::string, size_t> count;
      for (const std::string& name : listed) ++count[name];
      Json rules = Json::array();
      size_t lastRealm = 0;
      for (const std::string& name : Distinct(listed)) {
        size_t found = 0;
        for (size_t step = 0; step < realmNames.size() && found < count[name]; ++step) {
          size_t index = (lastRealm + step) % realmNames.size();
          size_t before = found;
          found += ReadRule(name, realmNames[index], rules);
          if (found > before) lastRealm = index;
        }
      }
      return rules;
    }

    size_t ReadRule(const std::string& name, const std::string& realm, Json& rules) {
      RecordList<RuleRecord> list;
      auto records = ReadRecords(
          list,
          [&](RuleRecord** out) {
            return Xo_PolicyApi_GetRule(H(), name.c_str(), realm.c_str(), domain.c_str(), out);
          },
          "rule " + Quoted(name) + " in realm " + Quoted(realm) + Where());
      for (const RuleRecord* r : records) {
        realmsOfRule[name].push_back(realm);
        rules.push_back(
            {{"realm", realm},
             {"name", FieldText(r->name)},
             {"description", FieldText(r->description)},
             {"texts", {FieldText(r->ruleText1), FieldText(r->ruleText2), FieldText(r->ruleText3)}},
             {"flags", Flags({r->ruleFlag1, r->ruleFlag2, r->ruleFlag3})}});
      }
      return records.size();
    }

    Json RuleGroups() {
      std::vector<std::string> names =
          Distinct(DomainObjectNames(H(), domain, XO_DOMAIN_RULE_GROUPS, "rule groups"));
      std::set<std::string> groups(names.begin(), names.end());
      Json all = Json::array();
      for (const std::string& name : names) {
        Json members = Json::array();
        std::map<std::string, size_t> seen;
        for (const std::string& member : store->GroupMembers(XO_GROUP_RULE, name, domain)) {
          if (groups.count(member)) {
            members.push_back({{"group", member}});
            continue;
          }
          // A rule name in several realms: its occurrences take them in turn.
          const std::vector<std::string>& realms = realmsOfRule[member];
          std::string realm = realms.empty() ? "" : realms[seen[member]++ % realms.size()];
          members.push_back({{"realm", realm}, {"rule", member}});
        }
        std::sort(members.begin(), members.end());
        Json group = store->Group(XO_GROUP_RULE, name, domain, std::move(members));
        if (!group.is_null()) all.push_back(std::move(group));
      }
      return all;
    }

    Json Responses() {
      Json all = Json::array();
      for (const std::string& name :
           Distinct(DomainObjectNames(H(), domain, XO_DOMAIN_RESPONSES, "responses"))) {
        RecordList<ResponseRecord> list;
        for (const ResponseRecord* r : ReadRecords(
                 list,
                 [&](ResponseRecord** out) {
                   return Xo_PolicyApi_GetResponse(H(), name.c_str(), domain.c_str(), out);
                 },
                 "response " + Quoted(name) + Where())) {
          all.push_back({{"name", FieldText(r->name)},
                         {"description", FieldText(r->description)},
                         {"agentType", FieldText(r->agentTypeName)},
                         {"attributes", Attributes(name)}});
        }
      }
      return all;
    }

    Json Attributes(const std::string& response) {
      RecordList<ResponseAttrRecord> list;
      Json attributes = Json::array();
      for (const ResponseAttrRecord* r : ReadRecords(
               list,
               [&](ResponseAttrRecord** out) {
                 return Xo_PolicyApi_GetResponseAttrs(H(), response.c_str(), domain.c_str(), out);
               },
               "the attributes of response " + Quoted(response) + Where())) {
        attributes.push_back({{"attribute", FieldText(r->attrName)},
                              {"value", FieldText(r->value)},
                              {"integers", {r->attrInt1, r->attrInt2}}});
      }
      std::sort(attributes.begin(), attributes.end());
      return attributes;
    }

    Json ResponseGroups() {
      Json all = Json::array();
      for (const std::string& name :
           Distinct(DomainObjectNames(H(), domain, XO_DOMAIN_RESPONSE_GROUPS, "response groups"))) {
        Json group =
            store->Group(XO_GROUP_RESPONSE, name, domain,
                         SortedNames(store->GroupMembers(XO_GROUP_RESPONSE, name, domain)));
        if (!group.is_null()) all.push_back(std::move(group));
      }
      return all;
    }

    Json Policies() {
      Json all = Json::array();
      std::vector<std::string> directories =
          GlobalNames(H(), XO_GLOBAL_USER_DIRECTORIES, "user directories");
      for (const std::string& name :
           Distinct(DomainObjectNames(H(), domain, XO_DOMAIN_POLICIES, "policies"))) {
        RecordList<PolicyRecord> list;
        for (const PolicyRecord* r : ReadRecords(
                 list,
                 [&](PolicyRecord** out) {
                   return Xo_PolicyApi_GetPolicy(H(), name.c_str(), domain.c_str(), out);
                 },
                 "policy " + Quoted(name) + Where())) {
          all.push_back({{"name", FieldText(r->name)},
                         {"description", FieldText(r->description)},
                         {"texts", {FieldText(r->policyText1), FieldText(r->policyText2)}},
                         {"flag", r->policyFlag != 0},
                         {"links", Links(name)},
                         {"users", Users(name, directories)}});
        }
      }
      return all;
    }

    Json Links(const std::string& policy) {
      RecordList<PolicyLinkRecord> list;
      Json links = Json::array();
      for (const PolicyLinkRecord* r : ReadRecords(
               list,
               [&](PolicyLinkRecord** out) {
                 return Xo_PolicyApi_GetPolicyLinks(H(), domain.c_str(), policy.c_str(), out);
               },
               "the links of policy " + Quoted(policy) + Where())) {
        // A link to a rule group reads back without a realm.
        std::string realm = FieldText(r->realmName);
        Json link = realm.empty() ? Json{{"group", FieldText(r->ruleName)}}
                                  : Json{{"realm", realm}, {"rule", FieldText(r->ruleName)}};
        link["response"] = FieldText(r->responseName);
        links.push_back(std::move(link));
      }
      std::sort(links.begin(), links.end());
      return links;
    }

    Json Users(const std::string& policy, const std::vector<std::string>& directories) {
      Json users = Json::array();
      for (const std::string& directory : directories) {
        RecordList<UserEntryRecord> list;
        for (const UserEntryRecord* r : ReadRecords(
                 list,
                 [&](UserEntryRecord** out) {
                   return Xo_PolicyApi_GetPolicyUsers(H(), domain.c_str(), policy.c_str(),
                                                      directory.c_str(), out);
                 },
                 "the users of policy " + Quoted(policy) + Where())) {
          users.push_back({{"directory", directory}, {"entry", FieldText(r->entry)}});
        }
      }
      std::sort(users.begin(), users.end());
      return users;
    }
  };

  PolicyApiSession* h_;
  const ReadScope& scope_;
};

}  // namespace

std::vector<std::string> DomainNames(PolicyApiSession* handle) {
  return GlobalNames(handle, XO_GLOBAL_DOMAINS, "domains");
}

Json ReadStore(PolicyApiSession* handle, const ReadScope& scope) {
  StoreReader reader(handle, scope);
  Json document = Json::object();
  document["version"] = kDocumentVersion;
  if (scope.system) document["system"] = reader.System();
  std::vector<std::string> wanted = scope.domains ? *scope.domains : DomainNames(handle);
  if (scope.domains) {
    // Only domains that exist: reading a missing one would fail.
    std::vector<std::string> existing = DomainNames(handle);
    std::erase_if(wanted, [&](const std::string& name) {
      return std::find(existing.begin(), existing.end(), name) == existing.end();
    });
  }
  document["domains"] = reader.Domains(Distinct(wanted));
  Canonicalize(document);
  return document;
}

}  // namespace xo::cli::policy
