// `xopolicy userdir`: user directories (LDAP servers, or databases reached
// through ODBC with a query scheme) and how to search them.
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

Noun<UserDirRecord> UserDirNoun() {
  using R = UserDirRecord;
  Noun<R> noun;
  noun.command = "userdir";
  noun.kind = "user directory";
  noun.help = "User directories: LDAP servers or ODBC databases of users and groups";
  noun.scope = ScopeKind::System;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      Required(TextField("type", "directoryType", &R::directoryType,
                         "\"LDAP:\" or \"ODBC:\" (exactly so)")),
      TextField("server", "string1", &R::string1, "LDAP URI list, or ODBC connection string"),
      TextField("search-root", "string2", &R::string2, "Where searches start (LDAP base DN)"),
      TextField("lookup-start", "string3", &R::string3,
                "Filter text before a user's name, such as \"(uid=\""),
      TextField("lookup-end", "string4", &R::string4, "Filter text after a user's name, \")\""),
      TextField("bind-user", "string5", &R::string5, "Who the directory is searched as"),
      Secret(TextField("bind-password", "string6", &R::string6, "The bind user's password"),
             "bind-password"),
      IntegerField("max-results", "int1", &R::int1, "Most entries a search returns (0: no limit)"),
      IntegerField("timeout", "int2", &R::int2, "Seconds a search may take (0: the default)"),
      IntegerField("search-scope", "int3", &R::int3, "0 base, 1 one level, 2 subtree"),
      FlagField("require-credentials", "flag1", &R::flag1, "Searches need the bind user"),
      FlagField("secure", "flag2", &R::flag2, "Only over a secure connection"),
      TextField("disabled-attribute", "string7", &R::string7,
                "Attribute holding why a user is disabled"),
      TextField("password-attribute", "string8", &R::string8, "Attribute holding the password"),
      TextField("query-scheme", "querySchemeName", &R::querySchemeName,
                "ODBC query scheme of an \"ODBC:\" directory"),
      TextField("string9", "string9", &R::string9, "Setting 9"),
      TextField("string10", "string10", &R::string10, "Setting 10"),
      TextField("string11", "string11", &R::string11, "Setting 11"),
      TextField("string12", "string12", &R::string12, "Setting 12"),
      TextField("string13", "string13", &R::string13, "Setting 13"),
  };
  noun.columns = {"name", "type", "server", "description"};
  UseSystemCalls(noun, Xo_PolicyApi_GetUserDir, Xo_PolicyApi_CreateUserDir,
                 Xo_PolicyApi_DeleteUserDir);
  noun.names = GlobalObjectNames(XO_GLOBAL_USER_DIRECTORIES, "user directories");
  return noun;
}

}  // namespace

void RegisterUserDirCommands(CLI::App& app) { RegisterNoun(app, UserDirNoun()); }

}  // namespace xo::cli
