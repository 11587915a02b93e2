// Policies: their own record, with their links and users (PolicyLinks.cpp,
// PolicyUsers.cpp).
#include "cli/policy/Kinds.h"
#include "cli/policy/PolicyLists.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = PolicyRecord;

Json Read(Reader& reader) {
  return ObjectsByName<R>(
      reader.DomainObjectNames(XO_DOMAIN_POLICIES, "policies"), "policy", reader.Where(),
      [&](const std::string& name, R** out) {
        return Xo_PolicyApi_GetPolicy(reader.Handle(), name.c_str(), reader.Domain().c_str(), out);
      },
      [&](const R& r) -> Json {
        return {{"name", FieldText(r.name)},
                {"description", FieldText(r.description)},
                {"texts", {FieldText(r.policyText1), FieldText(r.policyText2)}},
                {"flag", r.policyFlag != 0},
                {"links", ReadLinks(reader, FieldText(r.name))},
                {"users", ReadPolicyUsers(reader, FieldText(r.objectId))}};
      });
}

void Write(Writer& writer, const Change& change) {
  const std::string name = TextOf(change.after, "name");
  if (writer.RecordChanges({"links", "users"})) {
    R r{};
    SetField(r.name, name);
    SetField(r.description, TextOf(change.after, "description"));
    SetField(r.policyText1, TextAt(change.after, "texts", 0));
    SetField(r.policyText2, TextAt(change.after, "texts", 1));
    r.policyFlag = change.after["flag"].get<bool>();
    writer.Must(
        Xo_PolicyApi_AddPolicy(writer.Handle(), change.domain.c_str(), &r, writer.Update()));
  }
  if (change.Changes("links")) SyncLinks(writer, change, name);
  if (change.Changes("users")) SyncPolicyUsers(writer, change, name);
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeletePolicy(writer.Handle(), TextOf(change.before, "name").c_str(),
                                        change.domain.c_str()));
}

}  // namespace

const Kind& PolicyKind() {
  static const Kind kind{"policies",
                         "policy",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"texts", Texts, 2},
                          {"flag", Flag},
                          {"links", ObjectSet, 0, &LinkFields()},
                          {"users", ObjectSet, 0, &PolicyUserFields()}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
