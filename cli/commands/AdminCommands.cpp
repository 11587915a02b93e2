// `xopolicy admin`: the administrators who may log in, and their rights.
// Which domains they manage is `xopolicy domain add-admin`.
#include "XoObjStore.h"
#include "cli/Nouns.h"
#include "frame/Handles.h"

namespace xo::cli {
namespace {

// The store keeps one system administrator who logs in with a password of
// its own, so that nobody is locked out; the library answers a refusal with
// -1 alone, so the tool looks at the store to say why.
bool IsLastPasswordSystemAdmin(PolicyApiSession* h, const std::string& name) {
  const std::string& sid = h->session->GetSessionID();
  CXoObjIdArray hits;
  if (store::Failed(CXoObjStore::SearchMultiple(CXoObjAdmin(), hits, {}, sid))) return false;
  std::vector<std::string> holders;
  for (const CXoObjId& id : hits) {
    CXoObjAdmin admin(id);
    if (store::Failed(CXoObjStore::Fetch(admin, 0, nullptr, sid))) return false;
    if ((admin.GetFlags() & XO_ADMIN_SYSTEM) && !admin.GetDirectoryBound() &&
        !admin.GetAdminText().empty()) {
      holders.push_back(admin.GetName());
    }
  }
  return holders == std::vector<std::string>{name};
}

[[noreturn]] void RefuseLockOut(const std::string& doing, const std::string& name) {
  throw CommandError("cannot " + doing + " administrator " + Quoted(name) +
                     ": it is the last system administrator who logs in with a password, and "
                     "without one nobody could log in for sure; first give another "
                     "administrator the system right (--flags 0x1) and a password");
}

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
  noun.add = [](PolicyApiSession* h, const Scope&, R& record, uint8_t update) {
    const int32_t rc = Xo_PolicyApi_AddAdmin(h, &record, update);
    if (rc == XO_ERR_GENERAL && update != 0 && IsLastPasswordSystemAdmin(h, record.name)) {
      RefuseLockOut("change", record.name);
    }
    return rc;
  };
  noun.remove = [](PolicyApiSession* h, const Scope&, const std::string& name) {
    const int32_t rc = Xo_PolicyApi_DeleteAdmin(h, name.c_str());
    if (rc == XO_ERR_GENERAL && IsLastPasswordSystemAdmin(h, name)) RefuseLockOut("delete", name);
    return rc;
  };
  noun.names = GlobalObjectNames(XO_GLOBAL_ADMINISTRATORS, "administrators");
  return noun;
}

}  // namespace

void RegisterAdminCommands(CLI::App& app) { RegisterNoun(app, AdminNoun()); }

}  // namespace xo::cli
