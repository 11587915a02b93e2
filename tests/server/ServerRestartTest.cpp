// A PostgreSQL store whose server stops and starts again under live
// sessions: calls made while it is down fail and change nothing, with the
// code each call gives for its first store step failing (reading the
// caller's rights, -1; a login, -1); the same handles work once it is back,
// and every change acknowledged before is still there. Runs alone against
// the tests' private server (XO_TEST_POSTGRES), which it stops and starts.
#include <cstdlib>
#include <string>

#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"
#include "support/StoreServer.h"

namespace xo::test {
namespace {

// postgres-server.sh with the private server's folder, which is named by its
// port.
int Server(const std::string& command) {
  const std::string server = TestServer();
  const size_t colon = server.rfind(':');
  const std::string port = server.substr(colon + 1, server.find('/', colon) - colon - 1);
  const std::string line = "bash " + std::string(XO_TEST_SOURCE_DIR) +
                           "/../scripts/postgres-server.sh " + command + " /tmp/xo-policy-pg-" +
                           port + (command == "start" ? " " + port : "") + " >/dev/null";
  return std::system(line.c_str());
}

int32_t AddDomain(PolicyApiSession* handle, const char* name) {
  DomainRecord domain = Zeroed<DomainRecord>();
  Put(domain.name, name);
  return Xo_PolicyApi_AddDomain(handle, &domain, 0);
}

bool HasDomain(PolicyApiSession* handle, const char* name) {
  std::vector<DomainRecord> found;
  return CallGet([&](DomainRecord** out) { return Xo_PolicyApi_GetDomain(handle, name, out); },
                 found) == XO_OK &&
         found.size() == 1;
}

using ServerRestart = ApiTest;

TEST_F(ServerRestart, CallsWhileDownChangeNothingAndTheSameHandlesWorkAfter) {
  if (TestServer().empty()) GTEST_SKIP() << "needs the tests' PostgreSQL server";
  PolicyApiSession* reader = nullptr;
  ASSERT_EQ(Login(kAdmin, kPassword, &reader), XO_OK);
  ASSERT_EQ(AddDomain(handle_, "before"), XO_OK);

  ASSERT_EQ(Server("stop"), 0);
  EXPECT_EQ(AddDomain(handle_, "while-down"), XO_ERR_GENERAL);
  EXPECT_EQ(AddDomain(handle_, "while-down"), XO_ERR_GENERAL);  // and again, reconnecting
  EXPECT_FALSE(HasDomain(reader, "before"));
  PolicyApiSession* third = nullptr;
  EXPECT_EQ(Login(kAdmin, kPassword, &third), XO_ERR_GENERAL);

  ASSERT_EQ(Server("start"), 0);
  EXPECT_EQ(AddDomain(handle_, "after"), XO_OK);
  EXPECT_TRUE(HasDomain(reader, "before"));
  EXPECT_TRUE(HasDomain(reader, "after"));
  EXPECT_FALSE(HasDomain(reader, "while-down"));
}

}  // namespace
}  // namespace xo::test
