// Policy as code over random stores. A store is built at random through the
// API from a seed (support/RandomStore.h), exported with `xopolicy export`,
// applied with `xopolicy apply` to a new store made with `xopolicy init`, and
// that store is exported again. The two exports must be equal byte for byte,
// a second apply must find nothing to do, and the two stores must hold the
// same objects as read back through the API (support/StoreModel.h).
//
// Both stores are made with the same first administrator, and the exports
// include the password hashes: an administrator the file creates needs one,
// and the first administrator's hash is taken over from the file as well, so
// that nothing in the second export comes from the second store's own init.
//
// ctest runs the seeds 1 to 5, one test each
// (RandomStores/RoundTripTest.ExportApplyExport/seed_3). For more seeds, run
// the suite by hand with XO_ROUNDTRIP_SEEDS set to a count ("100": the seeds 1
// to 100) or to a list of seeds and ranges ("7,20-29"):
//
//   export XO_CLI=build/cli/xopolicy XO_ROUNDTRIP_SEEDS=100
//   build/tests/cli_tests --gtest_filter='RandomStores/*'
//
// With XO_ROUNDTRIP_KEEP=DIR the calls that built each store and both exports
// are left in DIR as seed-N-calls.txt, seed-N-first.json, seed-N-second.json.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "CliRunner.h"
#include "XoPolicyApi.h"
#include "support/DirectoryFixtures.h"
#include "support/RandomStore.h"
#include "support/StoreModel.h"

namespace xo::test {
namespace {

constexpr const char* kAdmin = "root";
constexpr const char* kPassword = "root-pw";

std::vector<uint32_t> Seeds() {
  const char* given = std::getenv("XO_ROUNDTRIP_SEEDS");
  if (given == nullptr || *given == '\0') return {1, 2, 3, 4, 5};
  const std::string text = given;
  std::vector<uint32_t> seeds;
  try {
    if (text.find_first_of(",-") == std::string::npos) {
      for (uint32_t seed = 1, n = std::stoul(text); seed <= n; ++seed) seeds.push_back(seed);
      return seeds;
    }
    for (size_t at = 0; at <= text.size();) {
      const size_t end = std::min(text.find(',', at), text.size());
      const std::string item = text.substr(at, end - at);
      const size_t dash = item.find('-');
      const uint32_t low = std::stoul(item.substr(0, dash));
      const uint32_t high = dash == std::string::npos ? low : std::stoul(item.substr(dash + 1));
      for (uint32_t seed = low; seed <= high; ++seed) seeds.push_back(seed);
      at = end + 1;
    }
  } catch (const std::logic_error&) {
    throw std::invalid_argument("XO_ROUNDTRIP_SEEDS must be a count or a list such as 7,20-29");
  }
  return seeds;
}

// How the second export differs from the first, as a JSON patch.
std::string Difference(const std::string& first, const std::string& second) {
  using Json = nlohmann::ordered_json;
  const Json a = Json::parse(first, nullptr, false);
  const Json b = Json::parse(second, nullptr, false);
  if (a.is_discarded() || b.is_discarded()) return "an export is not JSON";
  const Json patch = Json::diff(a, b);
  if (patch.empty()) return "the same JSON in other bytes";
  std::string text;
  for (const Json& change : patch) text += change.dump() + "\n";
  return text;
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

class RoundTripTest : public ::testing::TestWithParam<uint32_t> {
 protected:
  static CliResult Run(const std::string& store, const std::vector<std::string>& args) {
    return RunCli(
        args,
        {{"XO_POLICY_STORE", "sqlite:" + store}, {"XO_ADMIN", kAdmin}, {"XO_PASSWORD", kPassword}});
  }

  static void Init(const std::string& store) {
    CliResult init = RunCli({"init", "--hash-cost", "minimum", "--store", store, "--admin", kAdmin,
                             "--password", kPassword});
    ASSERT_EQ(init.exitCode, 0) << init.err;
  }

  static std::string Export(const std::string& store) {
    CliResult run = Run(store, {"export", "--include-password-hashes"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.out;
  }

  // Leaves a file in XO_ROUNDTRIP_KEEP, if it names a directory.
  void Keep(const std::string& what, const std::string& text) const {
    const char* keep = std::getenv("XO_ROUNDTRIP_KEEP");
    if (keep == nullptr || *keep == '\0') return;
    WriteFile(std::string(keep) + "/seed-" + std::to_string(GetParam()) + "-" + what, text);
  }
};

TEST_P(RoundTripTest, ExportApplyExport) {
  ScratchDir dir;
  OdbcUsers users;
  const std::string first = dir / "first.db";
  const std::string second = dir / "second.db";
  ASSERT_NO_FATAL_FAILURE(Init(first));
  ASSERT_NO_FATAL_FAILURE(Init(second));

  std::string calls;
  {
    ScopedEnv location("XO_POLICY_STORE", "sqlite:" + first);
    PolicyApiSession* handle = nullptr;
    ASSERT_EQ(Xo_PolicyApi_Login(&handle, nullptr, kAdmin, kPassword, "localhost", "", 0), XO_OK);
    try {
      for (const std::string& call :
           BuildRandomStore(handle, GetParam(), users.ConnectionString())) {
        calls += call + "\n";
      }
    } catch (const std::runtime_error& e) {
      ADD_FAILURE() << "the store was not built: " << e.what();
    }
    Xo_PolicyApi_Logout(handle);
  }
  Keep("calls.txt", calls);
  if (HasFailure()) return;

  const std::string exported = Export(first);
  Keep("first.json", exported);
  // An ODBC directory reads its query scheme from what is committed, so the
  // system objects go in first and the policy users in a second apply.
  nlohmann::ordered_json system = nlohmann::ordered_json::parse(exported, nullptr, false);
  ASSERT_TRUE(system.is_object()) << "the export is not a JSON object:\n" << exported;
  system.erase("domains");
  WriteFile(dir / "system.json", system.dump(1));
  WriteFile(dir / "first.json", exported);
  for (const char* file : {"system.json", "first.json"}) {
    CliResult apply = Run(second, {"apply", dir / file});
    ASSERT_EQ(apply.exitCode, 0) << "apply " << file << ":\n"
                                 << apply.err << "the store was built by:\n"
                                 << calls;
  }

  const std::string again = Export(second);
  Keep("second.json", again);
  EXPECT_TRUE(again == exported) << "the exports differ:\n" << Difference(exported, again);
  EXPECT_EQ(Run(second, {"apply", dir / "first.json"}).out, "no changes\n");
  const std::string difference = ModelDifference(ReadStoreModel(first, kAdmin, kPassword),
                                                 ReadStoreModel(second, kAdmin, kPassword));
  EXPECT_TRUE(difference.empty()) << "objects of the first store (-) and of the second (+):\n"
                                  << difference;
  if (HasFailure()) std::cout << "The first store was built by:\n" << calls;
}

INSTANTIATE_TEST_SUITE_P(RandomStores, RoundTripTest, ::testing::ValuesIn(Seeds()),
                         [](const ::testing::TestParamInfo<uint32_t>& info) {
                           return "seed_" + std::to_string(info.param);
                         });

}  // namespace
}  // namespace xo::test
