// Parsing a document's text without holding all of it as values at once.
#pragma once

#include <functional>
#include <string>

#include "cli/policy/Document.h"

namespace xo::cli::policy {

// Parses JSON text as Json::parse does (and throws its parse_error), but
// hands each element of the top-level "domains" array to `domain` as soon as
// it is read, leaving that array empty in what it returns.
Json ParseSplittingDomains(const std::string& text, const std::function<void(Json&&)>& domain);

}  // namespace xo::cli::policy
