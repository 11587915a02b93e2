// `xopolicy scheme`: authentication schemes, the ways realms authenticate users.
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

Noun<SchemeRecord> SchemeNoun() {
  using R = SchemeRecord;
  Noun<R> noun;
  noun.command = "scheme";
  noun.kind = "authentication scheme";
  noun.help = "Authentication schemes: how the users of a realm are authenticated";
  noun.scope = ScopeKind::System;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      IntegerField("int1", "schemeInt1", &R::schemeInt1, "Scheme integer 1"),
      TextField("string1", "schemeString1", &R::schemeString1, "Scheme string 1"),
      TextField("string2", "schemeString2", &R::schemeString2, "Scheme string 2"),
      TextField("string3", "schemeString3", &R::schemeString3, "Scheme string 3"),
      FlagField("flag1", "schemeFlag1", &R::schemeFlag1, "Scheme flag 1"),
      FlagField("flag2", "schemeFlag2", &R::schemeFlag2, "Scheme flag 2"),
      IntegerField("int2", "schemeInt2", &R::schemeInt2, "Scheme integer 2"),
      FlagField("flag3", "schemeFlag3", &R::schemeFlag3, "Scheme flag 3"),
      FlagField("flag4", "schemeFlag4", &R::schemeFlag4, "Scheme flag 4"),
      FlagField("flag5", "schemeFlag5", &R::schemeFlag5, "Scheme flag 5"),
  };
  noun.columns = {"name", "description"};
  UseSystemCalls(noun, Xo_PolicyApi_GetScheme, Xo_PolicyApi_AddScheme, Xo_PolicyApi_DeleteScheme);
  noun.names = GlobalObjectNames(XO_GLOBAL_SCHEMES, "authentication schemes");
  return noun;
}

}  // namespace

void RegisterSchemeCommands(CLI::App& app) { RegisterNoun(app, SchemeNoun()); }

}  // namespace xo::cli
