// What one kind of user directory must do. CXoDsDir and CXoAdmUserDirectory
// pick the provider by the directory's type and forward to it; a provider
// reaches its server only through its own connection class.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Settings.h"

class CXoObjODBCQuery;

namespace xo::directory {

struct DirEntry {
  std::string path;  // the entry's own name in the directory: a DN, an ODBC entry key
  int32_t kind = 0;  // XoDsObjectClass
  std::string displayName;
};

// Every operation returns false with `error` set, in words, when the
// directory cannot answer or the entry is not there. None blocks longer than
// the directory's search timeout for each round trip to its server.
class Provider {
 public:
  virtual ~Provider() = default;

  // The users, groups and organisational units under the search root, up
  // to the directory's maximum number of results.
  virtual bool Enumerate(std::vector<DirEntry>& entries, std::string& error) = 0;
  // Enumerate, and `cut` tells whether the listing stops short of every
  // entry under the search root: the maximum number of results ended it, or
  // the server would not hand out more. The listed entries are then the
  // first ones in the directory's order. A provider that cannot tell
  // reports false.
  virtual bool EnumerateReportingCut(std::vector<DirEntry>& entries, bool& cut,
                                     std::string& error) {
    cut = false;
    return Enumerate(entries, error);
  }
  // One entry, by its path or by a user's name.
  virtual bool Lookup(const std::string& entry, DirEntry& found, std::string& error) = 0;
  virtual bool Authenticate(const std::string& user, const std::string& password,
                            std::string& error) = 0;
  virtual bool SetPassword(const std::string& user, const std::string& password,
                           std::string& error) = 0;
  // The reason a user is disabled; 0 when the directory holds none.
  virtual bool GetDisabled(const std::string& user, int32_t& reason, std::string& error) = 0;
  // Reason 0 clears the disabled state.
  virtual bool SetDisabled(const std::string& user, int32_t reason, std::string& error) = 0;
  // Paths of the groups that list the user, and of a group's members.
  virtual bool GroupsOf(const std::string& user, std::vector<std::string>& groups,
                        std::string& error) = 0;
  virtual bool MembersOf(const std::string& group, std::vector<std::string>& members,
                         std::string& error) = 0;
};

// A whole decimal integer, as directories keep disabled reasons and kinds.
bool ParseInteger(const std::string& text, int32_t& value);

// The provider for the directory's type, or null with `error` set for a type
// no provider serves. ODBC directories need their query scheme.
std::unique_ptr<Provider> MakeProvider(const Settings& settings, const CXoObjODBCQuery* queries,
                                       std::string& error);

}  // namespace xo::directory
