// The kinds of objects of the document, each in a file of its own: its
// fields, how its objects are read from the store, and how they are created,
// updated and deleted.
#pragma once

#include "cli/policy/Document.h"
#include "cli/policy/StoreIds.h"

namespace xo::cli::policy {

const Kind& OdbcQuerySchemeKind();
const Kind& UserDirectoryKind();
const Kind& SchemeKind();
const Kind& AgentKind();
const Kind& AgentGroupKind();
const Kind& AdministratorKind();

const Kind& RealmKind();
const Kind& RuleKind();
const Kind& RuleGroupKind();
const Kind& ResponseKind();
const Kind& ResponseGroupKind();
const Kind& PolicyKind();

// A rule as the document gives it.
Json RuleObject(const DomainIds::Rule& rule);

}  // namespace xo::cli::policy
