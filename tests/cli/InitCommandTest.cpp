// `xopolicy init`, run as a user would run it.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "CliRunner.h"
#include "XoPolicyApi.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

namespace fs = std::filesystem;

constexpr int kUsageError = 2;
constexpr int kFailure = 1;

::testing::AssertionResult Contains(const std::string& text, const std::string& part) {
  if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "\"" << part << "\" not found in: " << text;
}

class InitCommandTest : public ::testing::Test {
 protected:
  // `xopolicy init` with cheap password hashing, so that tests stay fast.
  static std::vector<std::string> InitArgs(std::vector<std::string> extra) {
    std::vector<std::string> args{"init", "--hash-cost", "minimum"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
  }

  CliResult InitAt(const std::string& uri, const std::string& admin, const std::string& password,
                   const EnvChanges& env = {}) {
    return RunCli(InitArgs({"--store", uri, "--admin", admin, "--password", password}), env);
  }

  // Logs in through the API against the store at `path`; the login's result.
  static int32_t LoginResult(const std::string& path, const char* admin, const char* password) {
    ScopedEnv store("XO_POLICY_STORE", "sqlite:" + path);
    PolicyApiSession* handle = nullptr;
    int32_t result = Xo_PolicyApi_Login(&handle, nullptr, admin, password, "localhost", "", 0);
    if (handle) {
      EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_OK);
    }
    return result;
  }

  ScratchDir dir_;
  const std::string store_ = dir_ / "policy.db";
};

TEST_F(InitCommandTest, CreatesStoreAtGivenLocationAndSaysWhere) {
  CliResult run = InitAt("sqlite:" + store_, "root", "pw-1");

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(Contains(run.out, store_));
  EXPECT_TRUE(Contains(run.out, "root"));
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(fs::is_regular_file(store_));
}

TEST_F(InitCommandTest, UsesEnvironmentWhenNoStoreOptionGiven) {
  CliResult run = RunCli(InitArgs({"--admin", "root", "--password", "pw"}),
                         {{"XO_POLICY_STORE", "sqlite:" + store_}});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(fs::is_regular_file(store_));
}

TEST_F(InitCommandTest, StoreOptionOverridesEnvironment) {
  const std::string fromEnv = dir_ / "from-env.db";
  CliResult run = InitAt(store_, "root", "pw", {{"XO_POLICY_STORE", fromEnv}});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(fs::is_regular_file(store_));
  EXPECT_FALSE(fs::exists(fromEnv));
}

TEST_F(InitCommandTest, DefaultsToXdgDataHome) {
  CliResult run = RunCli(InitArgs({"--admin", "root", "--password", "pw"}),
                         {{"XO_POLICY_STORE", std::nullopt}, {"XDG_DATA_HOME", dir_ / "data"}});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(fs::is_regular_file(dir_ / "data/xo-policy/policy.db"));
}

TEST_F(InitCommandTest, DefaultsToHomeWithoutXdgDataHome) {
  CliResult run = RunCli(
      InitArgs({"--admin", "root", "--password", "pw"}),
      {{"XO_POLICY_STORE", std::nullopt}, {"XDG_DATA_HOME", std::nullopt}, {"HOME", dir_.Path()}});

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(fs::is_regular_file(dir_ / ".local/share/xo-policy/policy.db"));
}

TEST_F(InitCommandTest, NewStoreLetsFirstAdministratorManageEverything) {
  ASSERT_EQ(InitAt(store_, "root", "pw-1").exitCode, 0);
  ScopedEnv store("XO_POLICY_STORE", "sqlite:" + store_);

  PolicyApiSession* handle = nullptr;
  ASSERT_EQ(Xo_PolicyApi_Login(&handle, nullptr, "root", "pw-1", "localhost", "", 0), XO_OK);
  DomainRecord domain{};
  std::snprintf(domain.name, sizeof domain.name, "%s", "first-domain");
  EXPECT_EQ(Xo_PolicyApi_AddDomain(handle, &domain, 0), XO_OK);
  char** names = nullptr;
  ASSERT_EQ(Xo_PolicyApi_GetGlobalObjectNames(handle, XO_GLOBAL_ADMINISTRATORS, &names), XO_OK);
  ASSERT_NE(names, nullptr);
  ASSERT_NE(names[0], nullptr);
  EXPECT_STREQ(names[0], "root");
  EXPECT_EQ(names[1], nullptr);
  Xo_PolicyApi_FreeStringArray(names);
  EXPECT_EQ(Xo_PolicyApi_Logout(handle), XO_OK);
}

TEST_F(InitCommandTest, NewStoreRefusesWrongPassword) {
  ASSERT_EQ(InitAt(store_, "root", "pw-1").exitCode, 0);

  EXPECT_EQ(LoginResult(store_, "root", "pw-2"), XO_ERR_GENERAL);
  EXPECT_EQ(LoginResult(store_, "nobody", "pw-1"), XO_ERR_GENERAL);
}

