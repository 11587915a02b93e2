// User directories, with the ODBC query scheme an "ODBC:" directory reads
// its database through.
#include "cli/policy/Kinds.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {
namespace {

using enum FieldType;
using R = UserDirRecord;

// The record's thirteen strings, in order. The sixth, the bind password, is
// a secret: the document keeps it apart, as "bindPassword", and only when
// the export was asked for secrets.
constexpr size_t kBindPassword = 5;

std::vector<char (*)[XO_TEXT_FIELD]> Strings(R& r) {
  return {&r.string1, &r.string2, &r.string3,  &r.string4,  &r.string5,  &r.string6, &r.string7,
          &r.string8, &r.string9, &r.string10, &r.string11, &r.string12, &r.string13};
}

Json Read(Reader& reader) {
  return ObjectsByName<R>(
      reader.GlobalNames(XO_GLOBAL_USER_DIRECTORIES, "user directories"), "user directory", "",
      [&](const std::string& name, R** out) {
        return Xo_PolicyApi_GetUserDir(reader.Handle(), name.c_str(), out);
      },
      [&](const R& record) -> Json {
        R r = record;
        Json strings = Json::array();
        for (auto* field : Strings(r)) strings.push_back(FieldText(*field));
        const std::string bindPassword = strings[kBindPassword];
        strings[kBindPassword] = "";
        Json directory = {{"name", FieldText(r.name)},
                          {"description", FieldText(r.description)},
                          {"type", FieldText(r.directoryType)},
                          {"queryScheme", FieldText(r.querySchemeName)},
                          {"strings", strings},
                          {"integers", {r.int1, r.int2, r.int3}},
                          {"flags", FlagList({r.flag1, r.flag2})}};
        if (reader.Scope().secrets && !bindPassword.empty()) {
          directory["bindPassword"] = bindPassword;
        }
        return directory;
      });
}

void Write(Writer& writer, const Change& change) {
  R r{};
  const Json& a = change.after;
  SetField(r.name, TextOf(a, "name"));
  SetField(r.description, TextOf(a, "description"));
  SetField(r.directoryType, TextOf(a, "type"));
  SetField(r.querySchemeName, TextOf(a, "queryScheme"));
  std::vector<char(*)[XO_TEXT_FIELD]> strings = Strings(r);
  for (size_t i = 0; i < strings.size(); ++i) SetField(*strings[i], TextAt(a, "strings", i));
  // Files written before the bind password was kept apart hold it among the
  // strings.
  if (a.contains("bindPassword") && !TextOf(a, "bindPassword").empty()) {
    SetField(r.string6, TextOf(a, "bindPassword"));
  }
  r.int1 = IntAt(a, "integers", 0);
  r.int2 = IntAt(a, "integers", 1);
  r.int3 = IntAt(a, "integers", 2);
  r.flag1 = FlagAt(a, "flags", 0);
  r.flag2 = FlagAt(a, "flags", 1);
  writer.Must(Xo_PolicyApi_CreateUserDir(writer.Handle(), &r, writer.Update()));
}

void Remove(Writer& writer, const Change& change) {
  writer.Must(Xo_PolicyApi_DeleteUserDir(writer.Handle(), TextOf(change.before, "name").c_str()));
}

}  // namespace

const Kind& UserDirectoryKind() {
  static const Kind kind{"userDirectories",
                         "user directory",
                         1,
                         {{"name", Text},
                          {"description", Text},
                          {"type", Text},
                          {"queryScheme", Text},
                          {"strings", Texts, 13},
                          {"integers", Integers, 3},
                          {"flags", Flags, 2},
                          {"bindPassword", Text}},
                         Read,
                         Write,
                         Remove};
  return kind;
}

}  // namespace xo::cli::policy
