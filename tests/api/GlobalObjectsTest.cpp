// The names of the objects outside domains.
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using xo::store::kBusy;

class GlobalObjectsTest : public ApiTest {
 protected:
  int32_t Names(PolicyApiSession* handle, uint32_t kind, std::vector<std::string>& out) {
    char** names = reinterpret_cast<char**>(&out);  // must be replaced or left
    const int32_t result = Xo_PolicyApi_GetGlobalObjectNames(handle, kind, &names);
    if (names == reinterpret_cast<char**>(&out)) return result;
    out.clear();
    for (char** slot = names; slot != nullptr && *slot != nullptr; ++slot) out.push_back(*slot);
    if (names != nullptr) {
      EXPECT_EQ(Xo_PolicyApi_FreeStringArray(names), 0);
    } else {
      out.push_back("<null array>");
    }
    return result;
  }
};

TEST_F(GlobalObjectsTest, ListsEachKindInCreationOrder) {
  Store().UserDirectory("corporate");
  Store().Scheme("tokens");
  Store().Agent("gateway");
  Store().AgentGroup("edge");
  Store().Domain("sales");
  Store().Domain("support");
  Store().Admin("dana", "pw", 0);
  Store().Realm(Store().Domain("third"), "web");  // adds "test agent"

  const std::vector<std::pair<uint32_t, std::vector<std::string>>> expected = {
      {XO_GLOBAL_USER_DIRECTORIES, {"corporate"}},
      {XO_GLOBAL_AGENTS, {"gateway", "test agent"}},
      {XO_GLOBAL_AGENT_GROUPS, {"edge"}},
      {XO_GLOBAL_DOMAINS, {"sales", "support", "third"}},
      {XO_GLOBAL_ADMINISTRATORS, {kAdmin, "dana"}},
  };
  for (const auto& [kind, names] : expected) {
    std::vector<std::string> listed;
    EXPECT_EQ(Names(handle_, kind, listed), 0) << kind;
    EXPECT_EQ(listed, names) << kind;
  }
  std::vector<std::string> schemes;
  EXPECT_EQ(Names(handle_, XO_GLOBAL_SCHEMES, schemes), 0);
  ASSERT_EQ(schemes.size(), 2u);  // the built-in scheme first
  EXPECT_EQ(schemes[1], "tokens");
}

TEST_F(GlobalObjectsTest, KindsAreCheckedAfterTheRights) {
  std::vector<std::string> listed;
  EXPECT_EQ(Names(handle_, XO_GLOBAL_AGENT_GROUPS, listed), 0);
  EXPECT_TRUE(listed.empty());
  // The output is cleared before the kind is looked at.
  EXPECT_EQ(Names(handle_, 0, listed), XO_ERR_GENERAL);
  EXPECT_EQ(listed, std::vector<std::string>{"<null array>"});
  for (uint32_t kind : {1u, 6u, 13u, 0x80000000u}) {
    EXPECT_EQ(Names(handle_, kind, listed), XO_ERR_BAD_OBJECT_KIND) << kind;
  }

  PolicyApiSession* domainAdmin = LoginAs("dana", XO_ADMIN_DOMAIN);
  listed = {"left alone"};
  EXPECT_EQ(Names(domainAdmin, 0, listed), XO_ERR_GENERAL);
  EXPECT_EQ(Names(domainAdmin, XO_GLOBAL_DOMAINS, listed), XO_ERR_GENERAL);
  EXPECT_EQ(listed, std::vector<std::string>{"left alone"});
}

TEST_F(GlobalObjectsTest, FailedFetchEndsTheListQuietly) {
  Store().Domain("a");
  Store().Domain("b");
  Store().Domain("c");
  std::vector<std::string> listed;
  Faults().FailAt(StoreOp::Fetch, 2, xo::store::kNotFound);
  EXPECT_EQ(Names(handle_, XO_GLOBAL_DOMAINS, listed), 0);
  EXPECT_EQ(listed, std::vector<std::string>{"a"});

  EXPECT_EQ(SweepBusy([&] { return Names(handle_, XO_GLOBAL_DOMAINS, listed); },
                      [](StoreOp op, int) {
                        if (op == StoreOp::Fetch) return 0;
                        return op == StoreOp::ReadRights ? XO_ERR_GENERAL : Mapped(kBusy);
                      }),
            5);
  // The array and each name; a name that cannot be copied fails the call.
  EXPECT_EQ(SweepAllocationFailures(
                [&] {
                  const int32_t result = Names(handle_, XO_GLOBAL_DOMAINS, listed);
                  if (result != 0) {
                    EXPECT_EQ(listed, std::vector<std::string>{"<null array>"});
                  }
                  return result;
                },
                XO_ERR_GENERAL),
            4);
}

}  // namespace
}  // namespace xo::test
