#include "XoAdmUserDirectory.h"

#include <memory>
#include <new>
#include <vector>

#include "Settings.h"
#include "StoreAccess.h"
#include "XoDsDir.h"
#include "XoObjStore.h"
#include "odbc/OdbcQueries.h"

using namespace xo::store;

namespace {

// An identifier-list property; a list the store reports absent is empty.
int32_t ReadIds(CXoObjBase& object, uint32_t prop, const std::string& sessionId,
                CXoObjIdArray& ids) {
  XoPropValue value;
  const int32_t read = CXoObjStore::FetchProperty(object, prop, &value, sessionId);
  if (Failed(read) && read != kPropertyAbsent) return read;
  const CXoObjIdArray* found = std::get_if<CXoObjIdArray>(&value);
  ids = found ? *found : CXoObjIdArray();
  return kOk;
}

// Whether a domain administrator manages a domain whose search order holds
// the directory. 0 when allowed, else a store code with `message` set.
int32_t DomainGrants(const CXoAdmSession& session, const CXoObjId& directory,
                     std::string& message) {
  CXoObjAdmin admin(session.GetAdminOid());
  CXoObjIdArray domains;
  if (int32_t read = ReadIds(admin, CXoObjAdmin::Domains, session.GetSessionID(), domains);
      Failed(read)) {
    message = std::string("the administrator's domains could not be read: ") + Describe(read);
    return read;
  }
  for (const CXoObjId& domain : domains) {
    if (!session.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, domain)) continue;
    CXoObjDomain object(domain);
    CXoObjIdArray directories;
    if (int32_t read =
            ReadIds(object, CXoObjDomain::UserDirectories, session.GetSessionID(), directories);
        Failed(read)) {
      message = std::string("a domain's user directories could not be read: ") + Describe(read);
      return read;
    }
    for (const CXoObjId& listed : directories) {
      if (listed.IsEqual(directory)) return 0;
    }
  }
  message = "administrator '" + session.GetUser() +
            "' manages no domain that searches this user directory";
  return kFailed;
}

}  // namespace

// A directory fetched with the session, and its query scheme when it is an
// ODBC directory, served on the session's kept connection.
class CXoAdmUserDirectory::Opened {
 public:
  int32_t Open(const CXoObjId& id, const CXoAdmSession& session, std::string& message) {
    directory_ = CXoObjUserDirectory(id);
    int32_t fetched = CXoObjStore::Fetch(directory_, 0, nullptr, session.GetSessionID());
    if (Failed(fetched)) {
      message = std::string("the user directory could not be read: ") + Describe(fetched);
      return fetched;
    }
    fetched =
        xo::directory::FetchQueryScheme(session.GetSessionID(), directory_, queries_, message);
    if (Failed(fetched)) return fetched;
    dir_ = std::make_unique<CXoDsDir>(directory_, queries_.get(), session.Directories());
    return 0;
  }
  const CXoObjUserDirectory& Directory() const { return directory_; }
  const CXoObjODBCQuery* Queries() const { return queries_.get(); }
  CXoDsDir& Dir() { return *dir_; }

 private:
  CXoObjUserDirectory directory_;
  std::unique_ptr<CXoObjODBCQuery> queries_;
  std::unique_ptr<CXoDsDir> dir_;
};

CXoAdmUserDirectory::CXoAdmUserDirectory(const CXoObjId& directory) : directory_(directory) {}

// A directory object not yet tied to a stored directory: every operation
// fails until one is named.
CXoAdmUserDirectory::CXoAdmUserDirectory(int32_t) {}

CXoAdmUserDirectory::~CXoAdmUserDirectory() = default;

XoAdmError CXoAdmUserDirectory::IsAllowed(const CXoAdmSession& session, std::string& message) {
  try {
    if (directory_.GetOidClass() != XoObjId_UserDirectory) {
      message = "no user directory was named";
      return kInvalidId;
    }
    if (!session.IsLoggedIn()) {
      message = "the session is not logged in";
      return kNoSession;
    }
    if (session.GetAdminUser().IsAllowed(XO_RIGHT_MANAGE, 0, RootObjectId)) return 0;
    return DomainGrants(session, directory_, message);
  } catch (const std::bad_alloc&) {
    message = "out of memory";
    return kOutOfMemory;
  }
}

