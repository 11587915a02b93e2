#include "XoDsDir.h"

#include <new>

#include "Provider.h"
#include "SessionDirectories.h"
#include "Settings.h"
#include "StoreAccess.h"
#include "XoAdmSession.h"

const char* const XoDsObjectClassNames[8] = {
    "Unknown", "User", "User Group", "User Property", "User Role", "Organization", "Query", "All"};

using xo::directory::DirEntry;
using xo::directory::MakeProvider;
using xo::directory::Provider;
using xo::directory::ReadSettings;

CXoDsDir::CXoDsDir(const CXoObjUserDirectory& directory) : directory_(directory) {
  try {
    std::unique_ptr<CXoObjODBCQuery> queries;
    xo::store::IStoreBackend* backend = xo::store::CurrentBackend();
    if (backend && xo::store::Failed(xo::directory::FetchQueryScheme(*backend, directory_, queries,
                                                                     lastError_))) {
      return;
    }
    provider_ = MakeProvider(ReadSettings(directory_), queries.get(), lastError_);
  } catch (const std::bad_alloc&) {
    lastError_ = "out of memory";
  }
}

CXoDsDir::CXoDsDir(const CXoObjUserDirectory& directory, const CXoObjODBCQuery& queries)
    : directory_(directory) {
  try {
    provider_ = MakeProvider(ReadSettings(directory_), &queries, lastError_);
  } catch (const std::bad_alloc&) {
    lastError_ = "out of memory";
  }
}

CXoDsDir::CXoDsDir(const CXoObjUserDirectory& directory, const CXoObjODBCQuery* queries,
                   xo::directory::SessionDirectories& kept)
    : directory_(directory) {
  try {
    provider_ = kept.For(directory_, queries, lastError_);
  } catch (const std::bad_alloc&) {
    lastError_ = "out of memory";
  }
}

CXoDsDir::CXoDsDir(const CXoObjUserDirectory& directory, const CXoAdmSession& session)
    : directory_(directory) {
  try {
    std::unique_ptr<CXoObjODBCQuery> queries;
    if (xo::store::Failed(xo::directory::FetchQueryScheme(session.GetSessionID(), directory_,
                                                          queries, lastError_))) {
      return;
    }
    provider_ = session.Directories().For(directory_, queries.get(), lastError_);
  } catch (const std::bad_alloc&) {
    lastError_ = "out of memory";
  }
}

CXoDsDir::~CXoDsDir() = default;

template <class Operation>
bool CXoDsDir::Use(Operation&& operation) {
  if (!provider_) return false;
  try {
    std::string error;
    if (operation(*provider_, error)) return true;
    lastError_ = error;
  } catch (const std::bad_alloc&) {
    lastError_ = "out of memory";
  }
  return false;
}

bool CXoDsDir::Enumerate(std::vector<std::string>& entries, std::vector<std::string>& details) {
  bool cut = false;
  return Enumerate(entries, details, cut);
}

bool CXoDsDir::Enumerate(std::vector<std::string>& entries, std::vector<std::string>& details,
                         bool& cut) {
  return Use([&](Provider& provider, std::string& error) {
    std::vector<DirEntry> found;
    bool shortened = false;
    if (!provider.EnumerateReportingCut(found, shortened, error)) return false;
    std::vector<std::string> paths;
    std::vector<std::string> texts;
    paths.reserve(found.size());
    texts.reserve(found.size());
    for (DirEntry& entry : found) {
      const int32_t kind = entry.kind >= 0 && entry.kind < 8 ? entry.kind : XoDs_Unknown;
      paths.push_back(std::move(entry.path));
      texts.push_back(std::string(XoDsObjectClassNames[kind]) + ": " + entry.displayName);
    }
    entries.insert(entries.end(), std::make_move_iterator(paths.begin()),
                   std::make_move_iterator(paths.end()));
    details.insert(details.end(), std::make_move_iterator(texts.begin()),
                   std::make_move_iterator(texts.end()));
    cut = shortened;
    return true;
  });
}

bool CXoDsDir::GetDirObjInfo(const std::string& entry, int32_t& kind, std::string& path,
                             std::string& displayName) {
  return Use([&](Provider& provider, std::string& error) {
    DirEntry found;
    if (!provider.Lookup(entry, found, error)) return false;
    kind = found.kind;
    path = std::move(found.path);
    displayName = std::move(found.displayName);
    return true;
  });
}

bool CXoDsDir::Authenticate(const std::string& user, const std::string& password) {
  return Use([&](Provider& provider, std::string& error) {
    return provider.Authenticate(user, password, error);
  });
}

bool CXoDsDir::SetPassword(const std::string& user, const std::string& password) {
  return Use([&](Provider& provider, std::string& error) {
    return provider.SetPassword(user, password, error);
  });
}

bool CXoDsDir::GetDisabled(const std::string& user, int32_t& reason) {
  return Use([&](Provider& provider, std::string& error) {
    return provider.GetDisabled(user, reason, error);
  });
}

bool CXoDsDir::SetDisabled(const std::string& user, int32_t reason) {
  return Use([&](Provider& provider, std::string& error) {
    return provider.SetDisabled(user, reason, error);
  });
}

bool CXoDsDir::GetGroups(const std::string& user, std::vector<std::string>& groups) {
  return Use([&](Provider& provider, std::string& error) {
    std::vector<std::string> found;
    if (!provider.GroupsOf(user, found, error)) return false;
    groups.insert(groups.end(), found.begin(), found.end());
    return true;
  });
}

bool CXoDsDir::GetMembers(const std::string& group, std::vector<std::string>& members) {
  return Use([&](Provider& provider, std::string& error) {
    std::vector<std::string> found;
    if (!provider.MembersOf(group, found, error)) return false;
    members.insert(members.end(), found.begin(), found.end());
    return true;
  });
}

std::string CXoDsDir::GetDirSpec() const {
  const xo::directory::Settings settings = ReadSettings(directory_);
  return settings.type + " " + xo::directory::WithoutPassword(settings.server) + " " +
         settings.searchRoot;
}
