// User directories kept in a database, reached through ODBC and searched
// with the queries of the directory's query scheme (see OdbcQueries.h). The
// provider keeps its connection, with the queries prepared on it, from one
// operation to the next.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "KeptConnection.h"
#include "Provider.h"
#include "odbc/OdbcConnection.h"
#include "odbc/OdbcQueries.h"

namespace xo::directory::odbc {

class OdbcProvider : public Provider {
 public:
  OdbcProvider(Settings settings, const CXoObjODBCQuery& queries);

  bool Enumerate(std::vector<DirEntry>& entries, std::string& error) override;
  bool EnumerateReportingCut(std::vector<DirEntry>& entries, bool& cut,
                             std::string& error) override;
  bool Lookup(const std::string& entry, DirEntry& found, std::string& error) override;
  bool Authenticate(const std::string& user, const std::string& password,
                    std::string& error) override;
  bool SetPassword(const std::string& user, const std::string& password,
                   std::string& error) override;
  bool GetDisabled(const std::string& user, int32_t& reason, std::string& error) override;
  bool SetDisabled(const std::string& user, int32_t reason, std::string& error) override;
  bool GroupsOf(const std::string& user, std::vector<std::string>& groups,
                std::string& error) override;
  bool MembersOf(const std::string& group, std::vector<std::string>& members,
                 std::string& error) override;

 private:
  std::unique_ptr<OdbcConnection> Connect(std::string& error) const;
  // Runs `operation` (OdbcConnection&, error) -> bool on the kept connection.
  template <class Operation>
  bool OnConnection(Operation&& operation, std::string& error);
  bool CheckPassword(OdbcConnection& connection, const std::string& user,
                     const std::string& password, std::string& error) const;
  // Runs an UPDATE on a user: `params`, then the user's key.
  bool ChangeUser(const std::string& user, OdbcQuery query, std::vector<OdbcParam> params,
                  std::string& error);
  // The keys that `query` gives for an entry of the given kind.
  bool RelatedKeys(const std::string& entry, int32_t kind, OdbcQuery query,
                   std::vector<std::string>& keys, std::string& error);
  bool HasQuery(OdbcQuery query) const;
  bool Run(OdbcConnection& connection, OdbcQuery query, const std::vector<OdbcParam>& params,
           std::vector<OdbcRow>& rows, std::string& error, int maxRows = 0,
           int64_t* changed = nullptr) const;
  // Runs an UPDATE that must change at least one row.
  bool Change(OdbcConnection& connection, OdbcQuery query, const std::vector<OdbcParam>& params,
              std::string& error) const;
  bool Find(OdbcConnection& connection, const std::string& entry, DirEntry& found,
            std::string& error) const;
  bool FindKind(OdbcConnection& connection, const std::string& entry, int32_t kind, DirEntry& found,
                std::string& error) const;
  // The first column of every row.
  bool Keys(OdbcConnection& connection, OdbcQuery query, const std::string& key,
            std::vector<std::string>& keys, std::string& error) const;

  Settings settings_;
  std::array<std::string, kLastUsedQuery + 1> queries_;  // by query number; 0 unused
  KeptConnection<OdbcConnection> connection_;
};

}  // namespace xo::directory::odbc
