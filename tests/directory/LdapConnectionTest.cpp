// How CXoDsDir reaches an LDAP server: TLS when the directory asks for a
// secure connection (and never clear text instead), trust only in the
// directory's CA certificates, and a caller that survives a server dying
// under a request.
#include <gtest/gtest.h>

#include <cctype>
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

// `uri` with its scheme in capitals.
std::string Shouted(const std::string& uri) {
  const size_t colon = uri.find(':');
  std::string scheme = uri.substr(0, colon);
  for (char& c : scheme) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return scheme + uri.substr(colon);
}

// The test server with TLS answers nothing but StartTLS in clear text, so a
// listing that works went over TLS.
TEST(LdapTlsTest, SecureConnectionsUseTlsTrustingTheDirectoryCaOrFail) {
  LdapServer tls(0, LdapTls::On);
  LdapServer plain;
  const std::string closed = "127.0.0.1:" + std::to_string(ClosedPort()) + "/";
  struct Case {
    std::string uris;
    bool secure;
    std::string caFile;
    bool works;
  };
  const std::vector<Case> cases = {
      {tls.Uri(), true, tls.CaFile(), true},
      {Shouted(tls.Uri()), true, tls.CaFile(), true},
      {tls.LdapsUri(), true, tls.CaFile(), true},
      {Shouted(tls.LdapsUri()), true, tls.CaFile(), true},
      {tls.LdapsUri(), false, tls.CaFile(), true},
      {"ldap://" + closed + " " + tls.Uri(), true, tls.CaFile(), true},
      {"ldaps://" + closed + "," + tls.LdapsUri(), false, tls.CaFile(), true},
      // A CA of the same name that did not sign the server's certificate;
      // the system's CAs; a CA file that is not there.
      {tls.Uri(), true, tls.OtherCaFile(), false},
      {tls.LdapsUri(), false, tls.OtherCaFile(), false},
      {tls.Uri(), true, "", false},
      {tls.LdapsUri(), true, tls.CaFile() + ".missing", false},
      // Without TLS this server answers nothing.
      {tls.Uri(), false, tls.CaFile(), false},
      // A server without TLS is not read in clear text instead.
      {plain.Uri(), true, tls.CaFile(), false},
      {Shouted(plain.Uri()), true, tls.CaFile(), false},
      {"ldaps://" + closed + " " + plain.Uri(), true, tls.CaFile(), false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.uris + (c.secure ? ", secure" : "") + ", CA file '" + c.caFile + "'");
    CXoObjUserDirectory directory = LdapServer::DirectoryAt(c.uris);
    directory.Set(D::Flag2, c.secure);
    directory.Set(D::String9, c.caFile);
    CXoDsDir dir(directory);
    std::vector<std::string> entries;
    std::vector<std::string> details;
    EXPECT_EQ(dir.Enumerate(entries, details), c.works) << dir.LastError();
    EXPECT_EQ(entries.size(), c.works ? 7u : 0u);
    EXPECT_EQ(dir.Authenticate("carol", "carol-pw"), c.works) << dir.LastError();
  }
}

// In a process of its own, whose environment tells the LDAP library (as
// ldap.conf could) to trust the test CA and to check no certificate at all:
// the directory, which names no CA file, still trusts only the system's.
int ListWithTrustFromTheEnvironment() {
  LdapServer server(0, LdapTls::On);
  setenv("LDAPTLS_CACERT", server.CaFile().c_str(), 1);
  setenv("LDAPTLS_REQCERT", "never", 1);
  CXoObjUserDirectory directory = server.Directory();
  directory.Set(D::Flag2, true);
  std::vector<std::string> entries;
  std::vector<std::string> details;
  return CXoDsDir(directory).Enumerate(entries, details) ? 1 : 0;
}

TEST(LdapTlsTest, TheEnvironmentDoesNotDecideWhatTlsTrusts) {
  // A new process rather than a fork: the library reads its environment
  // once, when it is first used.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(ListWithTrustFromTheEnvironment()), ::testing::ExitedWithCode(0), "");
}

// The call runs in a child process, so that a SIGPIPE ends only that.
TEST(LdapServerGoneTest, AServerThatDiesUnderARequestDoesNotKillTheCaller) {
  LdapServer server;
  CXoObjUserDirectory directory = server.Directory();
  directory.Set(D::String5, std::string(""));  // anonymous: the first request is the search
  directory.Set(D::String6, std::string(""));
  // A look-up of a name longer than the sockets buffer: the request is still
  // being written when the server dies.
  const std::string huge(4 << 20, 'x');
  const auto lookUpWhileTheServerDies = [&] {
    server.Freeze();
    std::thread killer([&] {
      std::this_thread::sleep_for(std::chrono::seconds(1));
      server.Kill();
    });
    CXoDsDir dir(directory);
    int32_t kind = 0;
    std::string path;
    std::string name;
    const bool found = dir.GetDirObjInfo(huge, kind, path, name);
    killer.join();
    std::vector<std::string> entries;
    std::vector<std::string> details;
    const bool listed = dir.Enumerate(entries, details);
    return found || listed ? 1 : 0;
  };
  EXPECT_EXIT(std::_Exit(lookUpWhileTheServerDies()), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace xo::test
