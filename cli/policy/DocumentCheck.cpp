// Reading a document from text: its shape checked against the kinds' fields
// before anything is changed, every mistake named by its place in the file.
#include <algorithm>
#include <set>

#include "cli/CommandGroups.h"
#include "cli/policy/Document.h"
#include "cli/policy/DomainSplitter.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

[[noreturn]] void Refuse(const std::string& where, const std::string& problem) {
  throw CommandError(where + ": " + problem);
}

std::string KeyList(const std::vector<FieldSpec>& fields, std::vector<std::string> extra = {}) {
  std::string list;
  for (const FieldSpec& field : fields) list += (list.empty() ? "" : ", ") + std::string(field.key);
  for (const std::string& key : extra) list += (list.empty() ? "" : ", ") + key;
  return list;
}

std::vector<std::string> Collections(const std::vector<const Kind*>& kinds) {
  std::vector<std::string> keys;
  for (const Kind* kind : kinds) keys.push_back(kind->collection);
  return keys;
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

Json CheckedScalar(const Json& value, const FieldSpec& field, const std::string& where) {
  switch (field.type) {
    case Text:
    case Texts:
    case NameSet:
    case NameList: {
      if (!value.is_string()) Refuse(where, "must be a text");
      const std::string& text = value.get_ref<const std::string&>();
      if (text.size() >= 1024) Refuse(where, "is longer than 1023 bytes");
      if (field.check) {
        if (std::string problem = field.check(text); !problem.empty()) Refuse(where, problem);
      }
      return value;
    }
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
      return CheckedScalar(value, field, where);
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
                                              : CheckedScalar(value[i], field, at));
  }
  return checked;
}

void CheckAlternatives(const Json& member, const std::string& where) {
  bool group = member.contains("group");
  bool rule = member.contains("rule");
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
  bool alternatives = false;
  for (const FieldSpec& field : fields) {
    std::string at = where + "." + field.key;
    Json one =
        value.contains(field.key) ? CheckedField(value[field.key], field, at) : DefaultValue(field);
    alternatives = alternatives || field.alternative;
    if (field.alternative && one == "") continue;
    checked[field.key] = std::move(one);
  }
  if (alternatives) CheckAlternatives(checked, where);
  return checked;
}

// An object of a kind as a file gives it: only the keys it has, in order.
Json CheckedKindObject(const Kind& kind, const Json& value, const std::string& where,
                       const std::vector<const Kind*>& children = {}) {
  RequireObject(value, where);
  std::vector<std::string> childKeys = Collections(children);
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

// One object of a collection, with the collections it holds; `keys` are
// those of the objects before it.
Json CheckedMember(const Kind& kind, const Json& value, const std::string& at,
                   const std::vector<const Kind*>& children,
                   std::set<std::vector<std::string>>& keys);

Json CheckedCollection(const Kind& kind, const Json& value, const std::string& where,
                       const std::vector<const Kind*>& children = {}) {
  RequireArray(value, where);
  Json checked = Json::array();
  std::set<std::vector<std::string>> keys;
  for (size_t i = 0; i < value.size(); ++i) {
    checked.push_back(
        CheckedMember(kind, value[i], where + "[" + std::to_string(i) + "]", children, keys));
  }
  return checked;
}

Json CheckedMember(const Kind& kind, const Json& value, const std::string& at,
                   const std::vector<const Kind*>& children,
                   std::set<std::vector<std::string>>& keys) {
  Json object = CheckedKindObject(kind, value, at, children);
  if (!keys.insert(KeyParts(kind, object)).second) {
    Refuse(at, std::string(kind.label) + " \"" + KeyOf(kind, object) + "\" appears twice");
  }
  for (const Kind* child : children) {
    if (value.contains(child->collection)) {
      object[child->collection] =
          CheckedCollection(*child, value[child->collection], at + "." + child->collection);
    }
  }
  return object;
}

// A domain of the file, checked and in canonical order, packed.
Document::Domain CheckedDomain(const Json& value, size_t i,
                               std::set<std::vector<std::string>>& keys) {
  Json domain =
      CheckedMember(DomainKind(), value, "domains[" + std::to_string(i) + "]", DomainKinds(), keys);
  CanonicalizeDomain(domain);
  Document::Domain checked{domain["name"], Json::object(), {}};
  Json contents = Json::object();
  for (auto& [key, item] : domain.items()) {
    (FindField(DomainKind().fields, key) ? checked.record : contents)[key] = std::move(item);
  }
  checked.contents = Json::to_cbor(contents);
  return checked;
}

Json CheckedSystem(const Json& system) {
  RequireObject(system, "system");
  std::vector<std::string> known = Collections(SystemKinds());
  for (const auto& item : system.items()) {
    if (std::find(known.begin(), known.end(), item.key()) == known.end()) {
      Refuse("system", "unknown key \"" + item.key() + "\" (known: " + KeyList({}, known) + ")");
    }
  }
  Json checked = Json::object();
  for (const Kind* kind : SystemKinds()) {
    if (system.contains(kind->collection)) {
      checked[kind->collection] = CheckedCollection(*kind, system[kind->collection],
                                                    std::string("system.") + kind->collection);
    }
  }
  return checked;
}

}  // namespace

Document ParseDocument(const std::string& text, const std::string& source) {
  // Each domain is packed as soon as it is read: the file's values are never
  // held all at once.
  std::vector<std::vector<std::uint8_t>> domains;
  Json input;
  try {
    input = ParseSplittingDomains(text,
                                  [&](Json&& domain) { domains.push_back(Json::to_cbor(domain)); });
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

  Document document;
  if (input.contains("system")) {
    Json system = {{"system", CheckedSystem(input["system"])}};
    Canonicalize(system);
    document.system = std::move(system["system"]);
  }
  if (input.contains("domains")) {
    RequireArray(input["domains"], "domains");  // its elements were handed on
    document.hasDomains = true;
    std::set<std::vector<std::string>> keys;
    for (size_t i = 0; i < domains.size(); ++i) {
      Json domain = Json::from_cbor(domains[i]);
      std::vector<std::uint8_t>().swap(domains[i]);
      document.domains.push_back(CheckedDomain(domain, i, keys));
    }
    std::sort(document.domains.begin(), document.domains.end(),
              [](const Document::Domain& a, const Document::Domain& b) { return a.name < b.name; });
  }
  return document;
}

}  // namespace xo::cli::policy
