// The store's database file as the fuzz driver sees it: a digest of every
// table's rows, to tell whether a call changed anything, and SQLite's own
// integrity check.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace xo::fuzz {

class StoreDigest {
 public:
  explicit StoreDigest(const std::string& path);
  ~StoreDigest();
  StoreDigest(const StoreDigest&) = delete;
  StoreDigest& operator=(const StoreDigest&) = delete;

  // A hash of every row of every table, in a stable order.
  uint64_t Rows();
  // "ok", or what PRAGMA integrity_check reports.
  std::string IntegrityCheck();

 private:
  sqlite3* db_ = nullptr;
  std::vector<sqlite3_stmt*> tables_;
};

}  // namespace xo::fuzz
