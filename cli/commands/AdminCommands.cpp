// `xopolicy admin`: the administrators who may log in, and their rights.
// Which domains they manage is `xopolicy domain add-admin`.
#include "cli/Nouns.h"

namespace xo::cli {
namespace {

Noun<AdminRecord> AdminNoun() {
  using R = AdminRecord;
  Noun<R> noun;
  noun.command = "admin";
  noun.kind = "administrator";
  noun.help = "Administrators: who may log in, and with which rights";
  noun.scope = ScopeKind::System;
  noun.fields = {
      TextField("id", "objectId", &R::objectId),
      TextField("name", "name", &R::name),
      TextField("description", "description", &R::description, "Free text"),
      // The store keeps only a hash of it and reads the hash back; writing the
      // hash back leaves the password as it was.
      Secret(TextField("password", "adminText", &R::adminText,
                       "The administrator's password (visible to other users of this "
                       "machine; prefer --new-password-stdin)"),
             "new-password"),
      TextField("userdir", "userDirName", &R::userDirName,
                "User directory that authenticates it (with --scheme)"),
      TextField("scheme", "schemeName", &R::schemeName,
                "Authentication scheme used with that directory (with --userdir)"),
      IntegerField("flags", "adminFlags", &R::adminFlags,
                   "Rights: 0x1 system, 0x2 domain administrator, 0x10000 << C command C"),
  };
  noun.columns = {"name", "flags", "userdir", "description"};
  UseSystemCalls(noun, Xo_PolicyApi_GetAdmin, Xo_PolicyApi_AddAdmin, Xo_PolicyApi_DeleteAdmin);
  noun.names = GlobalObjectNames(XO_GLOBAL_ADMINISTRATORS, "administrators");
  return noun;
}

}  // namespace

void RegisterAdminCommands(CLI::App& app) { RegisterNoun(app, AdminNoun()); }

}  // namespace xo::cli
