#include "cli/PolicyApply.h"

#include <algorithm>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "cli/Output.h"
#include "cli/PolicyRecords.h"

namespace xo::cli::policy {
namespace {

std::string Text(const Json& object, const char* key) { return object[key].get<std::string>(); }
uint8_t FlagAt(const Json& object, const char* key, size_t i) { return object[key][i].get<bool>(); }
int32_t IntAt(const Json& object, const char* key, size_t i) {
  return object[key][i].get<int32_t>();
}
std::string TextAt(const Json& object, const char* key, size_t i) {
  return object[key][i].get<std::string>();
}

// The items of `from` that `other` lacks.
std::vector<Json> Missing(const Json& from, const Json& other) {
  std::vector<Json> missing;
  for (const Json& item : from) {
    if (std::find(other.begin(), other.end(), item) == other.end()) missing.push_back(item);
  }
  return missing;
}

const Json& ListOf(const Json& object, const char* key) {
  static const Json kEmpty = Json::array();
  return object.is_object() && object.contains(key) ? object[key] : kEmpty;
}

// Brings a list the library changes an item at a time from `before` to
// `after`: `remove` for each item gone, then `add` for each new one.
template <class Remove, class Add>
void SyncItems(const Json& before, const Json& after, Remove&& remove, Add&& add) {
  for (const Json& gone : Missing(before, after)) remove(gone);
  for (const Json& added : Missing(after, before)) add(added);
}

// Brings a list the library removes from a group at a time (the items that
// share `keyOf`) from `before` to `after`: each group that differs is removed
// whole, then each group that differs is added whole.
template <class KeyOf, class Remove, class Add>
void SyncGroups(const Json& before, const Json& after, KeyOf&& keyOf, Remove&& remove, Add&& add) {
  using Key = std::invoke_result_t<KeyOf&, const Json&>;
  const auto group = [&](const Json& list) {
    std::map<Key, Json> grouped;
    for (const Json& item : list) grouped[keyOf(item)].push_back(item);
    return grouped;
  };
  const std::map<Key, Json> groupsBefore = group(before);
  const std::map<Key, Json> groupsAfter = group(after);
  const auto same = [](const std::map<Key, Json>& groups, const Key& key, const Json& items) {
    const auto found = groups.find(key);
    return found != groups.end() && found->second == items;
  };
  for (const auto& [key, items] : groupsBefore) {
    if (!same(groupsAfter, key, items)) remove(key, items);
  }
  for (const auto& [key, items] : groupsAfter) {
    if (!same(groupsBefore, key, items)) add(key, items);
  }
}

class Applier {
 public:
  explicit Applier(PolicyApiSession* handle) : h_(handle) {}

  void Apply(const Change& change) {
    const std::string kind = change.kind->collection;
    if (change.what == ChangeKind::Delete) RunMemberships();
    change_ = &change;
    if (change.what == ChangeKind::Delete) {
      Delete(kind, change);
      return;
    }
    if (kind == "odbcQuerySchemes") OdbcQueryScheme(change);
    if (kind == "userDirectories") UserDirectory(change);
    if (kind == "schemes") Scheme(change);
    if (kind == "agents") Agent(change);
    if (kind == "agentGroups") Group(change, XO_GROUP_AGENT);
    if (kind == "administrators") Administrator(change);
    if (kind == "domains") Domain(change);
    if (kind == "realms") Realm(change);
    if (kind == "rules") Rule(change);
    if (kind == "ruleGroups") Group(change, XO_GROUP_RULE);
    if (kind == "responses") Response(change);
    if (kind == "responseGroups") Group(change, XO_GROUP_RESPONSE);
    if (kind == "policies") Policy(change);
  }

  // Group members may be groups made later in the plan, so memberships are
  // changed once every object exists, before anything is deleted.
  void RunMemberships() {
    for (auto& membership : memberships_) membership();
    memberships_.clear();
  }

