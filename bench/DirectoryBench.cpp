// Listing an LDAP directory of 10,000 users through CXoDsDir::Enumerate,
// beside ldapsearch fetching the same entries and attributes from the same
// server in the same run. The ratio counter is Enumerate's time over
// ldapsearch's; ldapsearch's time includes starting its process.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "XoDsDir.h"
#include "ldap/Filters.h"
#include "support/DirectoryFixtures.h"

namespace xo::bench {
namespace {

constexpr int kUsers = 10000;

using Clock = std::chrono::steady_clock;

// Started on first use; stopped, and its files removed, when the process exits.
xo::test::LdapServer& Server() {
  static xo::test::LdapServer server(kUsers);
  return server;
}

double Seconds(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string LdapsearchCommand(const xo::test::LdapServer& server) {
  return std::string("ldapsearch -x -LLL -H ") + server.Uri() + " -D '" +
         xo::test::LdapServer::kAdminDn + "' -w '" + xo::test::LdapServer::kAdminPassword +
         "' -b '" + xo::test::LdapServer::kSuffix + "' -s sub -z 0 '" +
         xo::directory::ldap::kListedEntries + "' objectClass displayName cn ou o uid >/dev/null";
}

void DirectoryEnumerate10kVsLdapsearch(benchmark::State& state) {
  xo::test::LdapServer& server = Server();
  CXoDsDir dir(server.Directory());
  const std::string command = LdapsearchCommand(server);
  double enumerateSeconds = 0;
  double ldapsearchSeconds = 0;
  size_t listed = 0;
  for (auto _ : state) {
    std::vector<std::string> entries;
    std::vector<std::string> details;
    Clock::time_point start = Clock::now();
    if (!dir.Enumerate(entries, details)) {
      state.SkipWithError(dir.LastError().c_str());
      return;
    }
    const double took = Seconds(start);
    state.SetIterationTime(took);
    enumerateSeconds += took;
    listed = entries.size();
    start = Clock::now();
    if (std::system(command.c_str()) != 0) {
      state.SkipWithError("ldapsearch failed");
      return;
    }
    ldapsearchSeconds += Seconds(start);
  }
  const double iterations = static_cast<double>(state.iterations());
  state.counters["entries"] = static_cast<double>(listed);
  state.counters["ldapsearch_ms"] = ldapsearchSeconds * 1e3 / iterations;
  state.counters["ratio"] = enumerateSeconds / ldapsearchSeconds;
}

}  // namespace

BENCHMARK(DirectoryEnumerate10kVsLdapsearch)
    ->Iterations(10)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace xo::bench
