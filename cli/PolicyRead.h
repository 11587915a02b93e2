// Reading the store into a policy document, through the library's Get and
// listing functions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "cli/PolicyModel.h"

namespace xo::cli::policy {

struct ReadScope {
  bool system = true;  // read the "system" section
  // The domains to read; all of them when not given.
  std::optional<std::vector<std::string>> domains;
  // Administrators' password hashes are left out unless asked for.
  bool passwordHashes = false;
  // ODBC query schemes to read besides those that user directories name (the
  // store lists no others).
  std::vector<std::string> odbcQuerySchemes;
  // When given, receives "collection/name" of the objects every store is
  // made with (such as the built-in scheme), which pruning leaves alone.
  std::vector<std::string>* builtIn = nullptr;
};

// The store as a canonical document. Domains named in the scope that do not
// exist are left out. Throws CommandError when a read fails.
Json ReadStore(PolicyApiSession* handle, const ReadScope& scope);

// The names of every domain of the store.
std::vector<std::string> DomainNames(PolicyApiSession* handle);

}  // namespace xo::cli::policy
