// A document's canonical form and its text: what makes two exports of the
// same store equal byte for byte.
#include <algorithm>
#include <ostream>

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

// Each object's key is made once: comparing keys made afresh on every
// comparison costs more than the rest of an export.
void SortCollection(Json& collection, const Kind& kind) {
  std::vector<std::pair<std::vector<std::string>, size_t>> order;
  order.reserve(collection.size());
  for (size_t i = 0; i < collection.size(); ++i) {
    SortSets(collection[i], kind);
    order.emplace_back(KeyParts(kind, collection[i]), i);
  }
  if (std::is_sorted(order.begin(), order.end())) return;
  std::sort(order.begin(), order.end());
  Json sorted = Json::array();
  for (auto& [key, i] : order) sorted.push_back(std::move(collection[i]));
  collection = std::move(sorted);
}

bool HoldsOnlyPlainValues(const Json& array) {
  return std::none_of(array.begin(), array.end(),
                      [](const Json& item) { return item.is_structured(); });
}

// A text as dump() writes it; most texts need no escaping and skip the
// serializer.
void WriteText(const std::string& text, std::string& out) {
  const bool plain = std::all_of(text.begin(), text.end(), [](char c) {
    return c >= 0x20 && c != '"' && c != '\\' && c != 0x7f;
  });
  if (!plain) {
    out += Json(text).dump();
    return;
  }
  out += '"';
  out += text;
  out += '"';
}

void WriteScalar(const Json& value, std::string& out) {
  if (value.is_string()) {
    WriteText(value.get_ref<const std::string&>(), out);
  } else if (value.is_boolean()) {
    out += value.get<bool>() ? "true" : "false";
  } else if (value.is_number_integer()) {
    out += std::to_string(value.get<int64_t>());
  } else {
    out += value.dump();
  }
}

void Write(const Json& value, int indent, std::string& out) {
  if (value.is_object() && !value.empty()) {
    out += "{\n";
    size_t i = 0;
    for (const auto& item : value.items()) {
      out.append(indent + 2, ' ');
      WriteText(item.key(), out);
      out += ": ";
      Write(item.value(), indent + 2, out);
      out += ++i < value.size() ? ",\n" : "\n";
    }
    out.append(indent, ' ');
    out += "}";
  } else if (value.is_array() && !HoldsOnlyPlainValues(value)) {
    out += "[\n";
    for (size_t i = 0; i < value.size(); ++i) {
      out.append(indent + 2, ' ');
      Write(value[i], indent + 2, out);
      out += i + 1 < value.size() ? ",\n" : "\n";
    }
    out.append(indent, ' ');
    out += "]";
  } else if (value.is_array()) {
    out += "[";
    for (size_t i = 0; i < value.size(); ++i) {
      if (i) out += ", ";
      WriteScalar(value[i], out);
    }
    out += "]";
  } else {
    WriteScalar(value, out);
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

DocumentWriter::DocumentWriter(std::ostream& out) : out_(out) {
  out_ << "{\n  \"version\": " << kDocumentVersion << ",\n";
}

void DocumentWriter::System(const Json& system) {
  std::string text = "  \"system\": ";
  Write(system, 2, text);
  out_ << text << ",\n";
}

void DocumentWriter::Domain(const Json& domain, const char* streamed,
                            const std::function<Json()>& next) {
  // Written out whenever this much has gathered.
  constexpr size_t kChunk = 1 << 16;
  std::string text = domains_++ ? ",\n    {\n" : "  \"domains\": [\n    {\n";
  size_t i = 0;
  for (const auto& [key, value] : domain.items()) {
    text.append(6, ' ');
    WriteText(key, text);
    text += ": ";
    if (key != streamed) {
      Write(value, 6, text);
    } else {
      Json object = next();
      const bool empty = object.is_null();
      text += empty ? "[]" : "[\n";
      for (bool first = true; !object.is_null(); object = next(), first = false) {
        text += first ? "        " : ",\n        ";
        Write(object, 8, text);
        if (text.size() >= kChunk) {
          out_ << text;
          text.clear();
        }
      }
      if (!empty) text += "\n      ]";
    }
    text += ++i < domain.size() ? ",\n" : "\n";
  }
  text += "    }";
  out_ << text;
}

void DocumentWriter::Finish() { out_ << (domains_ ? "\n  ]\n}\n" : "  \"domains\": []\n}\n"); }

void CanonicalizeDomain(Json& domain) {
  SortSets(domain, DomainKind());
  for (const Kind* kind : DomainKinds()) {
    if (domain.contains(kind->collection)) SortCollection(domain[kind->collection], *kind);
  }
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
  for (Json& domain : document["domains"]) CanonicalizeDomain(domain);
  SortCollection(document["domains"], DomainKind());
}

}  // namespace xo::cli::policy
