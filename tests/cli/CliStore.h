// A fresh store made with `xopolicy init` for each test, and the tool run
// against it as its first administrator, the way a script would run it.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "CliRunner.h"

namespace xo::test {

using Json = nlohmann::ordered_json;

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNotFound = 3;
constexpr int kExitNoLogin = 4;

::testing::AssertionResult Contains(const std::string& text, const std::string& part);

class CliStoreTest : public ::testing::Test {
 protected:
  static constexpr const char* kAdmin = "root";
  static constexpr const char* kPassword = "root-pw";

  void SetUp() override { InitStore(store_); }
  // Makes a store at `path` with the first administrator.
  static void InitStore(const std::string& path);

  // Runs `xopolicy ARGS --store STORE` logged in as `admin` (password in XO_PASSWORD).
  CliResult Run(std::vector<std::string> args, const std::string& admin = kAdmin,
                const std::string& password = kPassword, const std::string& input = "");
  // Runs with --json, expects success and returns what it printed.
  Json RunJson(std::vector<std::string> args);
  // Expects success; returns standard output.
  std::string Ok(std::vector<std::string> args);

  // Another administrator with the given rights flags (password "pw").
  void AddAdmin(const std::string& name, int flags);
  // A domain with a realm "portal" served by agent "gw" and scheme "Basic".
  void AddDomainWithRealm(const std::string& domain);

  std::string Snapshot() const;

  ScratchDir dir_;
  const std::string store_ = dir_ / "policy.db";
};

}  // namespace xo::test
