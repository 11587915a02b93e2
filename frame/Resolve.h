// Names to identifiers. Every resolver gives -16 and the null identifier for
// an empty name without asking the store, its kind's code when the store's
// search fails, and -1 when the search finds no object or more than one (the
// result is then left as it was).
#pragma once

#include <cstdint>
#include <string>

#include "XoAdmSession.h"
#include "XoObjId.h"

namespace xo::frame {

// The shapes of the resolvers below, for steps that take one.
using SystemResolver = int32_t (*)(const CXoAdmSession& s, const std::string& name, CXoObjId& id);
using DomainResolver = int32_t (*)(const CXoAdmSession& s, const std::string& name,
                                   const CXoObjId& domain, CXoObjId& id);

// System-wide kinds.
int32_t ResolveDomain(const CXoAdmSession& s, const std::string& name, CXoObjId& id);     // -9
int32_t ResolveAdmin(const CXoAdmSession& s, const std::string& name, CXoObjId& id);      // -23
int32_t ResolveOdbcQuery(const CXoAdmSession& s, const std::string& name, CXoObjId& id);  // -26
int32_t ResolveUserDirectory(const CXoAdmSession& s, const std::string& name,
                             CXoObjId& id);                                                // -10
int32_t ResolveAgentGroup(const CXoAdmSession& s, const std::string& name, CXoObjId& id);  // -22
int32_t ResolveScheme(const CXoAdmSession& s, const std::string& name, CXoObjId& id);      // -13
int32_t ResolveAgent(const CXoAdmSession& s, const std::string& name, CXoObjId& id);       // -11
int32_t ResolveAgentType(const CXoAdmSession& s, const std::string& name, CXoObjId& id);   // -12

// A dictionary attribute (CXoObjVendorAttr) of an agent type, as response
// attributes name them. Each hit is fetched and the last one the store can
// fetch wins; -14 when the search fails or no hit can be fetched.
int32_t ResolveDictionaryAttr(const CXoAdmSession& s, const std::string& name, CXoObjId& id);

// Kinds that live in a domain.
int32_t ResolvePolicy(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                      CXoObjId& id);  // -7
int32_t ResolveRuleGroup(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                         CXoObjId& id);  // -22
int32_t ResolveResponseGroup(const CXoAdmSession& s, const std::string& name,
                             const CXoObjId& domain, CXoObjId& id);  // -22
int32_t ResolveResponse(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                        CXoObjId& id);  // -6
int32_t ResolveRealm(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                     CXoObjId& id);  // -8
// Rules are named within their realm.
int32_t ResolveRule(const CXoAdmSession& s, const std::string& name, const CXoObjId& domain,
                    const CXoObjId& realm, CXoObjId& id);  // -5

}  // namespace xo::frame
