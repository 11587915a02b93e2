// `xopolicy export` and `xopolicy apply`: the store as a JSON document, and a
// document made true in the store in one transaction.
#pragma once

#include <CLI/CLI.hpp>

namespace xo::cli {

void RegisterPolicyAsCodeCommands(CLI::App& app);

}  // namespace xo::cli
