// Administrators: their rights, and a password hash or the user directory
// they log in through.
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = AdminRecord;

Json Read(Reader& reader) {
  return ObjectsByName<R>(
      reader.GlobalNames(XO_GLOBAL_ADMINISTRATORS, "administrators"), "administrator", "",
      [&](const std::string& name, R** out) {
        return Xo_PolicyApi_GetAdmin(reader.Handle(), name.c_str(), out);
      },
      [&](const R& r) -> Json {
        Json admin = {{"name", FieldText(r.name)},
                      {"description", FieldText(r.description)},
                      {"flags", r.adminFlags},
                      {"userDirectory", FieldText(r.userDirName)},
                      {"scheme", FieldText(r.schemeName)}};
        // An empty hash is an administrator without a password, kept as "".
        if (reader.Scope().secrets) admin["password"] = FieldText(r.adminText);
        return admin;
      });
}

void Write(Writer& writer, const Change& change) {
  R r{};
  const Json& a = change.after;
  SetField(r.name, TextOf(a, "name"));
  SetField(r.description, TextOf(a, "description"));
  // A stored hash given back keeps the password as it is.
  SetField(r.adminText, a.contains("password") ? TextOf(a, "password") : "");
  SetField(r.userDirName, TextOf(a, "userDirectory"));
  SetField(r.schemeName, TextOf(a, "scheme"));
  r.adminFlags = a["flags"].get<int32_t>();
  writer.Must(Xo_PolicyApi_AddAdmin(writer.Handle(), &r, writer.Update()));
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeleteAdmin(writer.Handle(), TextOf(change.before, "name").c_str()));
}

}  // namespace

const Kind& AdministratorKind() {
  static const Kind kind{"administrators",
                         "administrator",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"flags", Integer},
                          {"userDirectory", Text},
                          {"scheme", Text},
                          {"password", Text}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
