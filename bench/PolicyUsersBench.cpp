// Attaching directory users to policies and listing them, on a store that
// holds 10,000 attachments, beside the plain SQLite floor. The users live in
// an SQLite database reached through the SQLite ODBC driver, so every
// attachment includes a directory look-up.
//
// The listing is measured for a policy in a domain of its own (Quiet) and for
// one in the domain that holds the 10,000 (Crowded): the store narrows the
// search to the policy and directory asked for, so the two should cost the
// same.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "BenchStores.h"
#include "Iterations.h"
#include "Ratios.h"
#include "SqliteFloor.h"
#include "XoObjStore.h"

namespace xo::bench {
namespace {

constexpr int64_t kAttachments = 10000;
constexpr int64_t kPopulateBatch = 1000;
constexpr const char* kOdbcDriver = "SQLite3";

void Check(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what + " failed");
}

// A users database of a few people, keyed "users/NAME".
std::string MakeUsersDatabase() {
  const std::string path = ScratchDirectory() + "/policy-users-directory.db";
  sqlite3* db = nullptr;
  const bool opened = sqlite3_open(path.c_str(), &db) == SQLITE_OK;
  const bool filled =
      opened && sqlite3_exec(db,
                             "CREATE TABLE users (key TEXT PRIMARY KEY, display TEXT);"
                             "INSERT INTO users VALUES ('users/alice', 'Alice Liddell'),"
                             " ('users/bob', 'Bob Cratchit'), ('users/carol', 'Carol Danvers');",
                             nullptr, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(db);
  Check(filled, "creating the users database");
  return path;
}

// The query scheme and the directory that read the users database.
void AddDirectory(const std::string& sid, const std::string& database) {
  CXoObjODBCQuery queries("bench queries", "", "SELECT key, 1, display FROM users",
                          "SELECT key, display FROM users WHERE key = ?",
                          "SELECT 1 FROM users WHERE key = ?", "", "", "", "", "", "", "", "", "",
                          "", "", "");
  Check(CXoObjStore::Save(queries, false, sid) >= 0, "saving the query scheme");
  CXoObjUserDirectory directory(
      "users", "", "ODBC:", std::string("Driver=") + kOdbcDriver + ";Database=" + database, "", "",
      "", "", "", 0, 5, 2, false, false, "", "", queries.GetOid(), "", "", "", "", "");
  Check(CXoObjStore::Save(directory, false, sid) >= 0, "saving the directory");
}

CXoObjId AddDomain(const std::string& sid, const std::string& name) {
  CXoObjDomain domain(name, "", {}, {});
  Check(CXoObjStore::Save(domain, false, sid) >= 0, "saving domain " + name);
  return domain.GetOid();
}

void AddPolicy(const std::string& sid, const CXoObjId& domain, const std::string& name) {
  CXoObjPolicy policy(name, "", "", CXoObjTime(), true, false, "", domain);
  Check(CXoObjStore::Save(policy, false, sid) >= 0, "saving policy " + name);
}

int32_t Attach(PolicyApiSession* handle, const char* domain, const char* policy) {
  return Xo_PolicyApi_AddUsersToPolicy(handle, domain, policy, "users", "users/alice",
                                       Xo_PolicyResolution_User);
}

// The store: domain "crowded" with 100 policies of 100 attachments each and
// a policy "single" of one; domain "quiet" with a policy "single" of one;
// domain "adds" with a policy "growing" for the adding benchmark.
const std::string& PolicyUsersStore() {
  static const std::string uri = [] {
    const std::string& store = PopulatedStore(1);
    ApiSession api(store);
    const std::string& sid = api.Session().GetSessionID();
    AddDirectory(sid, MakeUsersDatabase());
    const CXoObjId crowded = AddDomain(sid, "crowded");
    const CXoObjId quiet = AddDomain(sid, "quiet");
    AddPolicy(sid, AddDomain(sid, "adds"), "growing");
    AddPolicy(sid, crowded, "single");
    AddPolicy(sid, quiet, "single");
    for (int p = 0; p < 100; ++p) AddPolicy(sid, crowded, "p" + std::to_string(p));
    for (int64_t first = 0; first < kAttachments; first += kPopulateBatch) {
      Check(CXoObjStore::BeginTransaction(sid) >= 0, "beginning a transaction");
      for (int64_t i = first; i < first + kPopulateBatch; ++i) {
        Check(Attach(api.Handle(), "crowded", ("p" + std::to_string(i % 100)).c_str()) == XO_OK,
              "attaching a user");
      }
      Check(CXoObjStore::CommitTransaction(sid) >= 0, "committing a transaction");
    }
    Check(Attach(api.Handle(), "crowded", "single") == XO_OK, "attaching a user");
    Check(Attach(api.Handle(), "quiet", "single") == XO_OK, "attaching a user");
    return store;
  }();
  return uri;
}

void AddUsersToPolicy(benchmark::State& state) {
  ApiSession api(PolicyUsersStore());
  RunSteps(state, "AddUsersToPolicy failed",
           [&] { return Attach(api.Handle(), "adds", "growing") == XO_OK; });
}

void ListPolicyUsers(benchmark::State& state, const char* domain) {
  ApiSession api(PolicyUsersStore());
  RunSteps(state, "GetPolicyUsers did not find the one user", [&] {
    UserEntryRecord* users = nullptr;
    const bool ok =
        Xo_PolicyApi_GetPolicyUsers(api.Handle(), domain, "single", "users", &users) == XO_OK &&
        users != nullptr && users->next == nullptr;
    Xo_PolicyApi_FreeMemory(users);
    return ok;
  });
}

void GetPolicyUsersQuiet(benchmark::State& state) { ListPolicyUsers(state, "quiet"); }
void GetPolicyUsersCrowded(benchmark::State& state) { ListPolicyUsers(state, "crowded"); }

// The floors on a table as large as the store's attachments.
void AttachmentsInsertCommit(benchmark::State& state) {
  FloorTable table(kAttachments);
  static int64_t serial = 0;  // the table outlives each run: names stay fresh
  RunSteps(state, "insert failed",
           [&] { return table.Insert("attached-" + std::to_string(serial++)); });
}

void AttachmentsPointSelect(benchmark::State& state) {
  FloorTable table(kAttachments);
  int64_t serial = 0;
  RunSteps(state, "select found nothing",
           [&] { return table.SelectByName(DomainName(serial++ % kAttachments)); });
}

[[maybe_unused]] const bool kRatios = AddRatio("AddUsersToPolicy", "AttachmentsInsertCommit") &&
                                      AddRatio("GetPolicyUsersQuiet", "AttachmentsPointSelect") &&
                                      AddRatio("GetPolicyUsersCrowded", "AttachmentsPointSelect");

BENCHMARK(AddUsersToPolicy)->Unit(benchmark::kMicrosecond);
BENCHMARK(AttachmentsInsertCommit)->Unit(benchmark::kMicrosecond);
BENCHMARK(GetPolicyUsersQuiet)->Unit(benchmark::kMicrosecond);
BENCHMARK(GetPolicyUsersCrowded)->Unit(benchmark::kMicrosecond);
BENCHMARK(AttachmentsPointSelect)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace xo::bench
