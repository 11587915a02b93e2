#include "cli/PolicyModel.h"

#include <algorithm>
#include <set>

#include "cli/CommandGroups.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

// Fields of the objects inside lists.
const std::vector<FieldSpec> kRuleGroupMember{{"group", Text}, {"realm", Text}, {"rule", Text}};
const std::vector<FieldSpec> kLink{
    {"group", Text}, {"realm", Text}, {"rule", Text}, {"response", Text}};
const std::vector<FieldSpec> kAttribute{
    {"attribute", Text}, {"value", Text}, {"integers", Integers, 2}};
const std::vector<FieldSpec> kPolicyUser{{"directory", Text}, {"entry", Text}};

bool OmittedWhenEmpty(const std::vector<FieldSpec>& members, const FieldSpec& field) {
  // In rule-group members and links, a rule is named by realm and rule, a
  // group by group; the keys of the other alternative are left out.
  bool alternatives = &members == &kRuleGroupMember || &members == &kLink;
  std::string key = field.key;
  return alternatives && (key == "group" || key == "realm" || key == "rule");
}

const KindSpec kOdbcQueryScheme{"odbcQuerySchemes",
                                "odbc query scheme",
                                1,
                                {{"name", Text}, {"description", Text}, {"queries", Texts, 15}}};
const KindSpec kUserDirectory{"userDirectories",
                              "user directory",
                              1,
                              {{"name", Text},
                               {"description", Text},
                               {"type", Text},
                               {"queryScheme", Text},
                               {"strings", Texts, 13},
                               {"integers", Integers, 3},
                               {"flags", Flags, 2}}};
const KindSpec kScheme{"schemes",
                       "scheme",
                       1,
                       {{"name", Text},
                        {"description", Text},
                        {"integers", Integers, 2},
                        {"strings", Texts, 3},
                        {"flags", Flags, 5}}};
const KindSpec kAgent{"agents",
                      "agent",
                      1,
                      {{"name", Text},
                       {"description", Text},
                       {"agentType", Text},
                       {"strings", Texts, 2},
                       {"integer", Integer}}};
const KindSpec kAgentGroup{
    "agentGroups",
    "agent group",
    1,
    {{"name", Text}, {"description", Text}, {"agentType", Text}, {"members", NameSet}}};
const KindSpec kAdministrator{"administrators",
                              "administrator",
                              1,
                              {{"name", Text},
                               {"description", Text},
                               {"flags", Integer},
                               {"userDirectory", Text},
                               {"scheme", Text},
                               {"password", Text}}};

const KindSpec kDomain{"domains",
                       "domain",
                       1,
                       {{"name", Text},
                        {"description", Text},
                        {"userDirectories", NameList},
                        {"administrators", NameSet}}};
const KindSpec kRealm{"realms",
                      "realm",
                      1,
                      {{"name", Text},
                       {"description", Text},
                       {"text", Text},
                       {"agent", Text},
                       {"scheme", Text},
                       {"parent", Text},
                       {"flags", Flags, 4},
                       {"integers", Integers, 2}}};
const KindSpec kRule{"rules",
                     "rule",
                     2,
                     {{"realm", Text},
                      {"name", Text},
                      {"description", Text},
                      {"texts", Texts, 3},
                      {"flags", Flags, 3}}};
const KindSpec kRuleGroup{"ruleGroups",
                          "rule group",
                          1,
                          {{"name", Text},
                           {"description", Text},
                           {"agentType", Text},
                           {"members", ObjectSet, 0, &kRuleGroupMember}}};
const KindSpec kResponse{"responses",
                         "response",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"agentType", Text},
                          {"attributes", ObjectSet, 0, &kAttribute}}};
const KindSpec kResponseGroup{
    "responseGroups",
    "response group",
    1,
    {{"name", Text}, {"description", Text}, {"agentType", Text}, {"members", NameSet}}};
const KindSpec kPolicy{"policies",
                       "policy",
                       1,
                       {{"name", Text},
                        {"description", Text},
                        {"texts", Texts, 2},
                        {"flag", Flag},
                        {"links", ObjectSet, 0, &kLink},
                        {"users", ObjectSet, 0, &kPolicyUser}}};