 private:
  void Must(int32_t code) {
    static const char* const kVerbs[] = {"create", "update", "delete"};
    Check(code, std::string("cannot ") + kVerbs[static_cast<int>(change_->what)] + " " +
                    change_->kind->label + " " + change_->Name());
  }
  void MustFor(int32_t code, const std::string& what) {
    Check(code, "cannot change " + std::string(change_->kind->label) + " " + change_->Name() +
                    " (" + what + ")");
  }
  uint8_t Update() const { return change_->what == ChangeKind::Update ? 1 : 0; }
  // Whether the object's own record changes, not only its lists.
  bool RecordChanges(std::initializer_list<const char*> lists) const {
    if (change_->what == ChangeKind::Create) return true;
    return std::any_of(change_->fields.begin(), change_->fields.end(), [&](const FieldChange& f) {
      return std::none_of(lists.begin(), lists.end(),
                          [&](const char* list) { return f.field == list; });
    });
  }

  void OdbcQueryScheme(const Change& c) {
    OdbcQuerySchemeRecord r{};
    SetField(r.name, Text(c.after, "name"));
    SetField(r.description, Text(c.after, "description"));
    for (size_t i = 0; i < 15; ++i) SetField(r.query[i], TextAt(c.after, "queries", i));
    Must(Xo_PolicyApi_CreateODBCQueryScheme(h_, &r, Update()));
  }

  void UserDirectory(const Change& c) {
    UserDirRecord r{};
    const Json& a = c.after;
    SetField(r.name, Text(a, "name"));
    SetField(r.description, Text(a, "description"));
    SetField(r.directoryType, Text(a, "type"));
    SetField(r.querySchemeName, Text(a, "queryScheme"));
    char(*strings[])[XO_TEXT_FIELD] = {
        &r.string1, &r.string2, &r.string3,  &r.string4,  &r.string5,  &r.string6, &r.string7,
        &r.string8, &r.string9, &r.string10, &r.string11, &r.string12, &r.string13};
    for (size_t i = 0; i < 13; ++i) SetField(*strings[i], TextAt(a, "strings", i));
    r.int1 = IntAt(a, "integers", 0);
    r.int2 = IntAt(a, "integers", 1);
    r.int3 = IntAt(a, "integers", 2);
    r.flag1 = FlagAt(a, "flags", 0);
    r.flag2 = FlagAt(a, "flags", 1);
    Must(Xo_PolicyApi_CreateUserDir(h_, &r, Update()));
  }

  void Scheme(const Change& c) {
    SchemeRecord r{};
    const Json& a = c.after;
    SetField(r.name, Text(a, "name"));
    SetField(r.description, Text(a, "description"));
    r.schemeInt1 = IntAt(a, "integers", 0);
    r.schemeInt2 = IntAt(a, "integers", 1);
    SetField(r.schemeString1, TextAt(a, "strings", 0));
    SetField(r.schemeString2, TextAt(a, "strings", 1));
    SetField(r.schemeString3, TextAt(a, "strings", 2));
    uint8_t* flags[] = {&r.schemeFlag1, &r.schemeFlag2, &r.schemeFlag3, &r.schemeFlag4,
                        &r.schemeFlag5};
    for (size_t i = 0; i < 5; ++i) *flags[i] = FlagAt(a, "flags", i);
    Must(Xo_PolicyApi_AddScheme(h_, &r, Update()));
  }

  void Agent(const Change& c) {
    AgentRecord r{};
    SetField(r.name, Text(c.after, "name"));
    SetField(r.description, Text(c.after, "description"));
    SetField(r.agentTypeName, Text(c.after, "agentType"));
    SetField(r.agentString1, TextAt(c.after, "strings", 0));
    SetField(r.agentString2, TextAt(c.after, "strings", 1));
    r.agentInt = c.after["integer"].get<int32_t>();
    Must(Xo_PolicyApi_AddAgent(h_, &r, Update()));
  }

  void Administrator(const Change& c) {
    AdminRecord r{};
    SetField(r.name, Text(c.after, "name"));
    SetField(r.description, Text(c.after, "description"));
    // A stored hash given back keeps the password as it is.
    SetField(r.adminText, c.after.contains("password") ? Text(c.after, "password") : "");
    SetField(r.userDirName, Text(c.after, "userDirectory"));
    SetField(r.schemeName, Text(c.after, "scheme"));
    r.adminFlags = c.after["flags"].get<int32_t>();
    Must(Xo_PolicyApi_AddAdmin(h_, &r, Update()));
  }

