// How CXoDsDir reaches an LDAP server: trust in TLS that the environment does
// not change, and servers that are missing, hang or die under a request (the
// TLS settings themselves are a case of directory-scripts.txt).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "XoDsDir.h"
#include "support/DirectoryFixtures.h"

namespace xo::test {
namespace {

using D = CXoObjUserDirectory;

// In a new process (the LDAP library reads its environment once, when first
// used) whose environment tells the library, as ldap.conf could, to trust the
// test CA and to check no certificate at all: the directory, which names no
// CA file, still trusts only the system's.
TEST(LdapTlsTest, TheEnvironmentDoesNotDecideWhatTlsTrusts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit([] {
                LdapServer server(0, LdapTls::On);
                setenv("LDAPTLS_CACERT", server.CaFile().c_str(), 1);
                setenv("LDAPTLS_REQCERT", "never", 1);
                CXoObjUserDirectory directory = server.Directory();
                directory.Set(D::Flag2, true);
                std::vector<std::string> entries;
                return CXoDsDir(directory).Enumerate(entries, entries) ? 1 : 0;
              }()),
              ::testing::ExitedWithCode(0), "");
}

// A server that accepts and never answers is given up after the search
// timeout, also when the first round trip is the search itself (without a
// bind account). A server that dies while a request is still being written (a
// name longer than the socket buffers) does not kill the caller: that runs in
// a child process, so that a SIGPIPE would end only that.
TEST(LdapUnreachableTest, HangingAndDyingServersFailTheCallOnly) {
  using Clock = std::chrono::steady_clock;
  Clock::time_point start = Clock::now();
  const auto seconds = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  std::vector<std::string> entries;
  LdapServer server;
  server.Freeze();
  CXoObjUserDirectory directory = server.Directory();
  directory.Set(D::Int2, int32_t{1});
  start = Clock::now();
  EXPECT_FALSE(CXoDsDir(directory).Enumerate(entries, entries));
  EXPECT_GE(seconds(), 0.9);
  EXPECT_LT(seconds(), 4.0);
  directory.Set(D::String5, std::string(""));
  directory.Set(D::String6, std::string(""));
  start = Clock::now();
  EXPECT_FALSE(CXoDsDir(directory).Authenticate("alice", "alice-pw"));
  EXPECT_LT(seconds(), 4.0);
  EXPECT_TRUE(entries.empty());

  directory.Set(D::Int2, int32_t{5});
  EXPECT_EXIT(std::_Exit([&] {
                std::thread killer([&] {
                  std::this_thread::sleep_for(std::chrono::seconds(1));
                  server.Kill();
                });
                CXoDsDir dir(directory);
                int32_t kind = 0;
                std::string path;
                const bool found = dir.GetDirObjInfo(std::string(4 << 20, 'x'), kind, path, path);
                killer.join();
                return found || dir.Enumerate(entries, entries) ? 1 : 0;
              }()),
              ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace xo::test
