#include "Settings.h"

#include <cctype>

#include "XoObjClasses.h"

namespace xo::directory {

DirectoryType Settings::Type() const {
  if (type == "LDAP:") return DirectoryType::Ldap;
  if (type == "ODBC:") return DirectoryType::Odbc;
  return DirectoryType::Unknown;
}

int32_t Settings::EffectiveTimeout() const {
  return timeoutSeconds > 0 ? timeoutSeconds : kDefaultTimeoutSeconds;
}

Settings ReadSettings(const CXoObjUserDirectory& directory) {
  using D = CXoObjUserDirectory;
  Settings s;
  s.name = directory.GetName();
  s.type = directory.GetDirectoryType();
  s.server = directory.Text(D::String1);
  s.searchRoot = directory.Text(D::String2);
  s.lookupStart = directory.Text(D::String3);
  s.lookupEnd = directory.Text(D::String4);
  s.bindUser = directory.Text(D::String5);
  s.bindPassword = directory.Text(D::String6);
  s.disabledAttr = directory.Text(D::String7);
  s.passwordAttr = directory.Text(D::String8);
  s.maxResults = directory.Int(D::Int1);
  s.timeoutSeconds = directory.Int(D::Int2);
  const int32_t scope = directory.Int(D::Int3);
  s.scope = scope >= 0 && scope <= 2 ? static_cast<SearchScope>(scope) : SearchScope::Subtree;
  s.requireCredentials = directory.Flag(D::Flag1);
  s.secureConnection = directory.Flag(D::Flag2);
  s.caFile = directory.Text(D::String9);
  return s;
}

std::string WithoutPassword(const std::string& server) {
  std::string shown;
  size_t start = 0;
  while (start <= server.size()) {
    size_t end = server.find(';', start);
    if (end == std::string::npos) end = server.size();
    std::string part = server.substr(start, end - start);
    const size_t blank = part.find_first_not_of(' ');
    if (blank != std::string::npos && part.size() - blank >= 4) {
      std::string key = part.substr(blank, 4);
      for (char& c : key) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      if (key == "PWD=") part = part.substr(0, blank + 4) + "***";
    }
    shown += part;
    if (end < server.size()) shown += ';';
    start = end + 1;
  }
  return shown;
}

std::string CheckSettings(const Settings& s) {
  if (s.Type() == DirectoryType::Unknown) {
    return "directory type '" + s.type + "' is neither \"LDAP:\" nor \"ODBC:\"";
  }
  if (s.server.empty()) return "no server is set";
  if (s.maxResults < 0) return "the maximum number of results is negative";
  if (s.timeoutSeconds < 0) return "the search timeout is negative";
  if (s.requireCredentials && s.bindUser.empty()) {
    return "the directory requires credentials, but no bind user is set";
  }
  return "";
}

}  // namespace xo::directory