  void Domain(const Change& c) {
    std::string name = Text(c.after, "name");
    if (RecordChanges({"userDirectories", "administrators"})) {
      DomainRecord r{};
      SetField(r.name, name);
      SetField(r.description, Text(c.after, "description"));
      Must(Xo_PolicyApi_AddDomain(h_, &r, Update()));
    }
    const Json& directories = c.after["userDirectories"];
    SyncDomainList(name, ListOf(c.before, "userDirectories"), directories,
                   Xo_PolicyApi_RemoveUserDirFromDomain, Xo_PolicyApi_AddUserDirToDomain,
                   "user directory ");
    if (c.Changes("userDirectories") && directories.size() > 1) {
      std::vector<std::string> order = directories.get<std::vector<std::string>>();
      std::vector<char*> names;
      for (std::string& directory : order) names.push_back(directory.data());
      names.push_back(nullptr);
      MustFor(Xo_PolicyApi_SetUserDirSearchOrder(h_, name.c_str(), names.data()),
              "user directory search order");
    }
    SyncDomainList(name, ListOf(c.before, "administrators"), c.after["administrators"],
                   Xo_PolicyApi_RemoveAdminFromDomain, Xo_PolicyApi_AddAdminToDomain,
                   "administrator ");
  }

  // A domain's list of system-wide objects (user directories or
  // administrators), changed by the member's name.
  using DomainListCall = int32_t(XO_API_CALL*)(PolicyApiSession*, const char* member,
                                               const char* domain);
  void SyncDomainList(const std::string& domain, const Json& before, const Json& after,
                      DomainListCall remove, DomainListCall add, const std::string& what) {
    const auto change = [&](DomainListCall call, const Json& member) {
      MustFor(call(h_, member.get<std::string>().c_str(), domain.c_str()), what + member.dump());
    };
    SyncItems(
        before, after, [&](const Json& gone) { change(remove, gone); },
        [&](const Json& added) { change(add, added); });
  }

  void Realm(const Change& c) {
    RealmRecord r{};
    const Json& a = c.after;
    SetField(r.name, Text(a, "name"));
    SetField(r.description, Text(a, "description"));
    SetField(r.realmText, Text(a, "text"));
    SetField(r.agentName, Text(a, "agent"));
    SetField(r.schemeName, Text(a, "scheme"));
    SetField(r.parentName, Text(a, "parent"));
    r.realmFlag1 = FlagAt(a, "flags", 0);
    r.realmFlag2 = FlagAt(a, "flags", 1);
    r.realmFlag3 = FlagAt(a, "flags", 2);
    r.realmFlag4 = FlagAt(a, "flags", 3);
    r.realmInt1 = IntAt(a, "integers", 0);
    r.realmInt2 = IntAt(a, "integers", 1);
    Must(Xo_PolicyApi_AddRealm(h_, c.domain.c_str(), &r, Update()));
  }

  void Rule(const Change& c) {
    RuleRecord r{};
    const Json& a = c.after;
    SetField(r.name, Text(a, "name"));
    SetField(r.description, Text(a, "description"));
    SetField(r.realmName, Text(a, "realm"));
    SetField(r.ruleText1, TextAt(a, "texts", 0));
    SetField(r.ruleText2, TextAt(a, "texts", 1));
    SetField(r.ruleText3, TextAt(a, "texts", 2));
    r.ruleFlag1 = FlagAt(a, "flags", 0);
    r.ruleFlag2 = FlagAt(a, "flags", 1);
    r.ruleFlag3 = FlagAt(a, "flags", 2);
    Must(Xo_PolicyApi_AddRule(h_, c.domain.c_str(), &r, Update()));
  }

  void Group(const Change& c, int32_t type) {
    std::string name = Text(c.after, "name");
    if (RecordChanges({"members"})) {
      GroupRecord r{};
      SetField(r.name, name);
      SetField(r.description, Text(c.after, "description"));
      SetField(r.vendorName, Text(c.after, "agentType"));
      Must(Xo_PolicyApi_AddGroup(h_, type, c.domain.c_str(), &r, Update()));
    }
    if (!c.Changes("members")) return;
    memberships_.push_back([this, type, name, c] {
      change_ = &c;
      const auto change = [&](auto call, const Json& item) {
        auto [member, realm] = Member(item);
        MustFor(call(h_, type, name.c_str(), member.c_str(), c.domain.c_str(), realm.c_str()),
                "member " + item.dump());
      };
      SyncItems(
          ListOf(c.before, "members"), c.after["members"],
          [&](const Json& gone) { change(Xo_PolicyApi_RemoveFromGroup, gone); },
          [&](const Json& added) { change(Xo_PolicyApi_AddToGroup, added); });
    });
  }

