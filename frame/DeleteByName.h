// Deleting every object of a kind that bears a name.
#pragma once

#include <cstdint>
#include <string>

#include "XoObjClasses.h"
#include "frame/Handles.h"

namespace xo::frame {

enum class RightsScope { Domain, System };

// Handle check; a non-empty domain name is resolved and scopes the template;
// MANAGE on RootObjectId (System) or on that domain (Domain: the null
// identifier when no domain is named); then every object whose `prop` holds
// `name` is deleted in search order. The first failed delete stops the walk
// with its mapped code; what was deleted before it stays deleted. No match
// is success.
int32_t DeleteByName(const PolicyApiSession* handle, const std::string& name,
                     const std::string& domainName, uint32_t prop, CXoObjBase& templ,
                     RightsScope scope);

}  // namespace xo::frame