[[noreturn]] void Refuse(const std::string& where, const std::string& problem) {
  throw CommandError(where + ": " + problem);
}

std::string KeyList(const std::vector<FieldSpec>& fields, std::vector<std::string> extra = {}) {
  std::string list;
  for (const FieldSpec& field : fields) list += (list.empty() ? "" : ", ") + std::string(field.key);
  for (const std::string& key : extra) list += ", " + key;
  return list;
}

const FieldSpec* FindField(const std::vector<FieldSpec>& fields, const std::string& key) {
  for (const FieldSpec& field : fields) {
    if (key == field.key) return &field;
  }
  return nullptr;
}

void RequireObject(const Json& value, const std::string& where) {
  if (!value.is_object()) Refuse(where, "must be a JSON object");
}

void RequireArray(const Json& value, const std::string& where) {
  if (!value.is_array()) Refuse(where, "must be a JSON array");
}

Json CheckedScalar(const Json& value, FieldType type, const std::string& where) {
  switch (type) {
    case Text:
    case NameSet:
    case NameList:
      if (!value.is_string()) Refuse(where, "must be a text");
      if (value.get_ref<const std::string&>().size() >= 1024) {
        Refuse(where, "is longer than 1023 bytes");
      }
      return value;
    case Integer:
    case Integers:
      if (!value.is_number_integer() || value.get<int64_t>() < INT32_MIN ||
          value.get<int64_t>() > INT32_MAX) {
        Refuse(where, "must be a whole number that fits 32 bits");
      }
      return value.get<int32_t>();
    case Flag:
    case Flags:
      if (!value.is_boolean()) Refuse(where, "must be true or false");
      return value;
    default:
      return value;
  }
}

Json CheckedObject(const Json& value, const std::vector<FieldSpec>& fields,
                   const std::string& where);

Json CheckedField(const Json& value, const FieldSpec& field, const std::string& where) {
  switch (field.type) {
    case Text:
    case Integer:
    case Flag:
      return CheckedScalar(value, field.type, where);
    case Texts:
    case Integers:
    case Flags:
      RequireArray(value, where);
      if (field.length != 0 && value.size() != static_cast<size_t>(field.length)) {
        Refuse(where, "must hold exactly " + std::to_string(field.length) + " values");
      }
      break;
    case NameSet:
    case NameList:
    case ObjectSet:
      RequireArray(value, where);
      break;
  }
  Json checked = Json::array();
  for (size_t i = 0; i < value.size(); ++i) {
    std::string at = where + "[" + std::to_string(i) + "]";
    checked.push_back(field.type == ObjectSet ? CheckedObject(value[i], *field.members, at)
                                              : CheckedScalar(value[i], field.type, at));
  }
  return checked;
}

void CheckAlternatives(const Json& member, const std::string& where) {
  bool group = member.contains("group") && !member["group"].get<std::string>().empty();
  bool rule = member.contains("rule") && !member["rule"].get<std::string>().empty();
  if (group == rule)
    Refuse(where, "must name either a \"group\" or a \"rule\" (with its \"realm\")");
}

// A list member, rebuilt with its keys in their fixed order.
Json CheckedObject(const Json& value, const std::vector<FieldSpec>& fields,
                   const std::string& where) {
  RequireObject(value, where);
  for (const auto& item : value.items()) {
    if (!FindField(fields, item.key())) {
      Refuse(where, "unknown key \"" + item.key() + "\" (known: " + KeyList(fields) + ")");
    }
  }
  Json checked = Json::object();
  for (const FieldSpec& field : fields) {
    std::string at = where + "." + field.key;
    Json one =
        value.contains(field.key) ? CheckedField(value[field.key], field, at) : DefaultValue(field);
    if (OmittedWhenEmpty(fields, field) && one == "") continue;
    checked[field.key] = std::move(one);
  }
  if (FindField(fields, "group")) CheckAlternatives(checked, where);
  return checked;
}

