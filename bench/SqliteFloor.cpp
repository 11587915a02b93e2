#include "SqliteFloor.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "BenchStores.h"

namespace xo::bench {
namespace {

constexpr const char* kFloorDomain = "03-00000000-0000-4000-8000-000000000001";

void Exec(sqlite3* db, const char* sql) {
  char* error = nullptr;
  if (sqlite3_exec(db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
    std::string message = error ? error : "unknown error";
    sqlite3_free(error);
    throw std::runtime_error(std::string(sql) + ": " + message);
  }
}

sqlite3_stmt* Prepare(sqlite3* db, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(std::string(sql) + ": " + sqlite3_errmsg(db));
  }
  return statement;
}

// Opens a floor database in the scratch directory with the store's journal
// mode and synchronous setting; `fresh` tells whether it had to be made.
sqlite3* OpenFloor(const std::string& fileName, bool& fresh) {
  const std::string path = ScratchDirectory() + "/" + fileName;
  fresh = !std::filesystem::exists(path);
  sqlite3* db = nullptr;
  if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) {
    throw std::runtime_error("cannot open " + path + ": " + sqlite3_errmsg(db));
  }
  Exec(db, "PRAGMA journal_mode=WAL");
  Exec(db, "PRAGMA synchronous=FULL");
  return db;
}

// An identifier of the store's shape: class prefix and a UUID-sized tail.
void NextOid(const char* classPrefix, char (&oid)[48]) {
  static uint64_t serial = 0;
  std::snprintf(oid, sizeof oid, "%s-%08llx-0000-4000-8000-%012llx", classPrefix,
                static_cast<unsigned long long>(serial >> 48),
                static_cast<unsigned long long>(serial & 0xffffffffffffULL));
  ++serial;
}

// Fills a fresh table with `rows` rows in one transaction.
template <class Insert>
void Fill(sqlite3* db, int64_t rows, Insert&& insert) {
  Exec(db, "BEGIN");
  for (int64_t i = 0; i < rows; ++i) {
    if (!insert(i)) throw std::runtime_error(sqlite3_errmsg(db));
  }
  Exec(db, "COMMIT");
}

}  // namespace

FloorTable::FloorTable(int64_t rows) {
  bool fresh = false;
  db_ = OpenFloor("floor-" + std::to_string(rows) + ".db", fresh);
  if (fresh) {
    Exec(db_,
         "CREATE TABLE domains(oid TEXT PRIMARY KEY, name TEXT NOT NULL UNIQUE, description TEXT)");
  }
  insert_ = Prepare(db_, "INSERT INTO domains(oid, name, description) VALUES(?1, ?2, ?3)");
  if (fresh) Fill(db_, rows, [this](int64_t i) { return Insert(DomainName(i)); });
  select_ = Prepare(db_, "SELECT oid, name, description FROM domains WHERE name = ?1");
}

FloorTable::~FloorTable() {
  sqlite3_finalize(insert_);
  sqlite3_finalize(select_);
  sqlite3_close(db_);
}

