// A document's canonical form and its text: what makes two exports of the
// same store equal byte for byte.
#include <algorithm>

#include "cli/policy/Document.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

void SortSets(Json& object, const Kind& kind) {
  for (const FieldSpec& field : kind.fields) {
    if ((field.type == NameSet || field.type == ObjectSet) && object.contains(field.key)) {
      Json& list = object[field.key];
      std::sort(list.begin(), list.end());
    }
  }
}

void SortCollection(Json& collection, const Kind& kind) {
  for (Json& object : collection) SortSets(object, kind);
  std::sort(collection.begin(), collection.end(),
            [&](const Json& a, const Json& b) { return KeyParts(kind, a) < KeyParts(kind, b); });
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

Json DefaultValue(const FieldSpec& field) {
  switch (field.type) {
    case Text:
      return field.defaultText;
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

Json WithDefaults(const Kind& kind, const Json& object) {
  Json full = Json::object();
  for (const FieldSpec& field : kind.fields) {
    full[field.key] = object.contains(field.key) ? object[field.key] : DefaultValue(field);
  }
  return full;
}

std::string KeyOf(const Kind& kind, const Json& object) {
  std::vector<std::string> parts = KeyParts(kind, object);
  std::string key;
  for (size_t i = 0; i < parts.size(); ++i) key += (i ? "/" : "") + parts[i];
  return key;
}

std::vector<std::string> KeyParts(const Kind& kind, const Json& object) {
  std::vector<std::string> parts;
  for (int i = 0; i < kind.keyFields; ++i) parts.push_back(object[kind.fields[i].key]);
  return parts;
}

std::string WriteDocument(const Json& document) {
  std::string text;
  Write(document, 0, text);
  return text + "\n";
}

void Canonicalize(Json& document) {
  if (document.contains("system")) {
    for (const Kind* kind : SystemKinds()) {
      if (document["system"].contains(kind->collection)) {
        SortCollection(document["system"][kind->collection], *kind);
      }
    }
  }
  if (!document.contains("domains")) return;
  SortCollection(document["domains"], DomainKind());
  for (Json& domain : document["domains"]) {
    for (const Kind* kind : DomainKinds()) {
      if (domain.contains(kind->collection)) SortCollection(domain[kind->collection], *kind);
    }
  }
}

}  // namespace xo::cli::policy
