// Responses and their attributes: dictionary attributes of the response's
// agent type, each with a value and two integers.
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Sync.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;

const std::vector<FieldSpec> kAttribute{
    {"attribute", Text}, {"value", Text}, {"integers", Integers, 2}};

Json Attributes(Reader& reader, const std::string& response) {
  RecordList<ResponseAttrRecord> list;
  Check(Xo_PolicyApi_GetResponseAttrs(reader.Handle(), response.c_str(), reader.Domain().c_str(),
                                      list.Out()),
        "cannot read the attributes of response " + Quoted(response) + reader.Where());
  Json attributes = Json::array();
  for (const ResponseAttrRecord* r : list.Items()) {
    attributes.push_back({{"attribute", FieldText(r->attrName)},
                          {"value", FieldText(r->value)},
                          {"integers", {r->attrInt1, r->attrInt2}}});
  }
  return attributes;
}

Json Read(Reader& reader) {
  return ObjectsByName<ResponseRecord>(
      reader.DomainObjectNames(XO_DOMAIN_RESPONSES, "responses"), "response", reader.Where(),
      [&](const std::string& name, ResponseRecord** out) {
        return Xo_PolicyApi_GetResponse(reader.Handle(), name.c_str(), reader.Domain().c_str(),
                                        out);
      },
      [&](const ResponseRecord& r) -> Json {
        return {{"name", FieldText(r.name)},
                {"description", FieldText(r.description)},
                {"agentType", FieldText(r.agentTypeName)},
                {"attributes", Attributes(reader, FieldText(r.name))}};
      });
}

// Values are removed by attribute name, so an attribute whose values differ
// is emptied and given the file's values.
void SyncAttributes(Writer& writer, const Change& change, const std::string& response) {
  const char* domain = change.domain.c_str();
  const auto remove = [&](const std::string& attribute, const Json&) {
    ResponseAttrRecord r{};
    SetField(r.attrName, attribute);
    writer.MustFor(Xo_PolicyApi_RemoveResponseAttr(writer.Handle(), response.c_str(), domain, &r),
                   "attribute " + Quoted(attribute));
  };
  const auto add = [&](const std::string& attribute, const Json& values) {
    for (const Json& value : values) {
      ResponseAttrRecord r{};
      SetField(r.attrName, attribute);
      SetField(r.value, TextOf(value, "value"));
      r.attrInt1 = IntAt(value, "integers", 0);
      r.attrInt2 = IntAt(value, "integers", 1);
      writer.MustFor(Xo_PolicyApi_AddResponseAttr(writer.Handle(), response.c_str(), domain, &r),
                     "attribute " + value.dump());
    }
  };
  SyncGroups(
      ListOf(change.before, "attributes"), change.after["attributes"],
      [](const Json& item) { return TextOf(item, "attribute"); }, remove, add);
}

void Write(Writer& writer, const Change& change) {
  const std::string name = TextOf(change.after, "name");
  if (writer.RecordChanges({"attributes"})) {
    ResponseRecord r{};
    SetField(r.name, name);
    SetField(r.description, TextOf(change.after, "description"));
    SetField(r.agentTypeName, TextOf(change.after, "agentType"));
    writer.Must(
        Xo_PolicyApi_AddResponse(writer.Handle(), change.domain.c_str(), &r, writer.Update()));
  }
  if (change.Changes("attributes")) SyncAttributes(writer, change, name);
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeleteResponse(writer.Handle(), TextOf(change.before, "name").c_str(),
                                          change.domain.c_str()));
}

}  // namespace

const Kind& ResponseKind() {
  static const Kind kind{"responses",
                         "response",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"agentType", Text},
                          {"attributes", ObjectSet, 0, &kAttribute}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
