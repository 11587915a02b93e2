// Realms: each served by an agent (or agent group) and a scheme, under a
// parent realm or directly under its domain ("parent": "").
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = RealmRecord;

Json Read(Reader& reader) {
  return ObjectsByName<R>(
      reader.DomainObjectNames(XO_DOMAIN_REALMS, "realms"), "realm", reader.Where(),
      [&](const std::string& name, R** out) {
        return Xo_PolicyApi_GetRealm(reader.Handle(), name.c_str(), reader.Domain().c_str(), out);
      },
      [&](const R& r) -> Json {
        // The record names a top-level realm's domain as its parent, which a
        // realm of the domain's name would be too: the store tells them apart.
        return {{"name", FieldText(r.name)},
                {"description", FieldText(r.description)},
                {"text", FieldText(r.realmText)},
                {"agent", FieldText(r.agentName)},
                {"scheme", FieldText(r.schemeName)},
                {"parent", reader.Ids().ParentOf(FieldText(r.name))},
                {"flags", FlagList({r.realmFlag1, r.realmFlag2, r.realmFlag3, r.realmFlag4})},
                {"integers", {r.realmInt1, r.realmInt2}}};
      });
}

void Write(Writer& writer, const Change& change) {
  R r{};
  const Json& a = change.after;
  SetField(r.name, TextOf(a, "name"));
  SetField(r.description, TextOf(a, "description"));
  SetField(r.realmText, TextOf(a, "text"));
  SetField(r.agentName, TextOf(a, "agent"));
  SetField(r.schemeName, TextOf(a, "scheme"));
  SetField(r.parentName, TextOf(a, "parent"));
  r.realmFlag1 = FlagAt(a, "flags", 0);
  r.realmFlag2 = FlagAt(a, "flags", 1);
  r.realmFlag3 = FlagAt(a, "flags", 2);
  r.realmFlag4 = FlagAt(a, "flags", 3);
  r.realmInt1 = IntAt(a, "integers", 0);
  r.realmInt2 = IntAt(a, "integers", 1);
  writer.Must(Xo_PolicyApi_AddRealm(writer.Handle(), change.domain.c_str(), &r, writer.Update()));
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeleteRealm(writer.Handle(), TextOf(change.before, "name").c_str(),
                                       change.domain.c_str()));
}

}  // namespace

const Kind& RealmKind() {
  static const Kind kind{"realms",
                         "realm",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"text", Text},
                          {"agent", Text},
                          {"scheme", Text},
                          {"parent", Text},
                          {"flags", Flags, 4},
                          {"integers", Integers, 2}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
