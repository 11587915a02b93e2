// Sweeps over every function of the interface, one row of the catalog each:
// handles that are no live session, every store call failed in turn, every
// allocation failed in turn, and bad arguments (null, over-long, unterminated)
// in place of each argument in turn. A failed call changes nothing. The code
// each failure gives, and how many store calls and allocations each function
// makes, are kept in InterfaceSweeps.golden; run the suite with
// XO_SWEEPS_RECORD set to write what it sees instead, and read the diff.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "XoStoreCodes.h"
#include "frame/Handles.h"
#include "support/ApiCatalog.h"
#include "support/ApiTest.h"
#include "support/Environment.h"

namespace xo::test {
namespace {

const std::filesystem::path kGolden = TestDataPath("api/InterfaceSweeps.golden");
const bool kRecording = std::getenv("XO_SWEEPS_RECORD") != nullptr;

// The golden lines, by row and sweep ("AddRule store"); what a recording
// run saw is written back when the program ends.
std::map<std::string, std::vector<std::string>>& Golden() {
  static std::map<std::string, std::vector<std::string>> lines = [] {
    std::map<std::string, std::vector<std::string>> read;
    std::ifstream in(kGolden);
    for (std::string line; std::getline(in, line);) {
      std::istringstream words(line);
      std::string row, sweep;
      words >> row >> sweep;
      read[row + " " + sweep].push_back(line);
    }
    return read;
  }();
  return lines;
}
struct WriteGoldenAtExit : ::testing::Environment {
  void TearDown() override {
    if (!kRecording) return;
    std::ofstream out(kGolden);
    for (const auto& [key, lines] : Golden()) {
      for (const std::string& line : lines) out << line << "\n";
    }
  }
};
[[maybe_unused]] auto* const kWriter = ::testing::AddGlobalTestEnvironment(new WriteGoldenAtExit);

class InterfaceSweep : public ApiTest, public ::testing::WithParamInterface<CatalogCall> {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    catalog_ = std::make_unique<CatalogStore>(Store(), handle_);
  }
  // A call that went through changed the store: the next case starts afresh.
  void StartAfresh() {
    catalog_.reset();
    ApiTest::TearDown();
    SetUp();
  }
  int32_t Call(PolicyApiSession* handle) {
    Args passThrough;
    return GetParam().call(handle, passThrough);
  }

  // Compares what a sweep saw with the golden lines (or records it).
  void ExpectAsRecorded(const std::string& sweep, const std::vector<std::string>& seen) {
    const std::string key = GetParam().name + " " + sweep;
    std::vector<std::string> lines;
    for (const std::string& line : seen) lines.push_back(key + " " + line);
    if (kRecording) {
      Golden()[key] = lines;
    } else {
      EXPECT_EQ(lines, Golden()[key]) << "XO_SWEEPS_RECORD=1 writes what was seen";
    }
  }

