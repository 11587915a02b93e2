// Identifiers back to names: each reader fetches the object named by the
// identifier and copies its name. They give 0, or -1 when the fetch fails.
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoObjId.h"

namespace xo::frame {

int32_t DomainName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t RealmName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t SchemeName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t UserDirectoryName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t AgentName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t ResponseName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t PolicyName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t DictionaryAttrName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t OdbcQueryName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);

// These check the identifier's class first and give -19 for another class,
// without asking the store.
// With `realmName` given, the rule's realm name too (the realm reader's code
// on failure).
int32_t RuleName(const CXoAdmSession& s, const CXoObjId& id, std::string& name,
                 std::string* realmName = nullptr);
int32_t RuleGroupName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t ResponseGroupName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);
int32_t AgentGroupName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);

// Always 0: when the agent type cannot be fetched, `name` is left as it was.
int32_t AgentTypeName(const CXoAdmSession& s, const CXoObjId& id, std::string& name);

}  // namespace xo::frame