// The administrators who log in through this directory and hold a right the
// session's administrator lacks; then whether `user` is one of their logins,
// decided by the directory itself: both names are looked up and their
// entries compared. When the user cannot be looked up while such
// administrators exist, the change is refused rather than guessed.
XoAdmError CXoAdmUserDirectory::GuardAdminLogins(const CXoAdmSession& session, Opened& opened,
                                                 const std::string& user, std::string& message) {
  CXoObjIdArray admins;
  const int32_t searched = CXoObjStore::Search(CXoObjAdmin(), admins, CXoObjAdmin::UserDirectory,
                                               directory_, session.GetSessionID());
  if (Failed(searched)) {
    message =
        std::string("the directory's administrators could not be read: ") + Describe(searched);
    return searched;
  }
  std::vector<std::string> beyond;
  for (const CXoObjId& id : admins) {
    CXoObjAdmin admin(id);
    const int32_t fetched = CXoObjStore::Fetch(admin, 0, nullptr, session.GetSessionID());
    if (Failed(fetched)) {
      message = std::string("an administrator could not be read: ") + Describe(fetched);
      return fetched;
    }
    if (admin.GetDirectoryBound() && !session.GetAdminUser().Covers(admin)) {
      beyond.push_back(admin.GetName());
    }
  }
  if (beyond.empty()) return 0;
  int32_t kind = 0;
  std::string entry;
  std::string display;
  if (!opened.Dir().GetDirObjInfo(user, kind, entry, display)) {
    message = "cannot tell whether '" + user +
              "' is the login of an administrator with more rights: " + opened.Dir().LastError();
    return kFailed;
  }
  for (const std::string& name : beyond) {
    std::string login;
    if (!opened.Dir().GetDirObjInfo(name, kind, login, display) || login != entry) continue;
    message = "'" + user + "' is the login of administrator '" + name +
              "', who holds rights that administrator '" + session.GetUser() + "' does not";
    return kFailed;
  }
  return 0;
}

XoAdmError CXoAdmUserDirectory::IsAllowedOnUser(const CXoAdmSession& session,
                                                const std::string& user, std::string& message) {
  return Run(
      session, message, "", [](CXoDsDir&) { return true; }, &user);
}

template <class Operation>
XoAdmError CXoAdmUserDirectory::Run(const CXoAdmSession& session, std::string& message,
                                    const std::string& what, Operation&& operation,
                                    const std::string* user) {
  if (XoAdmError allowed = IsAllowed(session, message); allowed != 0) return allowed;
  try {
    Opened opened;
    if (XoAdmError code = opened.Open(directory_, session, message); code != 0) return code;
    if (user != nullptr) {
      if (XoAdmError code = GuardAdminLogins(session, opened, *user, message); code != 0) {
        return code;
      }
    }
    if (operation(opened.Dir())) return 0;
    message = what + " in directory '" + opened.Directory().GetName() +
              "' failed: " + opened.Dir().LastError();
    return kDirectoryError;
  } catch (const std::bad_alloc&) {
    message = "out of memory";
    return kOutOfMemory;
  }
}

XoAdmError CXoAdmUserDirectory::SetPassword(const std::string& user, const std::string& password,
                                            std::string& message, const CXoAdmSession& session) {
  return Run(
      session, message, "setting the password of '" + user + "'",
      [&](CXoDsDir& dir) { return dir.SetPassword(user, password); }, &user);
}

XoAdmError CXoAdmUserDirectory::SetDisabled(const std::string& user, XoDisabledReason reason,
                                            std::string& message, const CXoAdmSession& session) {
  return Run(
      session, message, "setting the disabled state of '" + user + "'",
      [&](CXoDsDir& dir) { return dir.SetDisabled(user, reason); }, &user);
}

XoAdmError CXoAdmUserDirectory::GetDisabled(const std::string& user, XoDisabledReason& reason,
                                            std::string& message, const CXoAdmSession& session) {
  return Run(session, message, "reading the disabled state of '" + user + "'", [&](CXoDsDir& dir) {
    int32_t found = 0;
    if (!dir.GetDisabled(user, found)) return false;
    reason = found;
    return true;
  });
}

XoAdmError CXoAdmUserDirectory::SearchValue(const std::string& name, std::string& value,
                                            const CXoAdmSession& session) {
  std::string message;
  return Run(session, message, "looking up '" + name + "'", [&](CXoDsDir& dir) {
    int32_t kind = 0;
    std::string path;
    std::string displayName;
    if (!dir.GetDirObjInfo(name, kind, path, displayName)) return false;
    value = path;
    return true;
  });
}

XoAdmError CXoAdmUserDirectory::ValidateProps(const CXoAdmSession& session) {
  std::string message;
  if (XoAdmError allowed = IsAllowed(session, message); allowed != 0) return allowed;
  try {
    Opened opened;
    if (XoAdmError code = opened.Open(directory_, session, message); code != 0) return code;
    const xo::directory::Settings settings = xo::directory::ReadSettings(opened.Directory());
    if (!xo::directory::CheckSettings(settings).empty()) return kInvalidArgument;
    if (settings.Type() != xo::directory::DirectoryType::Odbc) return 0;
    const CXoObjODBCQuery* queries = opened.Queries();
    if (!queries) return kInvalidArgument;
    using namespace xo::directory::odbc;
    auto has = [&](OdbcQuery query) { return !queries->GetQuery(query - 1).empty(); };
    const bool canList = has(kEnumerate) && has(kLookUpEntry) && has(kEntryKind);
    const bool canLogIn = has(kLookUpUser) && (has(kAuthenticate) || has(kGetPassword));
    return canList && canLogIn ? 0 : kInvalidArgument;
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
}
