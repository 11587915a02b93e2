// The user directories a session has reached, each with the provider that
// serves it and the connection the provider keeps, so that the session's
// later calls on the same directory reuse the connection. A directory whose
// stored settings or queries differ from those its provider was made with
// gets a new provider (and so a new connection).
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Settings.h"

class CXoObjODBCQuery;
class CXoObjUserDirectory;

namespace xo::directory {

class Provider;

class SessionDirectories {
 public:
  SessionDirectories();
  ~SessionDirectories();
  SessionDirectories(const SessionDirectories&) = delete;
  SessionDirectories& operator=(const SessionDirectories&) = delete;

  // The provider for the directory as it was just fetched (with its query
  // scheme, for an ODBC directory): the kept one when nothing it was made
  // from has changed, else a new one. Null, with `error` set, when the
  // settings cannot work.
  std::shared_ptr<Provider> For(const CXoObjUserDirectory& directory,
                                const CXoObjODBCQuery* queries, std::string& error);
  // Closes every connection.
  void Clear();

 private:
  struct Kept {
    Settings settings;
    std::vector<std::string> queries;
    std::shared_ptr<Provider> provider;
  };

  std::mutex lock_;
  std::map<std::string, Kept> kept_;  // by the directory's identifier
};

}  // namespace xo::directory
