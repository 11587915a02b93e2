// Random input records: fields drawn from the pools of what they name, odd
// texts, random flags and integers, garbage in the tag and next pointer.
#pragma once

#include "Driver.h"

namespace xo::fuzz {

void Fill(Driver& d, RuleRecord& r);
void Fill(Driver& d, PolicyRecord& r);
void Fill(Driver& d, RealmRecord& r);
void Fill(Driver& d, ResponseRecord& r);
void Fill(Driver& d, UserDirRecord& r);
void Fill(Driver& d, AgentRecord& r);
void Fill(Driver& d, DomainRecord& r);
void Fill(Driver& d, PolicyLinkRecord& r);
void Fill(Driver& d, ResponseAttrRecord& r);
void Fill(Driver& d, SchemeRecord& r);
void Fill(Driver& d, AdminRecord& r);
void Fill(Driver& d, GroupRecord& r);
void Fill(Driver& d, OdbcQuerySchemeRecord& r);
void Fill(Driver& d, ManagementCommandRecord& r);

}  // namespace xo::fuzz
