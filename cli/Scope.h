// Where the objects of a command live (system-wide, in a domain, in a realm of
// a domain, or wherever a group's type puts it), the options that say so, and
// the checking of library results in words that name that place.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

#include "cli/Connection.h"
#include "cli/Output.h"

namespace xo::cli {

enum class ScopeKind {
  System,  // outside every domain
  Domain,  // --domain NAME
  Realm,   // --domain NAME --realm NAME
  Group,   // --type rule|response|agent, and --domain for rule and response groups
};

struct Scope {
  ScopeKind kind = ScopeKind::System;
  std::string domain;
  std::string realm;
  std::string groupType;  // "rule", "response" or "agent"
  std::string userDir;    // a user directory the command names, looked for on refusal

  static Scope Of(ScopeKind kind, const std::string& domain) {
    Scope scope;
    scope.kind = kind;
    scope.domain = domain;
    return scope;
  }

  // The library's group type: 1 rule, 2 response, 3 agent.
  int32_t GroupTypeCode() const;
  bool InDomain() const;
  // " in domain \"D\"", " in realm \"R\" of domain \"D\"", or nothing.
  std::string Where() const;
  // "rule group", ... for groups; the noun's own kind otherwise.
  std::string KindOf(const std::string& nounKind) const;
  // Stops with a usage error when the command line leaves the scope open.
  void CheckComplete() const;
};

// What every verb that works on the store takes: who logs in where, how to
// print, and the scope of its objects.
struct VerbOptions {
  ConnectionOptions connection;
  OutputOptions output;
  Scope scope;
};

// Adds the connection, output and scope options. For a listing the realm is
// optional (every realm of the domain when it is not given).
void AddVerbOptions(CLI::App& verb, VerbOptions& options, ScopeKind kind, bool listing = false);

// Throws unless `code` is 0. A bare -1 is explained where the store can tell
// why: there is no such domain, or the administrator may not manage it.
void CheckCall(const Connection& connection, const Scope& scope, int32_t code,
               const std::string& what);

// Stops the command: an object it names does not exist.
[[noreturn]] void NotFound(const std::string& message);

// `"text"`, for names in messages.
std::string Quoted(const std::string& text);

}  // namespace xo::cli
