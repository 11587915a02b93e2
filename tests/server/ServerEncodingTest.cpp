// A store in a UTF-8 database, as sites usually make them (the tests' own
// database keeps bytes as they come, like the embedded store): a text that
// is not UTF-8 is an argument the store cannot take, and changes nothing.
#include "support/ApiTest.h"
#include "support/Environment.h"
#include "support/Records.h"
#include "support/StoreServer.h"

namespace xo::test {
namespace {

class Utf8Database : public ApiTest {
 protected:
  void SetUp() override {
    server_ = TestServer();
    if (server_.empty()) GTEST_SKIP() << "needs the tests' PostgreSQL server";
    if (ServerRows(server_, "SELECT 1 FROM pg_database WHERE datname = 'xo_utf8'").empty()) {
      ServerRows(server_, "CREATE DATABASE xo_utf8 ENCODING 'UTF8' LOCALE 'C' TEMPLATE template0");
    }
    SetEnvironment("XO_TEST_POSTGRES", server_.substr(0, server_.rfind('/')) + "/xo_utf8");
    ApiTest::SetUp();
  }
  void TearDown() override {
    if (server_.empty()) return;
    ApiTest::TearDown();
    SetEnvironment("XO_TEST_POSTGRES", server_);
  }

  std::string server_;
};

TEST_F(Utf8Database, TextThatIsNotUtf8IsRefusedAndChangesNothing) {
  constexpr int32_t kArgumentRefused = -123;
  DomainRecord domain = Zeroed<DomainRecord>();
  const std::string before = Snapshot();
  Put(domain.name, "caf\xe9");
  EXPECT_EQ(Xo_PolicyApi_AddDomain(handle_, &domain, 0), kArgumentRefused);
  EXPECT_EQ(Snapshot(), before);
  Put(domain.name, "caf\xc3\xa9");
  EXPECT_EQ(Xo_PolicyApi_AddDomain(handle_, &domain, 0), XO_OK);
}

}  // namespace
}  // namespace xo::test
