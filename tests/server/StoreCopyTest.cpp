// A store copied from PostgreSQL to an SQLite file and on to a new
// PostgreSQL schema: every row comes home as it was, sequence numbers, list
// order, password hashes and audit trail included, and a copy never goes
// where a store is.
#include "StoreBackend.h"
#include "XoStoreCodes.h"
#include "support/ApiCatalog.h"
#include "support/ApiTest.h"
#include "support/Environment.h"
#include "support/RandomStore.h"
#include "support/StoreFile.h"
#include "support/StoreServer.h"

namespace xo::test {
namespace {

using StoreCopy = ApiTest;

TEST_F(StoreCopy, ThroughAFileAndBackEveryRowComesHome) {
  if (TestServer().empty()) GTEST_SKIP() << "needs the tests' PostgreSQL server";
  const CatalogStore catalog(Store(), handle_);
  WalkRandomly(handle_, 11, 400);
  const std::string directory = MakeScratchDirectory();
  const std::string file = "sqlite:" + directory + "/copy.db";
  const std::string back = NewServerStore();
  std::string message;
  const auto copy = [&](const std::string& from, const std::string& to) {
    return store::CopyStore(store::ResolveLocation(from), store::ResolveLocation(to), message);
  };
  EXPECT_EQ(copy(StorePath(), file), store::kOk) << message;
  EXPECT_EQ(copy(file, back), store::kOk) << message;
  EXPECT_EQ(SnapshotStoreFile(back), SnapshotStoreFile(StorePath()));
  EXPECT_EQ(copy(file, back), store::kExists) << message;
  EXPECT_EQ(copy(StorePath(), file), store::kExists) << message;
  DropTestStore(back);
  RemoveDirectory(directory);
}

}  // namespace
}  // namespace xo::test
