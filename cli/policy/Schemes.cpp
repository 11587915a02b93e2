// Authentication schemes, among them the one every store is made with.
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = SchemeRecord;

Json Read(Reader& reader) {
  return ObjectsByName<R>(
      reader.GlobalNames(XO_GLOBAL_SCHEMES, "schemes"), "scheme", "",
      [&](const std::string& name, R** out) {
        return Xo_PolicyApi_GetScheme(reader.Handle(), name.c_str(), out);
      },
      [&](const R& r) -> Json {
        // Objects made with the store keep bare identifiers, without a class prefix.
        std::string oid = FieldText(r.objectId);
        if (reader.Scope().builtIn && (oid.size() < 3 || oid[2] != '-')) {
          reader.Scope().builtIn->push_back("schemes/" + FieldText(r.name));
        }
        return {
            {"name", FieldText(r.name)},
            {"description", FieldText(r.description)},
            {"integers", {r.schemeInt1, r.schemeInt2}},
            {"strings",
             {FieldText(r.schemeString1), FieldText(r.schemeString2), FieldText(r.schemeString3)}},
            {"flags", FlagList({r.schemeFlag1, r.schemeFlag2, r.schemeFlag3, r.schemeFlag4,
                                r.schemeFlag5})}};
      });
}

void Write(Writer& writer, const Change& change) {
  R r{};
  const Json& a = change.after;
  SetField(r.name, TextOf(a, "name"));
  SetField(r.description, TextOf(a, "description"));
  r.schemeInt1 = IntAt(a, "integers", 0);
  r.schemeInt2 = IntAt(a, "integers", 1);
  SetField(r.schemeString1, TextAt(a, "strings", 0));
  SetField(r.schemeString2, TextAt(a, "strings", 1));
  SetField(r.schemeString3, TextAt(a, "strings", 2));
  uint8_t* flags[] = {&r.schemeFlag1, &r.schemeFlag2, &r.schemeFlag3, &r.schemeFlag4,
                      &r.schemeFlag5};
  for (size_t i = 0; i < 5; ++i) *flags[i] = FlagAt(a, "flags", i);
  writer.Must(Xo_PolicyApi_AddScheme(writer.Handle(), &r, writer.Update()));
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeleteScheme(writer.Handle(), TextOf(change.before, "name").c_str()));
}

}  // namespace

const Kind& SchemeKind() {
  static const Kind kind{"schemes",
                         "scheme",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"integers", Integers, 2},
                          {"strings", Texts, 3},
                          {"flags", Flags, 5}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