  std::unique_ptr<CatalogStore> catalog_;
};

TEST_P(InterfaceSweep, HandlesWithoutALiveSessionAreRefused) {
  PolicyApiSession* stale = nullptr;
  ASSERT_EQ(Login(kAdmin, kPassword, &stale), XO_OK);
  ASSERT_EQ(Xo_PolicyApi_Logout(stale), XO_OK);
  // Holds the magic in its first word; its pointers lead nowhere.
  struct {
    int32_t magic = 727;
    void* message = reinterpret_cast<void*>(0x10);
    void* session = reinterpret_cast<void*>(0x20);
  } forged;
  const std::string before = Snapshot();
  for (PolicyApiSession* bad : {stale, reinterpret_cast<PolicyApiSession*>(&forged),
                                static_cast<PolicyApiSession*>(nullptr)}) {
    EXPECT_EQ(Call(bad), XO_ERR_BAD_HANDLE);
  }
  EXPECT_EQ(forged.magic, 727);
  // Whether the store message (2) or the session object (3) failed to be made.
  for (int allocation : {2, 3}) {
    EXPECT_EQ(Call(SessionlessLogin(allocation)), GetParam().sessionless) << allocation;
  }
  EXPECT_EQ(Snapshot(), before);
}

// The rights read failing refuses the call; a failure the call cannot go on
// from gives its code and changes nothing; a failure it absorbs gives 0.
TEST_P(InterfaceSweep, EachStoreCallFailingIsMappedAndChangesNothing) {
  std::vector<std::string> seen;
  int32_t last = XO_ERR_GENERAL;
  SweepStoreFailures(
      StoreOp::Any, kBusyCode, [&] { return last = Call(handle_); },
      [&](const StoreFailure& failure) {
        seen.push_back(failure.what + " " + std::to_string(failure.result));
        if (failure.op == StoreOp::ReadRights) {
          EXPECT_EQ(failure.result, XO_ERR_GENERAL) << seen.back();
        }
        if (failure.result == XO_OK || failure.op == GetParam().failsAfterTheChange) {
          StartAfresh();
        } else {
          EXPECT_TRUE(failure.unchanged) << seen.back();
        }
      });
  EXPECT_EQ(last, XO_OK) << "once no store call fails";
  ExpectAsRecorded("store", seen);
}

TEST_P(InterfaceSweep, EachAllocationFailingGivesMinusOneAndChangesNothing) {
  int32_t last = XO_ERR_GENERAL;
  const int failing = SweepAllocationFailures([&] { return last = Call(handle_); }, XO_ERR_GENERAL);
  EXPECT_EQ(last, XO_OK) << "once no allocation fails";
  ExpectAsRecorded("allocations", {std::to_string(failing)});
}

// Hands out one bad value in place of the `target`-th argument it can spoil.
enum class Spoil { NullName, LongName, UnknownName, NullRecord, UnterminatedField, NullOutput };
class SpoiledArgs : public Args {
 public:
  SpoiledArgs(Spoil spoil, int target) : spoil_(spoil), target_(target) {}
  bool Spoiled() const { return spoiled_; }

  const char* Name(Kind, const char* value) override {
    // An empty name stands for no name, as a null one does.
    const bool names =
        spoil_ == Spoil::NullName || spoil_ == Spoil::LongName || spoil_ == Spoil::UnknownName;
    if (!names || *value == '\0' || !Next()) return value;
    if (spoil_ == Spoil::UnknownName) return "no-such-name";
    return spoil_ == Spoil::NullName ? nullptr : long_.c_str();
  }
  void* Record(void* record, size_t, const std::vector<size_t>& texts) override {
    if (spoil_ == Spoil::NullRecord) return Next() ? nullptr : record;
    if (spoil_ != Spoil::UnterminatedField) return record;
    for (size_t offset : texts) {
      if (Next()) std::memset(static_cast<char*>(record) + offset, 'u', XO_TEXT_FIELD);
    }
    return record;
  }
  void* Output(void* out) override { return spoil_ == Spoil::NullOutput && Next() ? nullptr : out; }

 private:
  bool Next() { return ++seen_ == target_ && (spoiled_ = true); }

  Spoil spoil_;
  int target_;
  int seen_ = 0;
  bool spoiled_ = false;
  std::string long_ = std::string(4 * XO_TEXT_FIELD, 'n');
};

TEST_P(InterfaceSweep, BadArgumentsAreRefusedAndChangeNothing) {
  static const char* const kSpoils[] = {"NullName",   "LongName",          "UnknownName",
                                        "NullRecord", "UnterminatedField", "NullOutput"};
  std::vector<std::string> seen;
  for (int spoil = 0; spoil < 6; ++spoil) {
    for (int target = 1;; ++target) {
      SpoiledArgs args(static_cast<Spoil>(spoil), target);
      const std::string before = Snapshot();
      const int32_t rc = GetParam().call(handle_, args);
      if (!args.Spoiled()) break;
      seen.push_back(std::string(kSpoils[spoil]) + "#" + std::to_string(target) + " " +
                     std::to_string(rc));
      if (spoil == static_cast<int>(Spoil::NullRecord) ||
          spoil == static_cast<int>(Spoil::NullOutput)) {
        EXPECT_EQ(rc, XO_ERR_GENERAL) << seen.back();
      }
      if (rc != XO_OK) {
        EXPECT_EQ(Snapshot(), before) << seen.back();
      } else {
        StartAfresh();
      }
    }
  }
  ExpectAsRecorded("arguments", seen);
}

INSTANTIATE_TEST_SUITE_P(EveryFunction, InterfaceSweep, ::testing::ValuesIn(CatalogCalls()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace xo::test
