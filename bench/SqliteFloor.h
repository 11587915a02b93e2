// The floor under the store's operations: the same kind of work done with
// plain SQLite on a table of the same size, with the store's journal mode and
// synchronous setting, and nothing else (no rights, no audit, no objects).
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace xo::bench {

class FloorTable {
 public:
  // Opens (making on first use) a table of `rows` rows named DomainName(i).
  explicit FloorTable(int64_t rows);
  ~FloorTable();
  FloorTable(const FloorTable&) = delete;
  FloorTable& operator=(const FloorTable&) = delete;

  // One row; outside an explicit transaction it is committed on its own.
  bool Insert(const std::string& name);
  // The row with that name, read through the name index; false when absent.
  bool SelectByName(const std::string& name);

 private:
  sqlite3* db_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
};

// The floor under rules: a table of `rows` rules of one domain, keyed by
// realm and name like the store's, in RuleRealm(i) and named RuleName(i).
class RuleFloorTable {
 public:
  explicit RuleFloorTable(int64_t rows);
  ~RuleFloorTable();
  RuleFloorTable(const RuleFloorTable&) = delete;
  RuleFloorTable& operator=(const RuleFloorTable&) = delete;

  // One row; outside an explicit transaction it is committed on its own.
  bool Insert(const std::string& realm, const std::string& name);
  // The row of that realm and name, read through its index.
  bool Select(const std::string& realm, const std::string& name);
  // Every rule of the domain in creation order, through the domain's index;
  // the number of rows read.
  int64_t SelectAll();

 private:
  sqlite3* db_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
  sqlite3_stmt* selectAll_ = nullptr;
};

// The floor under a group's listing: a table of `rules` rules keyed, as the
// store's are, by random identifiers, and a membership table naming the
// first `members` of them in one group.
class MemberFloorTable {
 public:
  MemberFloorTable(int64_t members, int64_t rules);
  ~MemberFloorTable();
  MemberFloorTable(const MemberFloorTable&) = delete;
  MemberFloorTable& operator=(const MemberFloorTable&) = delete;

  // The names of the group's members in list order: one range select over
  // the membership, each row joined to its rule by the rule's key; the
  // number of rows read.
  int64_t SelectNames();

 private:
  sqlite3* db_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
};

}  // namespace xo::bench
