#include "CliStore.h"

#include "support/StoreFile.h"

namespace xo::test {

::testing::AssertionResult Contains(const std::string& text, const std::string& part) {
  if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "\"" << part << "\" not found in: " << text;
}

void CliStoreTest::InitStore(const std::string& path) {
  CliResult init = RunCli({"init", "--hash-cost", "minimum", "--store", path, "--admin", kAdmin,
                           "--password", kPassword});
  ASSERT_EQ(init.exitCode, 0) << init.err;
}

CliResult CliStoreTest::Run(std::vector<std::string> args, const std::string& admin,
                            const std::string& password, const std::string& input) {
  args.insert(args.end(), {"--store", store_, "--admin", admin});
  return RunCli(args, {{"XO_PASSWORD", password}, {"XO_POLICY_STORE", std::nullopt}}, input);
}

Json CliStoreTest::RunJson(std::vector<std::string> args) {
  args.push_back("--json");
  CliResult run = Run(args);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  Json parsed = Json::parse(run.out, nullptr, false);
  EXPECT_FALSE(parsed.is_discarded()) << run.out;
  return parsed;
}

std::string CliStoreTest::Ok(std::vector<std::string> args) {
  CliResult run = Run(args);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  return run.out;
}

void CliStoreTest::AddAdmin(const std::string& name, int flags) {
  Ok({"admin", "add", name, "--new-password", "pw", "--flags", std::to_string(flags)});
}

void CliStoreTest::AddDomainWithRealm(const std::string& domain) {
  Ok({"domain", "add", domain});
  CliResult agent = Run({"agent", "get", "gw"});
  if (agent.exitCode != 0) Ok({"agent", "add", "gw", "--agent-type", "HTTP Agent"});
  Ok({"realm", "add", "portal", "--domain", domain, "--agent", "gw", "--scheme", "Basic"});
}

std::string CliStoreTest::Snapshot() const { return SnapshotStoreFile(store_); }

}  // namespace xo::test