// An object of a kind as a file gives it: only the keys it has, in order.
Json CheckedKindObject(const KindSpec& kind, const Json& value, const std::string& where,
                       const std::vector<const KindSpec*>& children = {}) {
  RequireObject(value, where);
  std::vector<std::string> childKeys;
  for (const KindSpec* child : children) childKeys.push_back(child->collection);
  for (const auto& item : value.items()) {
    bool isChild = std::find(childKeys.begin(), childKeys.end(), item.key()) != childKeys.end();
    if (!FindField(kind.fields, item.key()) && !isChild) {
      Refuse(where,
             "unknown key \"" + item.key() + "\" (known: " + KeyList(kind.fields, childKeys) + ")");
    }
  }
  Json checked = Json::object();
  for (int i = 0; i < static_cast<int>(kind.fields.size()); ++i) {
    const FieldSpec& field = kind.fields[i];
    std::string at = where + "." + field.key;
    if (!value.contains(field.key)) {
      if (i < kind.keyFields) Refuse(where, std::string("needs \"") + field.key + "\"");
      continue;
    }
    checked[field.key] = CheckedField(value[field.key], field, at);
    if (i < kind.keyFields && checked[field.key] == "") Refuse(at, "must not be empty");
  }
  return checked;
}

Json CheckedCollection(const KindSpec& kind, const Json& value, const std::string& where,
                       const std::vector<const KindSpec*>& children = {}) {
  RequireArray(value, where);
  Json checked = Json::array();
  std::set<std::string> keys;
  for (size_t i = 0; i < value.size(); ++i) {
    std::string at = where + "[" + std::to_string(i) + "]";
    Json object = CheckedKindObject(kind, value[i], at, children);
    if (!keys.insert(KeyOf(kind, object)).second) {
      Refuse(at, std::string(kind.label) + " \"" + KeyOf(kind, object) + "\" appears twice");
    }
    for (const KindSpec* child : children) {
      if (value[i].contains(child->collection)) {
        object[child->collection] =
            CheckedCollection(*child, value[i][child->collection], at + "." + child->collection);
      }
    }
    checked.push_back(std::move(object));
  }
  return checked;
}

void SortSets(Json& object, const KindSpec& kind) {
  for (const FieldSpec& field : kind.fields) {
    if ((field.type == NameSet || field.type == ObjectSet) && object.contains(field.key)) {
      Json& list = object[field.key];
      std::sort(list.begin(), list.end());
    }
  }
}

void SortCollection(Json& collection, const KindSpec& kind) {
  for (Json& object : collection) SortSets(object, kind);
  std::sort(collection.begin(), collection.end(),
            [&](const Json& a, const Json& b) { return KeyOf(kind, a) < KeyOf(kind, b); });
}

bool HoldsOnlyPlainValues(const Json& array) {
  return std::none_of(array.begin(), array.end(),
                      [](const Json& item) { return item.is_structured(); });
}

void Write(const Json& value, int indent, std::string& out) {
  const std::string inner(indent + 2, ' ');
  if (value.is_object() && !value.empty()) {
    out += "{\n";
    size_t i = 0;
    for (const auto& item : value.items()) {
      out += inner + Json(item.key()).dump() + ": ";
      Write(item.value(), indent + 2, out);
      out += ++i < value.size() ? ",\n" : "\n";
    }
    out += std::string(indent, ' ') + "}";
  } else if (value.is_array() && !HoldsOnlyPlainValues(value)) {
    out += "[\n";
    for (size_t i = 0; i < value.size(); ++i) {
      out += inner;
      Write(value[i], indent + 2, out);
      out += i + 1 < value.size() ? ",\n" : "\n";
    }
    out += std::string(indent, ' ') + "]";
  } else if (value.is_array()) {
    out += "[";
    for (size_t i = 0; i < value.size(); ++i) out += (i ? ", " : "") + value[i].dump();
    out += "]";
  } else {
    out += value.dump();
  }
}

}  // namespace

