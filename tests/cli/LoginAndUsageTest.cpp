// Logging in, and command lines the tool must refuse: each with a message a
// person understands, its own exit status, and the store left as it was.
#include <gtest/gtest.h>

#include <fstream>

#include "CliStore.h"

namespace xo::test {
namespace {

class LoginTest : public CliStoreTest {};

TEST_F(LoginTest, WrongPasswordOrUnknownAdministratorSaysSoAndChangesNothing) {
  const std::string before = Snapshot();

  for (const auto& [admin, password] :
       {std::pair{"root", "wrong"}, std::pair{"nobody", kPassword}}) {
    CliResult run = Run({"domain", "add", "D"}, admin, password);
    EXPECT_EQ(run.exitCode, kExitNoLogin) << admin;
    EXPECT_TRUE(Contains(run.err, "wrong administrator name or password"));
    EXPECT_TRUE(Contains(run.err, std::string("\"") + admin + "\""));
    EXPECT_EQ(run.out, "");
  }
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(LoginTest, TheLastSystemAdministratorWithAPasswordStaysAndTheToolSaysWhy) {
  const std::string before = Snapshot();
  for (const std::vector<std::string>& args : {std::vector<std::string>{"admin", "delete", kAdmin},
                                               {"admin", "update", kAdmin, "--flags", "2"}}) {
    CliResult run = Run(args);
    EXPECT_EQ(run.exitCode, kExitFailure) << args[1];
    EXPECT_TRUE(Contains(run.err, "last system administrator who logs in with a password"));
  }
  EXPECT_EQ(Snapshot(), before);
  // With a second one, either may go.
  AddAdmin("second", 0x1);
  EXPECT_EQ(Run({"admin", "delete", "second"}).exitCode, 0);
}

TEST_F(LoginTest, AdministratorWithoutRightsIsToldAtLogin) {
  AddAdmin("idle", 0);

  CliResult run = Run({"domain", "list"}, "idle", "pw");

  EXPECT_EQ(run.exitCode, kExitNoLogin);
  EXPECT_TRUE(Contains(run.err, "\"idle\" holds no rights"));
}

TEST_F(LoginTest, MissingStoreAndFileThatIsNoStoreAreNamed) {
  const std::string missing = dir_ / "missing.db";
  const std::string junk = dir_ / "junk.db";
  std::ofstream(junk) << "not a database\n";

  for (const std::string& path : {missing, junk}) {
    CliResult run = RunCli({"domain", "list", "--store", path, "--admin", "root"},
                           {{"XO_PASSWORD", kPassword}});
    EXPECT_EQ(run.exitCode, kExitNoLogin) << run.err;
    EXPECT_TRUE(Contains(run.err, path));
  }
  EXPECT_TRUE(Contains(RunCli({"domain", "list", "--store", missing, "--admin", "root"},
                              {{"XO_PASSWORD", kPassword}})
                           .err,
                       "xopolicy init"));
}

TEST_F(LoginTest, PasswordFromStdinAndStoreAndAdminFromEnvironment) {
  CliResult fromStdin =
      RunCli({"domain", "add", "D", "--store", store_, "--admin", kAdmin, "--password-stdin"},
             {{"XO_PASSWORD", std::nullopt}}, std::string(kPassword) + "\n");
  EXPECT_EQ(fromStdin.exitCode, 0) << fromStdin.err;

  CliResult fromEnvironment = RunCli(
      {"domain", "list"},
      {{"XO_POLICY_STORE", "sqlite:" + store_}, {"XO_ADMIN", kAdmin}, {"XO_PASSWORD", kPassword}});
  EXPECT_EQ(fromEnvironment.exitCode, 0) << fromEnvironment.err;
  EXPECT_TRUE(Contains(fromEnvironment.out, "D"));
}

TEST_F(LoginTest, NewAdministratorsPasswordIsTheLineAfterTheLoginPassword) {
  CliResult added =
      Run({"admin", "add", "eve", "--flags", "1", "--password-stdin", "--new-password-stdin"},
          kAdmin, "", std::string(kPassword) + "\neve-secret\n");
  ASSERT_EQ(added.exitCode, 0) << added.err;

  EXPECT_EQ(Run({"domain", "list"}, "eve", "eve-secret").exitCode, 0);
  EXPECT_EQ(Run({"domain", "list"}, "eve", kPassword).exitCode, kExitNoLogin);
}

TEST_F(LoginTest, NoPasswordAndNoTerminalIsAUsageError) {
  CliResult run = RunCli({"domain", "list", "--store", store_, "--admin", kAdmin},
                         {{"XO_PASSWORD", std::nullopt}});

  EXPECT_EQ(run.exitCode, kExitUsage);
  EXPECT_TRUE(Contains(run.err, "XO_PASSWORD"));
}

// --store, --admin, --password-stdin and --json before the command as well
// as after it; given in both places, the one after the command wins.
struct GlobalLine {
  const char* label;
  std::vector<std::string> args;  // @STORE: the test's store; @MISSING, @NEW: no store there
  int exitCode;
  const char* said;  // part of standard output, or of standard error when it fails
  const char* input = "";
};

void PrintTo(const GlobalLine& line, std::ostream* out) { *out << line.label; }

class GlobalOptionsTest : public CliStoreTest, public ::testing::WithParamInterface<GlobalLine> {};

TEST_P(GlobalOptionsTest, HoldBeforeOrAfterTheCommand) {
  Ok({"domain", "add", "D"});
  std::vector<std::string> args = GetParam().args;
  for (std::string& arg : args) {
    if (arg == "@STORE") arg = store_;
    if (arg == "@MISSING" || arg == "@NEW") arg = dir_ / (arg == "@NEW" ? "new.db" : "missing.db");
  }

  CliResult run = RunCli(
      args,
      {{"XO_PASSWORD", kPassword}, {"XO_POLICY_STORE", std::nullopt}, {"XO_ADMIN", std::nullopt}},
      GetParam().input);

  EXPECT_EQ(run.exitCode, GetParam().exitCode) << run.out << run.err;
  EXPECT_TRUE(Contains(GetParam().exitCode == 0 ? run.out : run.err, GetParam().said));
}

INSTANTIATE_TEST_SUITE_P(
    Cli, GlobalOptionsTest,
    ::testing::Values(
        GlobalLine{"Before", {"--store", "@STORE", "--admin", "root", "domain", "list"}, 0, "D"},
        GlobalLine{"After", {"domain", "list", "--store", "@STORE", "--admin", "root"}, 0, "D"},
        GlobalLine{
            "StoreAfterWins",
            {"--store", "@MISSING", "--admin", "root", "domain", "list", "--store", "@STORE"},
            0,
            "D"},
        GlobalLine{
            "StoreAfterWinsAlsoWhenMissing",
            {"--store", "@STORE", "--admin", "root", "domain", "list", "--store", "@MISSING"},
            kExitNoLogin,
            "missing.db"},
        GlobalLine{
            "AdminAfterWins",
            {"--store", "@STORE", "--admin", "nobody", "domain", "get", "D", "--admin", "root"},
            0,
            "D"},
        GlobalLine{"Json",
                   {"--json", "--store", "@STORE", "--admin", "root", "domain", "list"},
                   0,
                   "\"name\": \"D\""},
        GlobalLine{"PasswordFromStdin",
                   {"--password-stdin", "--store", "@STORE", "--admin", "root", "domain", "list"},
                   kExitNoLogin,
                   "wrong administrator name or password",
                   "not-the-password\n"},
        GlobalLine{
            "Export", {"--store", "@STORE", "--admin", "root", "export"}, 0, "\"name\": \"D\""},
        GlobalLine{"Init",
                   {"--store", "@NEW", "--admin", "first", "init", "--password", "pw",
                    "--hash-cost", "minimum"},
                   0,
                   "system administrator \"first\""},
        GlobalLine{"EmptyStore", {"--store", "", "domain", "list"}, kExitUsage, "--store"},
        GlobalLine{"Help", {"--help"}, 0, "the one after the command wins"}),
    [](const ::testing::TestParamInfo<GlobalLine>& info) { return info.param.label; });

// Command lines refused before anything is done.
struct BadLine {
  const char* label;
  std::vector<std::string> args;
  const char* complaint;
};

void PrintTo(const BadLine& line, std::ostream* out) { *out << line.label; }

class BadCommandLineTest : public CliStoreTest, public ::testing::WithParamInterface<BadLine> {};

TEST_P(BadCommandLineTest, IsAUsageErrorThatChangesNothing) {
  Ok({"domain", "add", "D"});
  const std::string before = Snapshot();

  CliResult run = Run(GetParam().args);

  EXPECT_EQ(run.exitCode, kExitUsage) << run.out << run.err;
  EXPECT_TRUE(Contains(run.err, GetParam().complaint));
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(Snapshot(), before);
}

const std::string kLongText(1024, 'x');

INSTANTIATE_TEST_SUITE_P(
    Cli, BadCommandLineTest,
    ::testing::Values(
        BadLine{"UnknownNoun", {"frobnicate", "list"}, "unknown command \"frobnicate\""},
        BadLine{"UnknownVerb", {"domain", "frobnicate"}, "unknown verb \"frobnicate\""},
        BadLine{"NoVerb", {"realm"}, "a verb for realm is required"},
        BadLine{"UnknownOption", {"domain", "add", "E", "--colour", "red"}, "--colour"},
        BadLine{"MissingName", {"domain", "get"}, "name is required"},
        BadLine{"MissingDomain", {"realm", "list"}, "--domain is required"},
        BadLine{"MissingRequiredField", {"agent", "add", "a"}, "--agent-type is required"},
        BadLine{"NotANumber",
                {"agent", "add", "a", "--agent-type", "HTTP Agent", "--int", "7x"},
                "--int takes a whole number, not \"7x\""},
        BadLine{"NotAFlag",
                {"policy", "add", "p", "--domain", "D", "--flag", "maybe"},
                "--flag takes true or false"},
        BadLine{"TextTooLong",
                {"domain", "update", "D", "--description", kLongText},
                "--description is longer than 1023 bytes"},
        BadLine{"NothingToUpdate", {"domain", "update", "D"}, "nothing to change"},
        BadLine{"UnknownGroupType", {"group", "list", "--type", "user"}, "--type"},
        BadLine{"RuleGroupWithoutDomain", {"group", "list", "--type", "rule"}, "give --domain"},
        BadLine{"BadTime", {"audit", "--since", "last week"}, "ISO 8601"},
        BadLine{"CommandOutOfRange", {"command", "6"}, "not in range"},
        BadLine{"NotAnIdentifier", {"rename", "D", "E"}, "not an object identifier"}),
    [](const ::testing::TestParamInfo<BadLine>& info) { return info.param.label; });

}  // namespace
}  // namespace xo::test