  // A member's name and realm: a name for agent and response groups, a rule
  // with its realm or a nested group for rule groups.
  static std::pair<std::string, std::string> Member(const Json& member) {
    if (member.is_string()) return {member.get<std::string>(), ""};
    if (member.contains("group")) return {Text(member, "group"), ""};
    return {Text(member, "rule"), Text(member, "realm")};
  }

  void Response(const Change& c) {
    std::string name = Text(c.after, "name");
    if (RecordChanges({"attributes"})) {
      ResponseRecord r{};
      SetField(r.name, name);
      SetField(r.description, Text(c.after, "description"));
      SetField(r.agentTypeName, Text(c.after, "agentType"));
      Must(Xo_PolicyApi_AddResponse(h_, c.domain.c_str(), &r, Update()));
    }
    if (!c.Changes("attributes")) return;
    // Values are removed by attribute name, so an attribute whose values
    // differ is emptied and given the file's values.
    const auto remove = [&](const std::string& attribute, const Json&) {
      ResponseAttrRecord r{};
      SetField(r.attrName, attribute);
      MustFor(Xo_PolicyApi_RemoveResponseAttr(h_, name.c_str(), c.domain.c_str(), &r),
              "attribute \"" + attribute + "\"");
    };
    const auto add = [&](const std::string& attribute, const Json& values) {
      for (const Json& value : values) {
        ResponseAttrRecord r{};
        SetField(r.attrName, attribute);
        SetField(r.value, Text(value, "value"));
        r.attrInt1 = IntAt(value, "integers", 0);
        r.attrInt2 = IntAt(value, "integers", 1);
        MustFor(Xo_PolicyApi_AddResponseAttr(h_, name.c_str(), c.domain.c_str(), &r),
                "attribute " + value.dump());
      }
    };
    SyncGroups(
        ListOf(c.before, "attributes"), c.after["attributes"],
        [](const Json& item) { return Text(item, "attribute"); }, remove, add);
  }

  void Policy(const Change& c) {
    std::string name = Text(c.after, "name");
    if (RecordChanges({"links", "users"})) {
      PolicyRecord r{};
      SetField(r.name, name);
      SetField(r.description, Text(c.after, "description"));
      SetField(r.policyText1, TextAt(c.after, "texts", 0));
      SetField(r.policyText2, TextAt(c.after, "texts", 1));
      r.policyFlag = c.after["flag"].get<bool>();
      Must(Xo_PolicyApi_AddPolicy(h_, c.domain.c_str(), &r, Update()));
    }
    if (c.Changes("links")) Links(c, name);
    if (!c.Changes("users")) return;
    SyncItems(
        ListOf(c.before, "users"), c.after["users"],
        [&](const Json& gone) {
          MustFor(Xo_PolicyApi_RemoveUsersFromPolicy(h_, c.domain.c_str(), name.c_str(),
                                                     Text(gone, "directory").c_str(),
                                                     Text(gone, "entry").c_str()),
                  "user " + gone.dump());
        },
        [&](const Json& added) {
          MustFor(Xo_PolicyApi_AddUsersToPolicy(
                      h_, c.domain.c_str(), name.c_str(), Text(added, "directory").c_str(),
                      Text(added, "entry").c_str(), Xo_PolicyResolution_Default),
                  "user " + added.dump());
        });
  }

