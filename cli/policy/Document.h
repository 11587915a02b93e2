// The policy document of `xopolicy export` and `xopolicy apply`: the store's
// objects as one JSON object, references by name only.
//
//   {"version": 1,
//    "system": {"odbcQuerySchemes": [...], "userDirectories": [...], "schemes": [...],
//               "agents": [...], "agentGroups": [...], "administrators": [...]},
//    "domains": [{"name": ..., "realms": [...], "rules": [...], "ruleGroups": [...],
//                 "responses": [...], "responseGroups": [...], "policies": [...]}]}
//
// Every object is written with its keys in one fixed order, collections sorted
// by name and unordered lists (group members, links, attributes, users)
// sorted, so that two exports of the same store are equal byte for byte. A
// file may leave keys out: a key that is absent leaves that part of an
// existing object as it is, and takes its default for a new one.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace xo::cli::policy {

using Json = nlohmann::ordered_json;

constexpr int kDocumentVersion = 1;

enum class FieldType {
  Text,
  Integer,
  Flag,
  Texts,     // an array of texts of the field's fixed length, or any length when 0
  Integers,  // an array of integers of the field's fixed length
  Flags,     // an array of flags of the field's fixed length
  NameSet,   // names, order does not matter
  NameList,  // names, in order
  ObjectSet  // objects of the field's member fields, order does not matter
};

struct FieldSpec {
  const char* key;
  FieldType type;
  int length = 0;                                   // for Texts, Integers, Flags
  const std::vector<FieldSpec>* members = nullptr;  // for ObjectSet
  // In list members that name either a rule (by "realm" and "rule") or a
  // group ("group"): the keys of the alternative not taken are left out.
  bool alternative = false;
  // For a text of a few known values: what is wrong with a value, or nothing.
  std::string (*check)(const std::string& value) = nullptr;
  const char* defaultText = "";  // for a Text that a file leaves out
};

class Reader;
class Writer;
struct Change;

// One kind of object: where it lives in the document, its fields, and how it
// is read from the store and written to it. The first `keyFields` fields name
// the object within its collection.
struct Kind {
  const char* collection;  // key of its array in "system" or in a domain
  const char* label;       // how the plan names the kind
  int keyFields;
  std::vector<FieldSpec> fields;
  // Every object of the kind that the store holds: system-wide, or in the
  // reader's domain for the kinds that live in one (the domain itself for
  // the domain kind).
  Json (*read)(Reader& reader);
  // Creates or updates the object of a change.
  void (*write)(Writer& writer, const Change& change);
  void (*remove)(Writer& writer, const Change& change);
};

// The kinds in the order their objects are created: what an object refers
// to is created before it, so deletions run in the reverse order.
const std::vector<const Kind*>& SystemKinds();
const std::vector<const Kind*>& DomainKinds();
const Kind& DomainKind();

// The default value of a field, for objects that a file creates.
Json DefaultValue(const FieldSpec& field);
// The object with every field of its kind: the given ones, defaults for the rest.
Json WithDefaults(const Kind& kind, const Json& object);
// The name of an object within its collection ("portal/read-pages" for a rule).
std::string KeyOf(const Kind& kind, const Json& object);
// The same as its parts, which tell objects apart also where names hold a "/".
std::vector<std::string> KeyParts(const Kind& kind, const Json& object);

// A checked document. Its domains are kept packed (CBOR) one by one, so
// that a large file costs about what its text does.
struct Document {
  std::optional<Json> system;  // none when the file has no "system" section
  bool hasDomains = false;     // whether it has a "domains" section
  struct Domain {
    std::string name;
    Json record;                         // the domain's own fields that the file gives
    std::vector<std::uint8_t> contents;  // its collections, packed
  };
  std::vector<Domain> domains;  // in canonical order

  static Json Contents(const Domain& domain) { return Json::from_cbor(domain.contents); }
};

// Reads a document from text: checks its shape, refuses unknown keys and
// values of the wrong type, and sorts what is unordered. Throws CommandError
// with the place of the mistake ("domains[0].rules[3].flags: ...").
Document ParseDocument(const std::string& text, const std::string& source);

// The document as text, written a part at a time so that a large store never
// has to be held whole: objects one key a line, arrays of plain values on one
// line, so that a change to one value is a change to one line.
class DocumentWriter {
 public:
  explicit DocumentWriter(std::ostream& out);
  // The "system" section, if any, comes before the first domain.
  void System(const Json& system);
  // A domain whose collection `streamed` is written an object at a time, as
  // `next` hands them out (null when there are no more), where the domain
  // holds that key.
  void Domain(const Json& domain, const char* streamed, const std::function<Json()>& next);
  // Closes the document.
  void Finish();

 private:
  std::ostream& out_;
  size_t domains_ = 0;
};

// Puts a document into its canonical order (collections by name, sets sorted).
void Canonicalize(Json& document);
// The same for one domain's collections.
void CanonicalizeDomain(Json& domain);

}  // namespace xo::cli::policy
