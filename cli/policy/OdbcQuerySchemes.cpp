// ODBC query schemes: every one the store holds, also those that no user
// directory names.
#include "cli/StoreObjects.h"
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = OdbcQuerySchemeRecord;

Json Read(Reader& reader) {
  return ObjectsByName<R>(
      OdbcQuerySchemeNames(reader.Store()), "ODBC query scheme", "",
      [&](const std::string& name, R** out) {
        return Xo_PolicyApi_GetODBCQueryScheme(reader.Handle(), name.c_str(), out);
      },
      [](const R& r) -> Json {
        return {{"name", FieldText(r.name)},
                {"description", FieldText(r.description)},
                {"queries", TextList(r.query)}};
      });
}

void Write(Writer& writer, const Change& change) {
  R r{};
  SetField(r.name, TextOf(change.after, "name"));
  SetField(r.description, TextOf(change.after, "description"));
  for (size_t i = 0; i < 15; ++i) SetField(r.query[i], TextAt(change.after, "queries", i));
  writer.Must(Xo_PolicyApi_CreateODBCQueryScheme(writer.Handle(), &r, writer.Update()));
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(
      Xo_PolicyApi_DeleteODBCQueryScheme(writer.Handle(), TextOf(change.before, "name").c_str()));
}

}  // namespace

const Kind& OdbcQuerySchemeKind() {
  static const Kind kind{"odbcQuerySchemes",
                         "odbc query scheme",
                         1,
                         {{"name", Text}, {"description", Text}, {"queries", Texts, 15}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
