// The options that hold for any command, given before it (`xopolicy --store
// URI --admin NAME export`, as git and kubectl take theirs) as well as after
// it (`xopolicy export --store URI --admin NAME`). Given in both places, the
// one after the command wins.
#pragma once

#include <CLI/CLI.hpp>

#include "cli/Connection.h"
#include "cli/Output.h"

namespace xo::cli {

// Adds --store, --admin, --password-stdin and --json to the application.
void AddGlobalOptions(CLI::App& app);

// A command's options that take what was given before the command where the
// command line leaves them unset. Called as the command adds its options.
void FollowGlobalOptions(ConnectionOptions& options);
void FollowGlobalOptions(OutputOptions& options);

// Fills in every following command's options; runs once the command line
// is parsed, before the command does anything.
void ApplyGlobalOptions();

}  // namespace xo::cli
