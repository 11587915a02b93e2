#include "BenchStores.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include "XoObjStore.h"
#include "frame/Handles.h"
#include "store/StoreBackend.h"
#include "support/StoreServer.h"

namespace xo::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kAdmin = "bench-admin";
constexpr const char* kPassword = "bench-password";
// Domains added per transaction while populating.
constexpr int64_t kPopulateBatch = 10000;

class Scratch {
 public:
  Scratch() {
    const char* chosen = std::getenv("XO_BENCH_DIR");
    fs::path base = chosen && *chosen ? fs::path(chosen) : fs::temp_directory_path();
    std::string pattern = (base / "xo-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
      throw std::runtime_error("cannot create a directory in " + base.string());
    path_ = pattern;
  }
  ~Scratch() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

void Check(int32_t result, const std::string& what) {
  if (result != XO_OK)
    throw std::runtime_error(what + " failed with result " + std::to_string(result));
}

void CheckStore(int32_t result, const std::string& what) {
  if (store::Failed(result)) {
    throw std::runtime_error(what + " failed: " + store::Describe(result));
  }
}

// The server schemas made in this run, dropped when the process ends.
class ServerStores {
 public:
  ~ServerStores() {
    for (const std::string& store : stores_) test::DropServerStore(store);
  }
  std::string New() { return stores_.emplace_back(test::NewServerStore()); }

 private:
  std::vector<std::string> stores_;
};

// A new, empty store: the given file name in the scratch directory, or a
// schema on the server.
std::string NewStore(const std::string& fileName, Backend backend = Backend::kSqlite) {
  static ServerStores serverStores;
  std::string uri = backend == Backend::kPostgres ? serverStores.New()
                                                  : "sqlite:" + ScratchDirectory() + "/" + fileName;
  std::string message;
  // The default hashing cost, so that a login costs what it costs a user.
  int32_t created =
      store::CreateStore(store::ResolveLocation(uri),
                         store::NewStoreOptions{kAdmin, kPassword, "interactive"}, message);
  if (store::Failed(created)) throw std::runtime_error("cannot create " + uri + ": " + message);
  return uri;
}

// Runs `add(i)` for i in [0, count) in batches, each batch one store transaction.
template <class Add>
void InBatches(const ApiSession& api, int64_t count, Add&& add) {
  const std::string& sid = api.Session().GetSessionID();
  for (int64_t first = 0; first < count; first += kPopulateBatch) {
    CheckStore(CXoObjStore::BeginTransaction(sid), "beginning a transaction");
    for (int64_t i = first; i < count && i < first + kPopulateBatch; ++i) add(i);
    CheckStore(CXoObjStore::CommitTransaction(sid), "committing a transaction");
  }
}

// Adds domains [0, count) in batches, each batch one store transaction.
void AddDomains(const ApiSession& api, int64_t count) {
  InBatches(api, count, [&](int64_t i) {
    DomainRecord record{};
    std::snprintf(record.name, sizeof record.name, "%s", DomainName(i).c_str());
    std::snprintf(record.description, sizeof record.description, "benchmark domain %lld",
                  static_cast<long long>(i));
    Check(Xo_PolicyApi_AddDomain(api.Handle(), &record, 0), "adding " + DomainName(i));
  });
}

template <size_t N>
void Put(char (&field)[N], const std::string& text) {
  std::snprintf(field, N, "%s", text.c_str());
}

// The agent, the domain with its realms, policy and response, everything the
// rules of a rule store need around them.
void AddRuleDomain(const ApiSession& api) {
  PolicyApiSession* h = api.Handle();
  AgentRecord agent{};
  Put(agent.name, "bench-agent");
  Put(agent.agentTypeName, "HTTP Agent");
  Check(Xo_PolicyApi_AddAgent(h, &agent, 0), "adding the agent");
  DomainRecord domain{};
  Put(domain.name, kRuleDomain);
  Check(Xo_PolicyApi_AddDomain(h, &domain, 0), "adding the domain");
  for (int64_t r = 0; r < kRealms; ++r) {
    RealmRecord realm{};
    Put(realm.name, RuleRealm(r));
    Put(realm.agentName, "bench-agent");
    Put(realm.schemeName, "Basic");
    Check(Xo_PolicyApi_AddRealm(h, kRuleDomain, &realm, 0), "adding " + RuleRealm(r));
  }
  PolicyRecord policy{};
  Put(policy.name, kPolicy);
  Check(Xo_PolicyApi_AddPolicy(h, kRuleDomain, &policy, 0), "adding the policy");
  ResponseRecord response{};
  Put(response.name, kResponse);
  Put(response.agentTypeName, "HTTP Agent");
  Check(Xo_PolicyApi_AddResponse(h, kRuleDomain, &response, 0), "adding the response");
}

}  // namespace

const std::string& ScratchDirectory() {
  static Scratch scratch;
  return scratch.Path();
}

std::string DomainName(int64_t index) {
  char name[32];
  std::snprintf(name, sizeof name, "domain-%06lld", static_cast<long long>(index));
  return name;
}

bool HasServer() { return !test::TestServer().empty(); }

const std::string& PopulatedStore(int64_t domains, Backend backend) {
  static std::map<std::pair<int64_t, Backend>, std::string> stores;
  auto found = stores.find({domains, backend});
  if (found != stores.end()) return found->second;

  std::string uri = NewStore("domains-" + std::to_string(domains) + ".db", backend);
  {
    ApiSession api(uri);
    AddDomains(api, domains);
  }
  return stores.emplace(std::pair{domains, backend}, uri).first->second;
}

std::string RuleName(int64_t index) {
  char name[32];
  std::snprintf(name, sizeof name, "rule-%06lld", static_cast<long long>(index));
  return name;
}

std::string RuleRealm(int64_t index) { return "realm-" + std::to_string(index % kRealms); }

const std::string& PopulatedRuleStore(int64_t rules) {
  static std::map<int64_t, std::string> stores;
  auto found = stores.find(rules);
  if (found != stores.end()) return found->second;

  std::string uri = NewStore("rules-" + std::to_string(rules) + ".db");
  {
    ApiSession api(uri);
    AddRuleDomain(api);
    InBatches(api, rules, [&](int64_t i) {
      RuleRecord rule{};
      Put(rule.name, RuleName(i));
      Put(rule.realmName, RuleRealm(i));
      Put(rule.ruleText1, "GET");
      Put(rule.ruleText2, "/pages/" + RuleName(i));
      Check(Xo_PolicyApi_AddRule(api.Handle(), kRuleDomain, &rule, 0), "adding " + RuleName(i));
    });
  }
  return stores.emplace(rules, uri).first->second;
}

StoreSelection::StoreSelection(const std::string& uri) {
  setenv("XO_POLICY_STORE", uri.c_str(), 1);
}

StoreSelection::~StoreSelection() { unsetenv("XO_POLICY_STORE"); }

void Require(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what + " failed");
}

int32_t Login(PolicyApiSession*& handle) {
  handle = nullptr;
  return Xo_PolicyApi_Login(&handle, nullptr, kAdmin, kPassword, "localhost", "", 0);
}

ApiSession::ApiSession(const std::string& uri) : selection_(uri) {
  int32_t result = Login(handle_);
  if (result != XO_OK) {
    if (handle_) Xo_PolicyApi_Logout(handle_);
    throw std::runtime_error("cannot log in to " + uri + ": result " + std::to_string(result));
  }
}

ApiSession::~ApiSession() { Xo_PolicyApi_Logout(handle_); }

const CXoAdmSession& ApiSession::Session() const { return *handle_->session; }

}  // namespace xo::bench
