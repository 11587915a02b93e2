#include "StoreDigest.h"

#include <sqlite3.h>

#include <stdexcept>

namespace xo::fuzz {

namespace {

constexpr uint64_t kFnvOffset = 14695981039346656037ull;
constexpr uint64_t kFnvPrime = 1099511628211ull;

void Mix(uint64_t& hash, const void* bytes, int size) {
  const auto* p = static_cast<const unsigned char*>(bytes);
  for (int i = 0; i < size; ++i) hash = (hash ^ p[i]) * kFnvPrime;
}

sqlite3_stmt* Prepare(sqlite3* db, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sql + ": " + sqlite3_errmsg(db));
  }
  return statement;
}

}  // namespace

StoreDigest::StoreDigest(const std::string& path) {
  if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
    const std::string message = sqlite3_errmsg(db_);
    sqlite3_close_v2(db_);
    throw std::runtime_error("cannot open " + path + ": " + message);
  }
  sqlite3_busy_timeout(db_, 5000);
  sqlite3_stmt* names =
      Prepare(db_, "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name");
  std::vector<std::string> tables;
  while (sqlite3_step(names) == SQLITE_ROW) {
    tables.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(names, 0)));
  }
  sqlite3_finalize(names);
  for (const std::string& table : tables) {
    tables_.push_back(Prepare(db_, "SELECT * FROM \"" + table + "\" ORDER BY 1"));
  }
}

StoreDigest::~StoreDigest() {
  for (sqlite3_stmt* statement : tables_) sqlite3_finalize(statement);
  sqlite3_close_v2(db_);
}

uint64_t StoreDigest::Rows() {
  // One read transaction, so that the tables are seen at one moment.
  sqlite3_exec(db_, "BEGIN", nullptr, nullptr, nullptr);
  uint64_t hash = kFnvOffset;
  for (sqlite3_stmt* statement : tables_) {
    const unsigned char tableMark = 0xfe;
    Mix(hash, &tableMark, 1);
    while (sqlite3_step(statement) == SQLITE_ROW) {
      for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        const int type = sqlite3_column_type(statement, i);
        Mix(hash, &type, sizeof type);
        const void* bytes = sqlite3_column_blob(statement, i);
        const int size = sqlite3_column_bytes(statement, i);
        Mix(hash, &size, sizeof size);
        if (bytes != nullptr) Mix(hash, bytes, size);
      }
    }
    sqlite3_reset(statement);
  }
  sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr);
  return hash;
}

std::string StoreDigest::IntegrityCheck() {
  sqlite3_stmt* check = Prepare(db_, "PRAGMA integrity_check");
  std::string report;
  while (sqlite3_step(check) == SQLITE_ROW) {
    if (!report.empty()) report += "\n";
    report += reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
  }
  sqlite3_finalize(check);
  return report;
}

}  // namespace xo::fuzz