const std::vector<const KindSpec*>& SystemKinds() {
  static const std::vector<const KindSpec*> kinds{
      &kOdbcQueryScheme, &kUserDirectory, &kScheme, &kAgent, &kAgentGroup, &kAdministrator};
  return kinds;
}

const std::vector<const KindSpec*>& DomainKinds() {
  static const std::vector<const KindSpec*> kinds{&kRealm,    &kRule,          &kRuleGroup,
                                                  &kResponse, &kResponseGroup, &kPolicy};
  return kinds;
}

const KindSpec& DomainKind() { return kDomain; }

Json DefaultValue(const FieldSpec& field) {
  switch (field.type) {
    case Text:
      return "";
    case Integer:
      return 0;
    case Flag:
      return false;
    case Texts:
      return Json(std::vector<std::string>(field.length, ""));
    case Integers:
      return Json(std::vector<int32_t>(field.length, 0));
    case Flags:
      return Json(std::vector<bool>(field.length, false));
    default:
      return Json::array();
  }
}

Json WithDefaults(const KindSpec& kind, const Json& object) {
  Json full = Json::object();
  for (const FieldSpec& field : kind.fields) {
    full[field.key] = object.contains(field.key) ? object[field.key] : DefaultValue(field);
  }
  return full;
}

std::string KeyOf(const KindSpec& kind, const Json& object) {
  std::string key;
  for (int i = 0; i < kind.keyFields; ++i) {
    if (i > 0) key += "/";
    key += object[kind.fields[i].key].get<std::string>();
  }
  return key;
}

Json ParseDocument(const std::string& text, const std::string& source) {
  Json input;
  try {
    input = Json::parse(text);
  } catch (const Json::parse_error& e) {
    // nlohmann's message names the byte where reading stopped.
    throw CommandError(source + " is not valid JSON: " + e.what());
  }
  RequireObject(input, source);
  for (const auto& item : input.items()) {
    if (item.key() != "version" && item.key() != "system" && item.key() != "domains") {
      Refuse(source, "unknown key \"" + item.key() + "\" (known: version, system, domains)");
    }
  }
  if (!input.contains("version") || input["version"] != kDocumentVersion) {
    Refuse(source, "\"version\" must be " + std::to_string(kDocumentVersion));
  }

  Json document = Json::object();
  document["version"] = kDocumentVersion;
  if (input.contains("system")) {
    const Json& system = input["system"];
    RequireObject(system, "system");
    Json checked = Json::object();
    for (const auto& item : system.items()) {
      auto known = std::find_if(SystemKinds().begin(), SystemKinds().end(),
                                [&](const KindSpec* k) { return item.key() == k->collection; });
      if (known == SystemKinds().end()) {
        Refuse("system", "unknown key \"" + item.key() +
                             "\" (known: odbcQuerySchemes, userDirectories, schemes, agents, "
                             "agentGroups, administrators)");
      }
    }
    for (const KindSpec* kind : SystemKinds()) {
      if (system.contains(kind->collection)) {
        checked[kind->collection] = CheckedCollection(*kind, system[kind->collection],
                                                      std::string("system.") + kind->collection);
      }
    }
    document["system"] = std::move(checked);
  }
  if (input.contains("domains")) {
    document["domains"] = CheckedCollection(kDomain, input["domains"], "domains", DomainKinds());
  }
  Canonicalize(document);
  return document;
}

std::string WriteDocument(const Json& document) {
  std::string text;
  Write(document, 0, text);
  return text + "\n";
}

void Canonicalize(Json& document) {
  if (document.contains("system")) {
    for (const KindSpec* kind : SystemKinds()) {
      if (document["system"].contains(kind->collection)) {
        SortCollection(document["system"][kind->collection], *kind);
      }
    }
  }
  if (!document.contains("domains")) return;
  SortCollection(document["domains"], kDomain);
  for (Json& domain : document["domains"]) {
    for (const KindSpec* kind : DomainKinds()) {
      if (domain.contains(kind->collection)) SortCollection(domain[kind->collection], *kind);
    }
  }
}

}  // namespace xo::cli::policy
