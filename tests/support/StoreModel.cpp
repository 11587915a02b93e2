#include "support/StoreModel.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>

#include "XoPolicyApi.h"
#include "support/DirectStore.h"
#include "support/Environment.h"

namespace xo::test {
namespace {

using Names = std::vector<std::string>;

std::string Quote(const std::string& text) {
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c == '\n' ? std::string("\\n") : std::string(1, c);
  }
  return quoted + "\"";
}

template <size_t N>
std::string Field(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

Names Sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

Names Distinct(Names names) {
  names = Sorted(std::move(names));
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

// One object: what it is, then its fields as key=value.
class Line {
 public:
  explicit Line(std::string what) : text_(std::move(what)) {}
  Line& Text(const char* key, const std::string& value) {
    text_ += std::string(" ") + key + "=" + Quote(value);
    return *this;
  }
  template <size_t N>
  Line& Text(const char* key, const char (&field)[N]) {
    return Text(key, Field(field));
  }
  Line& Texts(const char* key, const Names& values) {
    text_ += std::string(" ") + key + "=[";
    for (size_t i = 0; i < values.size(); ++i) text_ += (i ? ", " : "") + Quote(values[i]);
    text_ += "]";
    return *this;
  }
  Line& Numbers(const char* key, std::initializer_list<int64_t> values) {
    text_ += std::string(" ") + key + "=[";
    const char* separator = "";
    for (int64_t value : values) {
      text_ += separator + std::to_string(value);
      separator = ",";
    }
    text_ += "]";
    return *this;
  }
  const std::string& Str() const { return text_; }

 private:
  std::string text_;
};

class Reader {
 public:
  Reader(PolicyApiSession* handle, DirectStore& direct) : h_(handle), direct_(direct) {}

  Names Read() {
    System();
    for (const std::string& domain : Distinct(GlobalNames(XO_GLOBAL_DOMAINS))) Domain(domain);
    return Sorted(std::move(lines_));
  }

 private:
  void Add(const Line& line) { lines_.push_back(line.Str()); }

  static void Check(int32_t rc, const std::string& what) {
    if (rc != XO_OK) throw std::runtime_error("reading " + what + " gave " + std::to_string(rc));
  }

  template <class Record, class Get>
  std::vector<Record> Records(Get&& get, const std::string& what) {
    Record* list = nullptr;
    Check(get(&list), what);
    std::vector<Record> records;
    for (Record* record = list; record != nullptr; record = record->next) {
      records.push_back(*record);
      records.back().next = nullptr;
    }
    Xo_PolicyApi_FreeMemory(list);
    return records;
  }

  static Names Take(char** names) {
    Names taken;
    for (char** slot = names; slot != nullptr && *slot != nullptr; ++slot) taken.push_back(*slot);
    if (names != nullptr) Xo_PolicyApi_FreeStringArray(names);
    return taken;
  }

  Names GlobalNames(uint32_t kind) {
    char** names = nullptr;
    const int32_t rc = Xo_PolicyApi_GetGlobalObjectNames(h_, kind, &names);
    Names taken = Take(names);
    Check(rc, "global names of kind " + std::to_string(kind));
    return taken;
  }

  Names DomainNames(const std::string& domain, uint32_t kind) {
    char** names = nullptr;
    const int32_t rc = Xo_PolicyApi_GetDomainObjectNames(h_, domain.c_str(), kind, &names);
    Names taken = Take(names);
    Check(rc, "names of kind " + std::to_string(kind) + " in domain " + Quote(domain));
    return taken;
  }

  Names GroupMembers(int32_t type, const std::string& group, const char* domain) {
    char** names = nullptr;
    const int32_t rc = Xo_PolicyApi_GetGroupNames(h_, type, group.c_str(), domain, &names);
    Names taken = Take(names);
    Check(rc, "members of group " + Quote(group));
    return Sorted(taken);
  }

  void Group(int32_t type, const std::string& name, const char* domain, const std::string& what) {
    for (const GroupRecord& r : Records<GroupRecord>(
             [&](GroupRecord** out) {
               return Xo_PolicyApi_GetGroup(h_, type, name.c_str(), domain, out);
             },
             what + " " + Quote(name))) {
      Line line(what);
      line.Text("name", r.name).Text("description", r.description).Text("type", r.vendorName);
      line.Texts("members", GroupMembers(type, name, domain));
      line.Texts("stored members", StoredMembers(Field(r.objectId)));
      Add(line);
    }
  }

  // The API names references without saying what they name: a rule
  // without its realm, a group member or a link's response without telling
  // a group from a leaf, a realm's agent without telling an agent group from
  // an agent. Those are read from the store itself, by identifier.
  std::unique_ptr<CXoObjBase> Stored(const CXoObjId& id) {
    std::unique_ptr<CXoObjBase> object(CXoObjDictProp::MakeObject(id));
    if (!object || CXoObjStore::Fetch(*object, 0, nullptr, direct_.Sid()) < 0) {
      throw std::runtime_error("cannot read " + id.GetOidString() + " from the store");
    }
    return object;
  }

  std::string Reference(const CXoObjId& id) {
    if (id.IsOidNull()) return "nothing";
    const std::unique_ptr<CXoObjBase> object = Stored(id);
    const std::string name = Quote(object->GetName());
    switch (id.GetOidClass()) {
      case XoObjId_Rule:
        return "rule " + Quote(Stored(object->Id(CXoObjRule::Realm))->GetName()) + " " + name;
      case XoObjId_RuleGroup:
      case XoObjId_ResponseGroup:
      case XoObjId_DeviceGroup:
        return "group " + name;
      default:
        return CXoObjId::GetClassName(id.GetOidClass()) + std::string(" ") + name;
    }
  }

  Names StoredMembers(const std::string& groupId) {
    const std::unique_ptr<CXoObjBase> group = Stored(CXoObjId(groupId));
    uint32_t members = CXoObjDeviceGroup::Members;
    if (group->GetClass() == XoObjId_RuleGroup) members = CXoObjRuleGroup::Members;
    if (group->GetClass() == XoObjId_ResponseGroup) members = CXoObjResponseGroup::Members;
    Names references;
    for (const CXoObjId& id : group->Ids(members)) references.push_back(Reference(id));
    return Sorted(references);
  }

  // The API does not report how a policy user was attached: the
  // resolutions are read from the store itself.
  Names Resolutions(const std::string& policyId) {
    CXoObjIdArray hits;
    const int32_t found = CXoObjStore::SearchMultiple(
        CXoObjUserPolicy(), hits, {{CXoObjUserPolicy::Policy, policyId}}, direct_.Sid());
    if (found < 0) throw std::runtime_error("no users of policy " + policyId);
    Names resolutions;
    for (const CXoObjId& id : hits) {
      CXoObjUserPolicy user;
      if (!direct_.Load(id, user)) throw std::runtime_error("no policy user " + id.GetOidString());
      resolutions.push_back(Quote(directoryNames_[user.GetUserDirectoryOid().GetOidString()]) +
                            " " + Quote(user.GetEntry()) + " " +
                            std::to_string(user.GetResolution()));
    }
    return Sorted(resolutions);
  }

  void System() {
    std::set<std::string> queryNames;
    for (const std::string& name : Distinct(GlobalNames(XO_GLOBAL_USER_DIRECTORIES))) {
      for (const UserDirRecord& r : Records<UserDirRecord>(
               [&](UserDirRecord** out) { return Xo_PolicyApi_GetUserDir(h_, name.c_str(), out); },
               "user directory " + Quote(name))) {
        Add(Line("user directory")
                .Text("name", r.name)
                .Text("description", r.description)
                .Text("type", r.directoryType)
                .Text("queries", r.querySchemeName)
                .Texts("strings",
                       {Field(r.string1), Field(r.string2), Field(r.string3), Field(r.string4),
                        Field(r.string5), Field(r.string6), Field(r.string7), Field(r.string8),
                        Field(r.string9), Field(r.string10), Field(r.string11), Field(r.string12),
                        Field(r.string13)})
                .Numbers("integers", {r.int1, r.int2, r.int3})
                .Numbers("flags", {r.flag1, r.flag2}));
        if (r.querySchemeName[0] != '\0') queryNames.insert(Field(r.querySchemeName));
        directoryNames_[Field(r.objectId)] = Field(r.name);
      }
    }
    // The API lists no query schemes: their names are read from the store.
    CXoObjIdArray queries;
    if (CXoObjStore::SearchMultiple(CXoObjODBCQuery(), queries, {}, direct_.Sid()) < 0) {
      throw std::runtime_error("cannot list the query schemes");
    }
    for (const CXoObjId& id : queries) queryNames.insert(Stored(id)->GetName());
    for (const std::string& name : queryNames) {
      for (const OdbcQuerySchemeRecord& r : Records<OdbcQuerySchemeRecord>(
               [&](OdbcQuerySchemeRecord** out) {
                 return Xo_PolicyApi_GetODBCQueryScheme(h_, name.c_str(), out);
               },
               "query scheme " + Quote(name))) {
        Names queries;
        for (const auto& query : r.query) queries.push_back(Field(query));
        Add(Line("query scheme")
                .Text("name", r.name)
                .Text("description", r.description)
                .Texts("queries", queries));
      }
    }
    for (const std::string& name : Distinct(GlobalNames(XO_GLOBAL_SCHEMES))) {
      for (const SchemeRecord& r : Records<SchemeRecord>(
               [&](SchemeRecord** out) { return Xo_PolicyApi_GetScheme(h_, name.c_str(), out); },
               "scheme " + Quote(name))) {
        Add(Line("scheme")
                .Text("name", r.name)
                .Text("description", r.description)
                .Texts("strings",
                       {Field(r.schemeString1), Field(r.schemeString2), Field(r.schemeString3)})
                .Numbers("integers", {r.schemeInt1, r.schemeInt2})
                .Numbers("flags", {r.schemeFlag1, r.schemeFlag2, r.schemeFlag3, r.schemeFlag4,
                                   r.schemeFlag5}));
      }
    }
    for (const std::string& name : Distinct(GlobalNames(XO_GLOBAL_AGENTS))) {
      for (const AgentRecord& r : Records<AgentRecord>(
               [&](AgentRecord** out) { return Xo_PolicyApi_GetAgent(h_, name.c_str(), out); },
               "agent " + Quote(name))) {
        Add(Line("agent")
                .Text("name", r.name)
                .Text("description", r.description)
                .Text("type", r.agentTypeName)
                .Texts("strings", {Field(r.agentString1), Field(r.agentString2)})
                .Numbers("integer", {r.agentInt}));
      }
    }
    for (const std::string& name : Distinct(GlobalNames(XO_GLOBAL_AGENT_GROUPS))) {
      Group(XO_GROUP_AGENT, name, nullptr, "agent group");
    }
    for (const std::string& name : Distinct(GlobalNames(XO_GLOBAL_ADMINISTRATORS))) {
      for (const AdminRecord& r : Records<AdminRecord>(
               [&](AdminRecord** out) { return Xo_PolicyApi_GetAdmin(h_, name.c_str(), out); },
               "administrator " + Quote(name))) {
        Add(Line("administrator")
                .Text("name", r.name)
                .Text("description", r.description)
                .Text("password", r.adminText)
                .Text("directory", r.userDirName)
                .Text("scheme", r.schemeName)
                .Numbers("flags", {r.adminFlags}));
      }
    }
  }

  void Domain(const std::string& domain) {
    const char* d = domain.c_str();
    const std::string in = "domain " + Quote(domain) + " ";
    for (const DomainRecord& r : Records<DomainRecord>(
             [&](DomainRecord** out) { return Xo_PolicyApi_GetDomain(h_, d, out); },
             "domain " + Quote(domain))) {
      char** order = nullptr;
      const int32_t rc = Xo_PolicyApi_GetUserDirSearchOrder(h_, d, &order);
      const Names searchOrder = Take(order);
      Check(rc, "search order of " + Quote(domain));
      Add(Line("domain")
              .Text("name", r.name)
              .Text("description", r.description)
              .Texts("search order", searchOrder)
              .Texts("administrators", Sorted(DomainNames(domain, XO_DOMAIN_ADMINISTRATORS))));
    }

    const Names realms = Distinct(DomainNames(domain, XO_DOMAIN_REALMS));
    for (const std::string& name : realms) {
      for (const RealmRecord& r : Records<RealmRecord>(
               [&](RealmRecord** out) { return Xo_PolicyApi_GetRealm(h_, name.c_str(), d, out); },
               in + "realm " + Quote(name))) {
        // A realm under its domain reads back the domain's name as its
        // parent, as one under a realm of that name would.
        const std::unique_ptr<CXoObjBase> stored = Stored(CXoObjId(Field(r.objectId)));
        const CXoObjId& parent = stored->Id(CXoObjRealm::Parent);
        Add(Line(in + "realm")
                .Text("name", r.name)
                .Text("description", r.description)
                .Text("text", r.realmText)
                .Text("agent", r.agentName)
                .Text("scheme", r.schemeName)
                .Text("parent",
                      parent.GetOidClass() == XoObjId_Domain ? "(the domain)" : Field(r.parentName))
                .Text("stored agent", Reference(stored->Id(CXoObjRealm::Agent)))
                .Numbers("flags", {r.realmFlag1, r.realmFlag2, r.realmFlag3, r.realmFlag4})
                .Numbers("integers", {r.realmInt1, r.realmInt2}));
      }
    }

    for (const std::string& name : Distinct(DomainNames(domain, XO_DOMAIN_RULES))) {
      for (const std::string& realm : realms) {
        for (const RuleRecord& r : Records<RuleRecord>(
                 [&](RuleRecord** out) {
                   return Xo_PolicyApi_GetRule(h_, name.c_str(), realm.c_str(), d, out);
                 },
                 in + "rule " + Quote(realm) + " " + Quote(name))) {
          Add(Line(in + "rule")
                  .Text("realm", r.realmName)
                  .Text("name", r.name)
                  .Text("description", r.description)
                  .Texts("texts", {Field(r.ruleText1), Field(r.ruleText2), Field(r.ruleText3)})
                  .Numbers("flags", {r.ruleFlag1, r.ruleFlag2, r.ruleFlag3}));
        }
      }
    }

    for (const std::string& name : Distinct(DomainNames(domain, XO_DOMAIN_RULE_GROUPS))) {
      Group(XO_GROUP_RULE, name, d, in + "rule group");
    }
    for (const std::string& name : Distinct(DomainNames(domain, XO_DOMAIN_RESPONSE_GROUPS))) {
      Group(XO_GROUP_RESPONSE, name, d, in + "response group");
    }

    for (const std::string& name : Distinct(DomainNames(domain, XO_DOMAIN_RESPONSES))) {
      for (const ResponseRecord& r : Records<ResponseRecord>(
               [&](ResponseRecord** out) {
                 return Xo_PolicyApi_GetResponse(h_, name.c_str(), d, out);
               },
               in + "response " + Quote(name))) {
        Names attributes;
        for (const ResponseAttrRecord& a : Records<ResponseAttrRecord>(
                 [&](ResponseAttrRecord** out) {
                   return Xo_PolicyApi_GetResponseAttrs(h_, name.c_str(), d, out);
                 },
                 in + "attributes of " + Quote(name))) {
          attributes.push_back(Field(a.attrName) + "=" + Field(a.value) + " " +
                               std::to_string(a.attrInt1) + "," + std::to_string(a.attrInt2));
        }
        Add(Line(in + "response")
                .Text("name", r.name)
                .Text("description", r.description)
                .Text("type", r.agentTypeName)
                .Texts("attributes", Sorted(attributes)));
      }
    }

    const Names directories = Distinct(GlobalNames(XO_GLOBAL_USER_DIRECTORIES));
    for (const std::string& name : Distinct(DomainNames(domain, XO_DOMAIN_POLICIES))) {
      const char* p = name.c_str();
      for (const PolicyRecord& r : Records<PolicyRecord>(
               [&](PolicyRecord** out) { return Xo_PolicyApi_GetPolicy(h_, p, d, out); },
               in + "policy " + Quote(name))) {
        Add(Line(in + "policy")
                .Text("name", r.name)
                .Text("description", r.description)
                .Texts("texts", {Field(r.policyText1), Field(r.policyText2)})
                .Numbers("flag", {r.policyFlag})
                .Texts("resolutions", Resolutions(Field(r.objectId))));
      }
      const std::string of = in + "policy " + Quote(name) + " ";
      for (const PolicyLinkRecord& r : Records<PolicyLinkRecord>(
               [&](PolicyLinkRecord** out) { return Xo_PolicyApi_GetPolicyLinks(h_, d, p, out); },
               of + "links")) {
        Add(Line(of + "link")
                .Text("realm", r.realmName)
                .Text("rule", r.ruleName)
                .Text("response", r.responseName)
                .Text("stored response",
                      Reference(
                          Stored(CXoObjId(Field(r.objectId)))->Id(CXoObjPolicyLink::Response))));
      }
      for (const std::string& directory : directories) {
        for (const UserEntryRecord& r : Records<UserEntryRecord>(
                 [&](UserEntryRecord** out) {
                   return Xo_PolicyApi_GetPolicyUsers(h_, d, p, directory.c_str(), out);
                 },
                 of + "users in " + Quote(directory))) {
          Add(Line(of + "user")
                  .Text("directory", directory)
                  .Text("entry", r.entry)
                  .Text("detail", r.entryDetail)
                  .Numbers("kind", {r.entryKind}));
        }
      }
    }
  }

  PolicyApiSession* h_;
  DirectStore& direct_;
  std::map<std::string, std::string> directoryNames_;
  Names lines_;
};

// XO_POLICY_STORE for the lifetime of the object, then as it was.
class StoreLocation {
 public:
  explicit StoreLocation(const std::string& path) {
    if (const char* old = std::getenv("XO_POLICY_STORE")) previous_ = old;
    SetEnvironment("XO_POLICY_STORE", "sqlite:" + path);
  }
  ~StoreLocation() {
    if (previous_) {
      SetEnvironment("XO_POLICY_STORE", *previous_);
    } else {
      unsetenv("XO_POLICY_STORE");
    }
  }
  StoreLocation(const StoreLocation&) = delete;
  StoreLocation& operator=(const StoreLocation&) = delete;

 private:
  std::optional<std::string> previous_;
};

class Session {
 public:
  Session(const std::string& admin, const std::string& password) {
    const int32_t rc =
        Xo_PolicyApi_Login(&handle_, nullptr, admin.c_str(), password.c_str(), "localhost", "", 0);
    if (rc != XO_OK) {
      if (handle_ != nullptr) Xo_PolicyApi_Logout(handle_);
      throw std::runtime_error("login as " + Quote(admin) + " gave " + std::to_string(rc));
    }
  }
  ~Session() { Xo_PolicyApi_Logout(handle_); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  PolicyApiSession* Handle() const { return handle_; }

 private:
  PolicyApiSession* handle_ = nullptr;
};

}  // namespace

std::vector<std::string> ReadStoreModel(const std::string& path, const std::string& admin,
                                        const std::string& password) {
  StoreLocation location(path);
  Session session(admin, password);
  DirectStore direct(admin, password);
  return Reader(session.Handle(), direct).Read();
}

std::string ModelDifference(const std::vector<std::string>& before,
                            const std::vector<std::string>& after) {
  Names gone, added;
  std::set_difference(before.begin(), before.end(), after.begin(), after.end(),
                      std::back_inserter(gone));
  std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                      std::back_inserter(added));
  std::string difference;
  for (const std::string& line : gone) difference += "- " + line + "\n";
  for (const std::string& line : added) difference += "+ " + line + "\n";
  return difference;
}

}  // namespace xo::test