bool FloorTable::Insert(const std::string& name) {
  char oid[48];
  NextOid("03", oid);
  sqlite3_bind_text(insert_, 1, oid, -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(insert_, 2, name.c_str(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(insert_, 3, "benchmark domain", -1, SQLITE_STATIC);
  const int stepped = sqlite3_step(insert_);
  sqlite3_reset(insert_);
  return stepped == SQLITE_DONE;
}

bool FloorTable::SelectByName(const std::string& name) {
  sqlite3_bind_text(select_, 1, name.c_str(), static_cast<int>(name.size()), SQLITE_STATIC);
  bool found = false;
  while (sqlite3_step(select_) == SQLITE_ROW) found = sqlite3_column_text(select_, 0) != nullptr;
  sqlite3_reset(select_);
  return found;
}

RuleFloorTable::RuleFloorTable(int64_t rows) {
  bool fresh = false;
  db_ = OpenFloor("rule-floor-" + std::to_string(rows) + ".db", fresh);
  if (fresh) {
    Exec(db_,
         "CREATE TABLE rules(seq INTEGER PRIMARY KEY, oid TEXT NOT NULL UNIQUE, domain TEXT NOT "
         "NULL, realm TEXT NOT NULL, name TEXT NOT NULL, description TEXT)");
    Exec(db_, "CREATE UNIQUE INDEX rules_by_name ON rules(realm, name)");
    Exec(db_, "CREATE INDEX rules_by_domain ON rules(domain, seq)");
  }
  insert_ = Prepare(
      db_, "INSERT INTO rules(oid, domain, realm, name, description) VALUES(?1, ?2, ?3, ?4, ?5)");
  if (fresh) Fill(db_, rows, [this](int64_t i) { return Insert(RuleRealm(i), RuleName(i)); });
  select_ = Prepare(db_, "SELECT oid, name, description FROM rules WHERE realm = ?1 AND name = ?2");
  selectAll_ = Prepare(db_, "SELECT oid, name FROM rules WHERE domain = ?1 ORDER BY seq");
}

RuleFloorTable::~RuleFloorTable() {
  sqlite3_finalize(insert_);
  sqlite3_finalize(select_);
  sqlite3_finalize(selectAll_);
  sqlite3_close(db_);
}

bool RuleFloorTable::Insert(const std::string& realm, const std::string& name) {
  char oid[48];
  NextOid("0b", oid);
  sqlite3_bind_text(insert_, 1, oid, -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(insert_, 2, kFloorDomain, -1, SQLITE_STATIC);
  sqlite3_bind_text(insert_, 3, realm.c_str(), static_cast<int>(realm.size()), SQLITE_STATIC);
  sqlite3_bind_text(insert_, 4, name.c_str(), static_cast<int>(name.size()), SQLITE_STATIC);
  sqlite3_bind_text(insert_, 5, "benchmark rule", -1, SQLITE_STATIC);
  const int stepped = sqlite3_step(insert_);
  sqlite3_reset(insert_);
  return stepped == SQLITE_DONE;
}

bool RuleFloorTable::Select(const std::string& realm, const std::string& name) {
  sqlite3_bind_text(select_, 1, realm.c_str(), static_cast<int>(realm.size()), SQLITE_STATIC);
  sqlite3_bind_text(select_, 2, name.c_str(), static_cast<int>(name.size()), SQLITE_STATIC);
  bool found = false;
  while (sqlite3_step(select_) == SQLITE_ROW) found = sqlite3_column_text(select_, 0) != nullptr;
  sqlite3_reset(select_);
  return found;
}

int64_t RuleFloorTable::SelectAll() {
  sqlite3_bind_text(selectAll_, 1, kFloorDomain, -1, SQLITE_STATIC);
  int64_t count = 0;
  while (sqlite3_step(selectAll_) == SQLITE_ROW) {
    if (sqlite3_column_text(selectAll_, 0) && sqlite3_column_text(selectAll_, 1)) ++count;
  }
  sqlite3_reset(selectAll_);
  return count;
}

MemberFloorTable::MemberFloorTable(int64_t members, int64_t rules) {
  bool fresh = false;
  db_ = OpenFloor("member-floor-" + std::to_string(members) + "-" + std::to_string(rules) + ".db",
                  fresh);
  if (fresh) {
    Exec(
        db_,
        "CREATE TABLE rules(seq INTEGER PRIMARY KEY, oid TEXT NOT NULL UNIQUE, name TEXT NOT NULL, "
        "description TEXT)");
    Exec(db_,
         "CREATE TABLE members(grp TEXT NOT NULL, pos INTEGER NOT NULL, member TEXT NOT NULL, "
         "PRIMARY KEY (grp, pos))");
    sqlite3_stmt* rule =
        Prepare(db_, "INSERT INTO rules(oid, name, description) VALUES(?1, ?2, 'benchmark rule')");
    sqlite3_stmt* member =
        Prepare(db_, "INSERT INTO members(grp, pos, member) VALUES('group', ?1, ?2)");
    ScatteredIndex tails(int64_t{1} << 40);
    Fill(db_, rules, [&](int64_t i) {
      char oid[48];
      std::snprintf(oid, sizeof oid, "0b-%08llx-0000-4000-8000-%012llx",
                    static_cast<unsigned long long>(tails.Next()),
                    static_cast<unsigned long long>(i));
      const std::string name = RuleName(i);
      sqlite3_bind_text(rule, 1, oid, -1, SQLITE_TRANSIENT);
      sqlite3_bind_text(rule, 2, name.c_str(), -1, SQLITE_TRANSIENT);
      sqlite3_bind_int64(member, 1, i);
      sqlite3_bind_text(member, 2, oid, -1, SQLITE_TRANSIENT);
      const bool ok = sqlite3_step(rule) == SQLITE_DONE &&
                      (i >= members || sqlite3_step(member) == SQLITE_DONE);
      sqlite3_reset(rule);
      sqlite3_reset(member);
      return ok;
    });
    sqlite3_finalize(rule);
    sqlite3_finalize(member);
  }
  select_ = Prepare(db_,
                    "SELECT m.member, r.name FROM members m JOIN rules r ON r.oid = m.member "
                    "WHERE m.grp = 'group' ORDER BY m.pos");
}

MemberFloorTable::~MemberFloorTable() {
  sqlite3_finalize(select_);
  sqlite3_close(db_);
}

int64_t MemberFloorTable::SelectNames() {
  int64_t count = 0;
  while (sqlite3_step(select_) == SQLITE_ROW) {
    if (sqlite3_column_text(select_, 0) && sqlite3_column_text(select_, 1)) ++count;
  }
  sqlite3_reset(select_);
  return count;
}

}  // namespace xo::bench
