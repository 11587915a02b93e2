// A PostgreSQL store whose server stops and starts again under live
// sessions: calls made while it is down fail and change nothing, with the
// code each call gives for its first store step failing (reading the
// caller's rights, -1; a login, -1); the same handles work once it is back,
// and every change acknowledged before is still there. Runs alone against the tests' private
// server (XO_TEST_POSTGRES), which it stops and starts itself.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "StoreBackend.h"
#include "XoPolicyApi.h"
#include "support/Environment.h"
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
  DomainRecord domain{};
  domain.recordType = DomainRecordType;
  std::snprintf(domain.name, sizeof domain.name, "%s", name);
  return Xo_PolicyApi_AddDomain(handle, &domain, 0);
}

bool HasDomain(PolicyApiSession* handle, const char* name) {
  DomainRecord* found = nullptr;
  const bool has = Xo_PolicyApi_GetDomain(handle, name, &found) == XO_OK && found != nullptr;
  Xo_PolicyApi_FreeMemory(found);
  return has;
}

TEST(ServerRestart, CallsWhileDownChangeNothingAndTheSameHandlesWorkAfter) {
  if (TestServer().empty()) GTEST_SKIP() << "needs the tests' PostgreSQL server";
  const std::string store = NewTestStore("");
  std::string message;
  ASSERT_GE(store::CreateStore(store::ResolveLocation(store), {"root", "pw", "minimum"}, message),
            0)
      << message;
  SetEnvironment("XO_POLICY_STORE", store);
  PolicyApiSession* writer = nullptr;
  PolicyApiSession* reader = nullptr;
  ASSERT_EQ(Xo_PolicyApi_Login(&writer, nullptr, "root", "pw", "h", "", 0), XO_OK);
  ASSERT_EQ(Xo_PolicyApi_Login(&reader, nullptr, "root", "pw", "h", "", 0), XO_OK);
  ASSERT_EQ(AddDomain(writer, "before"), XO_OK);

  ASSERT_EQ(Server("stop"), 0);
  EXPECT_EQ(AddDomain(writer, "while-down"), XO_ERR_GENERAL);
  EXPECT_EQ(AddDomain(writer, "while-down"), XO_ERR_GENERAL);  // and again, reconnecting
  DomainRecord* found = nullptr;
  EXPECT_EQ(Xo_PolicyApi_GetDomain(reader, "before", &found), XO_ERR_GENERAL);
  EXPECT_EQ(found, nullptr);
  PolicyApiSession* third = nullptr;
  EXPECT_EQ(Xo_PolicyApi_Login(&third, nullptr, "root", "pw", "h", "", 0), XO_ERR_GENERAL);
  Xo_PolicyApi_Logout(third);

  ASSERT_EQ(Server("start"), 0);
  EXPECT_EQ(AddDomain(writer, "after"), XO_OK);
  EXPECT_TRUE(HasDomain(reader, "before"));
  EXPECT_TRUE(HasDomain(reader, "after"));
  EXPECT_FALSE(HasDomain(reader, "while-down"));
  EXPECT_EQ(Xo_PolicyApi_Logout(writer), XO_OK);
  EXPECT_EQ(Xo_PolicyApi_Logout(reader), XO_OK);
  DropTestStore(store);
}

}  // namespace
}  // namespace xo::test
