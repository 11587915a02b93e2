// The lists of a policy: its links to rules and rule groups, and the
// directory entries attached to it.
#pragma once

#include <string>
#include <vector>

#include "cli/policy/Document.h"
#include "cli/policy/Plan.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli::policy {

const std::vector<FieldSpec>& LinkFields();
Json ReadLinks(Reader& reader, const std::string& policy);
void SyncLinks(Writer& writer, const Change& change, const std::string& policy);

const std::vector<FieldSpec>& PolicyUserFields();
Json ReadPolicyUsers(Reader& reader, const std::string& policyOid);
void SyncPolicyUsers(Writer& writer, const Change& change, const std::string& policy);

}  // namespace xo::cli::policy