  // Links are removed by what they bind, so a rule or group whose links
  // differ loses them all and gets the file's.
  void Links(const Change& c, const std::string& policy) {
    using Target = std::pair<std::string, std::string>;
    const auto remove = [&](const Target& target, const Json& links) {
      std::string realm = RealmFor(c.domain, target);
      MustFor(Xo_PolicyApi_RemoveRuleFromPolicy(h_, c.domain.c_str(), policy.c_str(), realm.c_str(),
                                                target.second.c_str()),
              "links of " + links.front().dump());
    };
    const auto add = [&](const Target& target, const Json& links) {
      std::string realm = RealmFor(c.domain, target);
      for (const Json& link : links) {
        PolicyLinkRecord r{};
        SetField(r.realmName, realm);
        SetField(r.ruleName, target.second);
        SetField(r.responseName, Text(link, "response"));
        MustFor(Xo_PolicyApi_AddPolicyLink(h_, c.domain.c_str(), policy.c_str(), &r),
                "link " + link.dump());
      }
    };
    SyncGroups(ListOf(c.before, "links"), c.after["links"], TargetOf, remove, add);
  }

  // (realm, rule) of a rule link, ("", group) of a group link.
  static std::pair<std::string, std::string> TargetOf(const Json& link) {
    if (link.contains("group")) return {"", Text(link, "group")};
    return {Text(link, "realm"), Text(link, "rule")};
  }

  // The library finds a rule group only through a realm of its domain, and
  // takes a rule of the same name in that realm first: any realm without one.
  std::string RealmFor(const std::string& domain,
                       const std::pair<std::string, std::string>& target) {
    if (!target.first.empty()) return target.first;
    char** names = nullptr;
    int32_t rc = Xo_PolicyApi_GetDomainObjectNames(h_, domain.c_str(), XO_DOMAIN_REALMS, &names);
    std::vector<std::string> realms = TakeNames(names);
    MustFor(rc, "the realms of its domain");
    for (const std::string& realm : realms) {
      RecordList<RuleRecord> rules;
      if (Xo_PolicyApi_GetRule(h_, target.second.c_str(), realm.c_str(), domain.c_str(),
                               rules.Out()) == XO_OK &&
          rules.Items().empty()) {
        return realm;
      }
    }
    return realms.empty() ? "" : realms.front();
  }

  void Delete(const std::string& kind, const Change& c) {
    std::string name = KeyOf(*c.kind, c.before);
    const char* n = name.c_str();
    const char* d = c.domain.c_str();
    if (kind == "odbcQuerySchemes") Must(Xo_PolicyApi_DeleteODBCQueryScheme(h_, n));
    if (kind == "userDirectories") Must(Xo_PolicyApi_DeleteUserDir(h_, n));
    if (kind == "schemes") Must(Xo_PolicyApi_DeleteScheme(h_, n));
    if (kind == "agents") Must(Xo_PolicyApi_DeleteAgent(h_, n));
    if (kind == "agentGroups") Must(Xo_PolicyApi_DeleteGroup(h_, XO_GROUP_AGENT, "", n));
    if (kind == "administrators") Must(Xo_PolicyApi_DeleteAdmin(h_, n));
    if (kind == "domains") Must(Xo_PolicyApi_DeleteDomain(h_, n));
    if (kind == "realms") Must(Xo_PolicyApi_DeleteRealm(h_, n, d));
    if (kind == "ruleGroups") Must(Xo_PolicyApi_DeleteGroup(h_, XO_GROUP_RULE, d, n));
    if (kind == "responses") Must(Xo_PolicyApi_DeleteResponse(h_, n, d));
    if (kind == "responseGroups") Must(Xo_PolicyApi_DeleteGroup(h_, XO_GROUP_RESPONSE, d, n));
    if (kind == "policies") Must(Xo_PolicyApi_DeletePolicy(h_, n, d));
    if (kind == "rules") {
      std::string rule = Text(c.before, "name");
      std::string realm = Text(c.before, "realm");
      int32_t rc = Xo_PolicyApi_DeleteRule(h_, rule.c_str(), realm.c_str(), d);
      // Gone already when its realm went first.
      if (rc != XO_ERR_RULE_SEARCH) Must(rc);
    }
  }

  PolicyApiSession* h_;
  const Change* change_ = nullptr;
  std::vector<std::function<void()>> memberships_;
};

}  // namespace

void ApplyPlan(PolicyApiSession* handle, const Plan& plan, const Progress& progress) {
  Applier applier(handle);
  size_t done = 0;
  for (const Change& change : plan.changes) {
    applier.Apply(change);
    if (progress) progress(++done, plan.changes.size());
  }
  applier.RunMemberships();
}

}  // namespace xo::cli::policy
