// `xopolicy odbcquery`: ODBC query schemes, the SQL through which an "ODBC:"
// user directory reads and changes its database.
#include "cli/Nouns.h"
#include "cli/StoreObjects.h"

namespace xo::cli {
namespace {

using R = OdbcQuerySchemeRecord;

// What each of the fifteen queries does, as the ODBC directory uses them.
constexpr const char* kQueries[15][2] = {
    {"enumerate", "Every entry: key, kind, display name"},
    {"lookup-entry", "One entry by key: key, display name"},
    {"entry-kind", "The kind of an entry by key (1 user, 2 group, 5 organisational unit)"},
    {"authenticate", "Non-zero when key and password match"},
    {"get-password", "The stored password of a key"},
    {"set-password", "Sets the password (new password, key)"},
    {"get-disabled", "The disabled reason of a key"},
    {"set-disabled", "Sets the disabled reason (reason, key)"},
    {"user-groups", "The groups of a user's key"},
    {"group-members", "The members of a group's key"},
    {"lookup-user", "A user by login name: key, display name"},
    {"query12", "Query 12 (reserved)"},
    {"query13", "Query 13 (reserved)"},
    {"query14", "Query 14 (reserved)"},
    {"query15", "Query 15 (reserved)"},
};

std::vector<Field<R>> OdbcQueryFields() {
  std::vector<Field<R>> fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
  };
  for (int i = 0; i < 15; ++i) {
    fields.push_back(MakeField<R>(
        kQueries[i][0], "query" + std::to_string(i + 1), FieldKind::Text,
        [i](R& record) -> void* { return record.query[i]; }, kQueries[i][1]));
  }
  return fields;
}

Noun<R> OdbcQueryNoun() {
  Noun<R> noun;
  noun.command = "odbcquery";
  noun.kind = "ODBC query scheme";
  noun.help = "ODBC query schemes: the SQL that an ODBC user directory runs";
  noun.scope = ScopeKind::System;
  noun.fields = OdbcQueryFields();
  noun.columns = {"name", "description"};
  UseSystemCalls(noun, Xo_PolicyApi_GetODBCQueryScheme, Xo_PolicyApi_CreateODBCQueryScheme,
                 Xo_PolicyApi_DeleteODBCQueryScheme);
  // The library lists no query schemes; their names come from the store, and
  // reading each by name through the library checks the rights as usual.
  noun.names = [](Connection& c, const Scope&) { return OdbcQuerySchemeNames(c); };
  return noun;
}

}  // namespace

void RegisterOdbcQueryCommands(CLI::App& app) { RegisterNoun(app, OdbcQueryNoun()); }

}  // namespace xo::cli