TEST_F(InitCommandTest, RefusesToOverwriteExistingStore) {
  ASSERT_EQ(InitAt(store_, "first", "pw-1").exitCode, 0);
  const std::string before = SnapshotStoreFile(store_);

  CliResult again = InitAt(store_, "second", "pw-2");

  EXPECT_EQ(again.exitCode, kFailure);
  EXPECT_TRUE(Contains(again.err, "already exists"));
  EXPECT_TRUE(Contains(again.err, store_));
  EXPECT_EQ(again.out, "");
  EXPECT_EQ(SnapshotStoreFile(store_), before);
  EXPECT_EQ(LoginResult(store_, "first", "pw-1"), XO_OK);
  EXPECT_EQ(LoginResult(store_, "second", "pw-2"), XO_ERR_GENERAL);
}

TEST_F(InitCommandTest, RefusesToOverwriteFileThatIsNoStore) {
  std::ofstream(store_) << "notes, not a database\n";

  CliResult run = InitAt(store_, "root", "pw");

  EXPECT_EQ(run.exitCode, kFailure);
  EXPECT_NE(run.err, "");
  std::ifstream kept(store_);
  std::string firstLine;
  std::getline(kept, firstLine);
  EXPECT_EQ(firstLine, "notes, not a database");
}

TEST_F(InitCommandTest, FailsWhereNoDirectoryCanBeMade) {
  // A regular file stands where the store's directory would have to be.
  std::ofstream(dir_ / "occupied") << "x";
  const std::string unreachable = dir_ / "occupied/policy.db";

  CliResult run = InitAt(unreachable, "root", "pw");

  EXPECT_EQ(run.exitCode, kFailure);
  EXPECT_TRUE(Contains(run.err, unreachable));
  EXPECT_EQ(run.out, "");
}

TEST_F(InitCommandTest, ReadsPasswordFromFirstLineOfStdin) {
  CliResult run = RunCli(InitArgs({"--store", store_, "--admin", "root", "--password-stdin"}), {},
                         "from-stdin\r\nsecond line\n");

  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(LoginResult(store_, "root", "from-stdin"), XO_OK);
  EXPECT_EQ(LoginResult(store_, "root", "from-stdin\r"), XO_ERR_GENERAL);
}

TEST_F(InitCommandTest, RefusesEmptyStdinPassword) {
  CliResult run =
      RunCli(InitArgs({"--store", store_, "--admin", "root", "--password-stdin"}), {}, "\n");

  EXPECT_EQ(run.exitCode, kUsageError);
  EXPECT_TRUE(Contains(run.err, "standard input"));
  EXPECT_FALSE(fs::exists(store_));
}

// Command lines that must be refused before any store is made.
struct BadCommandLine {
  const char* label;
  std::vector<std::string> args;  // "@STORE" stands for the test's store path
  const char* complaint;          // part of the message on standard error
};

void PrintTo(const BadCommandLine& line, std::ostream* out) { *out << line.label; }

class InitBadCommandLineTest : public InitCommandTest,
                               public ::testing::WithParamInterface<BadCommandLine> {};

TEST_P(InitBadCommandLineTest, IsRefusedWithUsageErrorAndNoStore) {
  std::vector<std::string> args = GetParam().args;
  for (std::string& arg : args) {
    if (arg == "@STORE") arg = store_;
  }

  CliResult run = RunCli(args, {{"XO_POLICY_STORE", store_}});

  EXPECT_EQ(run.exitCode, kUsageError) << run.out << run.err;
  EXPECT_TRUE(Contains(run.err, GetParam().complaint));
  EXPECT_FALSE(fs::exists(store_));
}

INSTANTIATE_TEST_SUITE_P(
    InitCommand, InitBadCommandLineTest,
    ::testing::Values(
        BadCommandLine{"NoCommand", {}, "command is required"},
        BadCommandLine{"UnknownCommand", {"frobnicate"}, "frobnicate"},
        BadCommandLine{
            "MissingAdmin", {"init", "--store", "@STORE", "--password", "pw"}, "--admin"},
        BadCommandLine{"EmptyAdmin",
                       {"init", "--store", "@STORE", "--admin", "", "--password", "pw"},
                       "administrator name"},
        BadCommandLine{
            "MissingPassword", {"init", "--store", "@STORE", "--admin", "root"}, "--password"},
        BadCommandLine{"EmptyPassword",
                       {"init", "--store", "@STORE", "--admin", "root", "--password", ""},
                       "password must not be empty"},
        BadCommandLine{"PasswordTwice",
                       {"init", "--store", "@STORE", "--admin", "root", "--password", "pw",
                        "--password-stdin"},
                       "--password"},
        BadCommandLine{"EmptyStore",
                       {"init", "--store", "", "--admin", "root", "--password", "pw"},
                       "--store"},
        BadCommandLine{"UnknownHashCost",
                       {"init", "--store", "@STORE", "--admin", "root", "--password", "pw",
                        "--hash-cost", "extreme"},
                       "extreme"},
        BadCommandLine{
            "UnknownOption",
            {"init", "--store", "@STORE", "--admin", "root", "--password", "pw", "--force"},
            "--force"}),
    [](const ::testing::TestParamInfo<BadCommandLine>& info) { return info.param.label; });

}  // namespace
}  // namespace xo::test
