// Several administrators changing the same lists at once, from several
// processes with several threads each: every change a call acknowledged is
// in the store at the end, nothing else is, and no call fails but with the
// store's busy code (-107) after its wait.
#include <gtest/gtest.h>

#include <iostream>

#include "support/ConcurrentMix.h"
#include "support/Environment.h"
#include "support/StoreFile.h"
#include "support/StoreServer.h"

namespace xo::test {
namespace {

TEST(ConcurrentAdministrators, KeepEveryAcknowledgedChangeOfSharedLists) {
  const std::string directory = MakeScratchDirectory();
  const std::string path = NewTestStore(directory);
  const MixPlan plan{2, 4, 6};
  PrepareMixStore(path, plan);

  const MixOutcome done = RunMix(path, plan);
  const MixOutcome stored = ReadMixStore(path);

  std::cout << "calls " << done.calls << ", acknowledged " << done.acknowledged << ", busy "
            << done.busy << "\n";
  for (const auto& [list, names] : stored.lists) std::cout << list << ": " << names.size() << "\n";
  EXPECT_EQ(done.calls, done.acknowledged + done.busy);
  EXPECT_EQ(done.unexpected, std::vector<std::string>{});
  EXPECT_EQ(stored.unexpected, std::vector<std::string>{});
  EXPECT_EQ(stored.lists, done.lists);
  EXPECT_TRUE(StoreIsSound(path));
  DropTestStore(path);
  RemoveDirectory(directory);
}

}  // namespace
}  // namespace xo::test
