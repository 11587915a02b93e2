// A user directory's connection and search settings, read once from the
// stored object under the names they have for a directory.
#pragma once

#include <cstdint>
#include <string>

class CXoObjUserDirectory;

namespace xo::directory {

enum class DirectoryType { Unknown, Ldap, Odbc };

enum class SearchScope : int32_t { Base = 0, OneLevel = 1, Subtree = 2 };

struct Settings {
  std::string name;
  std::string type;                          // "LDAP:" or "ODBC:"
  std::string server;                        // string 1: LDAP URI list, or ODBC connection string
  std::string searchRoot;                    // string 2
  std::string lookupStart;                   // string 3: filter text before a user's name, "(uid="
  std::string lookupEnd;                     // string 4: after it, ")"
  std::string bindUser;                      // string 5
  std::string bindPassword;                  // string 6
  std::string disabledAttr;                  // string 7
  std::string passwordAttr;                  // string 8
  int32_t maxResults = 0;                    // integer 1: 0 for no limit
  int32_t timeoutSeconds = 0;                // integer 2: 0 for the default
  SearchScope scope = SearchScope::Subtree;  // integer 3
  bool requireCredentials = false;           // flag 1
  bool secureConnection = false;             // flag 2
  std::string caFile;                        // string 9: CA certificates for LDAP over TLS

  DirectoryType Type() const;
  bool operator==(const Settings&) const = default;
  // The timeout actually applied to each round trip to the server.
  int32_t EffectiveTimeout() const;
};

// A search timeout the settings leave open still ends.
constexpr int32_t kDefaultTimeoutSeconds = 30;

Settings ReadSettings(const CXoObjUserDirectory& directory);

// A server setting fit for messages: an ODBC connection string's password
// (PWD=...) is replaced by "***".
std::string WithoutPassword(const std::string& server);

// Why the settings cannot work, in words; empty when they can.
std::string CheckSettings(const Settings& settings);

}  // namespace xo::directory
