// One connection to a database through the ODBC API. This file and its .cpp
// are the only ones that speak that API. Each statement text is prepared once
// and kept with the connection, for the connection's later runs of it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace xo::directory::odbc {

// A statement's parameter: always bound, never pasted into the SQL.
using OdbcParam = std::variant<std::string, int32_t>;
// One row of results; a NULL column is empty.
using OdbcRow = std::vector<std::optional<std::string>>;

class OdbcConnection {
 public:
  // Connects without prompting. The timeout bounds the login and every
  // statement run on the connection.
  static std::unique_ptr<OdbcConnection> Open(const std::string& connectionString,
                                              int timeoutSeconds, std::string& error);
  ~OdbcConnection();
  OdbcConnection(const OdbcConnection&) = delete;
  OdbcConnection& operator=(const OdbcConnection&) = delete;

  // Runs a statement whose parameter markers take `params` in order; the
  // number of markers must match. A query's rows (at most `maxRows`, 0 for
  // no limit) go to `rows`; a statement without results leaves it empty and
  // sets `affected` when given.
  bool Run(const std::string& sql, const std::vector<OdbcParam>& params, int maxRows,
           std::vector<OdbcRow>& rows, std::string& error, int64_t* affected = nullptr);
  // Whether a run failed: the database may be gone, so the connection is
  // not used again.
  bool Broken() const { return broken_; }
  // Whether the driver tells that the connection is dead.
  bool Lost() const { return lost_; }

 private:
  struct Handles;
  struct Prepared;
  OdbcConnection(std::unique_ptr<Handles> handles, int timeoutSeconds);
  Prepared* Prepare(const std::string& sql, std::string& error);

  std::unique_ptr<Handles> handles_;
  int timeoutSeconds_;
  std::map<std::string, std::unique_ptr<Prepared>> prepared_;
  bool broken_ = false;
  bool lost_ = false;
};

}  // namespace xo::directory::odbc
