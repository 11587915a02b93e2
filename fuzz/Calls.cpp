#include "Calls.h"

#include "Records.h"
#include "Setup.h"

namespace xo::fuzz {

namespace {

using Clears = Driver::Clears;

// Calls `add` with a random record (or null). The record must come back as
// it was given, but for the identifier a successful save writes back.
template <class Record, class Add>
int32_t WithRecord(Driver& d, Add&& add) {
  Record record;
  Fill(d, record);
  Record given;
  std::memcpy(&given, &record, sizeof record);
  const int32_t rc = add(d.Maybe(&record));
  if (rc == XO_OK) std::memcpy(given.objectId, record.objectId, sizeof record.objectId);
  if (std::memcmp(&given, &record, sizeof record) != 0) d.Fail("an input record was written");
  return rc;
}

uint8_t Update(Driver& d) { return d.Chance(40) ? 1 : (d.Chance(95) ? 0 : d.AnyFlag()); }

int32_t GroupType(Driver& d) {
  if (d.Chance(85)) return static_cast<int32_t>(1 + d.Below(3));
  static const int32_t kOdd[] = {0, 4, -1, INT32_MIN};
  return kOdd[d.Below(4)];
}

// Agent groups live outside domains: their domain is mostly null.
const char* GroupDomain(Driver& d, int32_t type) {
  return type == XO_GROUP_AGENT && d.Chance(80) ? nullptr : d.Name(Kind::Domain);
}

Kind MemberKind(Driver& d, int32_t type) {
  if (d.Chance(30)) return Kind::Group;
  return type == XO_GROUP_RULE       ? Kind::Rule
         : type == XO_GROUP_RESPONSE ? Kind::Response
                                     : Kind::Agent;
}

uint32_t DomainKind(Driver& d) {
  static const uint32_t kKinds[] = {1, 2, 3, 4, 5, 6, 7, 12};
  return d.Chance(85) ? kKinds[d.Below(8)] : static_cast<uint32_t>(d.AnyInt());
}

uint32_t GlobalKind(Driver& d) {
  return d.Chance(85) ? 7 + d.Below(6) : static_cast<uint32_t>(d.AnyInt());
}

// Within the enumerations' ranges of values, as a C caller could pass them.
Xo_PolicyResolution_t Resolution(Driver& d) {
  return static_cast<Xo_PolicyResolution_t>(d.Below(8));
}
Xo_Api_DisabledReason_t Reason(Driver& d) {
  return static_cast<Xo_Api_DisabledReason_t>(d.Below(8));
}

int32_t Login(Driver& d) {
  static const char* const kPasswords[] = {"correct horse", "wrong", ""};
  PolicyApiSession* handle = nullptr;
  PolicyApiSession** out = d.Maybe(&handle);
  const char* name = d.Chance(60) ? "sysadmin" : d.Name(Kind::Admin);
  const int32_t rc = Xo_PolicyApi_Login(out, nullptr, name, kPasswords[d.Below(3)],
                                        d.Chance(90) ? "localhost" : nullptr, "", 0);
  if (rc == XO_OK && handle != nullptr) {
    d.Adopt(handle);
  } else if (rc == XO_OK) {
    d.Fail("Login succeeded without a handle");
  } else {
    d.Release(handle);
  }
  return rc;
}

// Logs out a handle that is not the main session: the second session, or
// one that is not live.
int32_t Logout(Driver& d) {
  PolicyApiSession* handle = d.Handle();
  if (handle == d.Main()) return d.ToggleSecondSession();
  const int32_t rc = Xo_PolicyApi_Logout(handle);
  if (rc == XO_OK && d.IsSecond(handle)) d.Retire(handle);
  return rc;
}

int32_t SetSearchOrder(Driver& d) {
  std::vector<const char*> names;
  for (uint32_t n = d.Below(4); n > 0; --n) names.push_back(d.Name(Kind::UserDir));
  // A null inside the list ends it early.
  names.push_back(nullptr);
  PolicyApiSession* handle = d.Handle();
  return Xo_PolicyApi_SetUserDirSearchOrder(handle, d.Name(Kind::Domain),
                                            d.Maybe(const_cast<char**>(names.data())));
}

const std::vector<Call> kCalls = {
    {"Login", 2, Login},
    {"Logout", 2, Logout},
    {"SecondSession", 2, [](Driver& d) { return d.ToggleSecondSession(); }},
    {"Rebuild", 2, Rebuild},
    {"FreeMemory(null)", 1, [](Driver&) { return Xo_PolicyApi_FreeMemory(nullptr); }},
    {"FreeStringArray(null)", 1, [](Driver&) { return Xo_PolicyApi_FreeStringArray(nullptr); }},

    // Rules, policies, policy links, policy users.
    {"AddRule", 12,
     [](Driver& d) {
       return WithRecord<RuleRecord>(d, [&](RuleRecord* r) {
         return Xo_PolicyApi_AddRule(d.Handle(), d.Name(Kind::Domain), r, Update(d));
       });
     }},
    {"DeleteRule", 3,
     [](Driver& d) {
       return Xo_PolicyApi_DeleteRule(d.Handle(), d.Name(Kind::Rule), d.Name(Kind::Realm),
                                      d.Name(Kind::Domain));
     }},
    {"GetRule", 4,
     [](Driver& d) {
       return d.List<RuleRecord>(RuleRecordType, [&](RuleRecord** l) {
         return Xo_PolicyApi_GetRule(d.Handle(), d.Name(Kind::Rule), d.Name(Kind::Realm),
                                     d.Name(Kind::Domain), l);
       });
     }},
    {"AddPolicy", 6,
     [](Driver& d) {
       return WithRecord<PolicyRecord>(d, [&](PolicyRecord* r) {
         return Xo_PolicyApi_AddPolicy(d.Handle(), d.Name(Kind::Domain), r, Update(d));
       });
     }},
    {"DeletePolicy", 2,
     [](Driver& d) {
       return Xo_PolicyApi_DeletePolicy(d.Handle(), d.Name(Kind::Policy), d.Name(Kind::Domain));
     }},
    {"GetPolicy", 3,
     [](Driver& d) {
       return d.List<PolicyRecord>(PolicyRecordType, [&](PolicyRecord** l) {
         return Xo_PolicyApi_GetPolicy(d.Handle(), d.Name(Kind::Policy), d.Name(Kind::Domain), l);
       });
     }},
    {"AddPolicyLink", 8,
     [](Driver& d) {
       return WithRecord<PolicyLinkRecord>(d, [&](PolicyLinkRecord* r) {
         return Xo_PolicyApi_AddPolicyLink(d.Handle(), d.Name(Kind::Domain), d.Name(Kind::Policy),
                                           r);
       });
     }},
    {"RemoveRuleFromPolicy", 3,
     [](Driver& d) {
       return Xo_PolicyApi_RemoveRuleFromPolicy(d.Handle(), d.Name(Kind::Domain),
                                                d.Name(Kind::Policy), d.Name(Kind::Realm),
                                                d.Name(d.Chance(70) ? Kind::Rule : Kind::Group));
     }},
    {"GetPolicyLinks", 3,
     [](Driver& d) {
       return d.List<PolicyLinkRecord>(PolicyLinkRecordType, [&](PolicyLinkRecord** l) {
         return Xo_PolicyApi_GetPolicyLinks(d.Handle(), d.Name(Kind::Domain), d.Name(Kind::Policy),
                                            l);
       });
     }},
    {"SetResponseInPolicyLink", 3,
     [](Driver& d) {
       return WithRecord<PolicyLinkRecord>(d, [&](PolicyLinkRecord* r) {
         return Xo_PolicyApi_SetResponseInPolicyLink(d.Handle(), d.Name(Kind::Domain),
                                                     d.Name(Kind::Policy), r);
       });
     }},
    {"AddUsersToPolicy", 4,
     [](Driver& d) {
       return Xo_PolicyApi_AddUsersToPolicy(d.Handle(), d.Name(Kind::Domain), d.Name(Kind::Policy),
                                            d.Name(Kind::UserDir), d.Name(Kind::Entry),
                                            Resolution(d));
     }},
    {"RemoveUsersFromPolicy", 2,
     [](Driver& d) {
       return Xo_PolicyApi_RemoveUsersFromPolicy(d.Handle(), d.Name(Kind::Domain),
                                                 d.Name(Kind::Policy), d.Name(Kind::UserDir),
                                                 d.Name(Kind::Entry));
     }},
    {"GetPolicyUsers", 2,
     [](Driver& d) {
       return d.List<UserEntryRecord>(UserEntryRecordType, [&](UserEntryRecord** l) {
         return Xo_PolicyApi_GetPolicyUsers(d.Handle(), d.Name(Kind::Domain), d.Name(Kind::Policy),
                                            d.Name(Kind::UserDir), l);
       });
     }},

    // Domains, realms, responses, response attributes.
    {"AddDomain", 4,
     [](Driver& d) {
       return WithRecord<DomainRecord>(
           d, [&](DomainRecord* r) { return Xo_PolicyApi_AddDomain(d.Handle(), r, Update(d)); });
     }},
    {"DeleteDomain", 1,
     [](Driver& d) { return Xo_PolicyApi_DeleteDomain(d.Handle(), d.Name(Kind::Domain)); }},
    {"GetDomain", 3,
     [](Driver& d) {
       return d.List<DomainRecord>(DomainRecordType, [&](DomainRecord** l) {
         return Xo_PolicyApi_GetDomain(d.Handle(), d.Name(Kind::Domain), l);
       });
     }},
    {"GetDomainObjectNames", 4,
     [](Driver& d) {
       return d.Names(Clears::HandsOutPart, [&](char*** n) {
         return Xo_PolicyApi_GetDomainObjectNames(d.Handle(), d.Name(Kind::Domain), DomainKind(d),
                                                  n);
       });
     }},
    {"AddRealm", 10,
     [](Driver& d) {
       return WithRecord<RealmRecord>(d, [&](RealmRecord* r) {
         return Xo_PolicyApi_AddRealm(d.Handle(), d.Name(Kind::Domain), r, Update(d));
       });
     }},
    {"DeleteRealm", 2,
     [](Driver& d) {
       return Xo_PolicyApi_DeleteRealm(d.Handle(), d.Name(Kind::Realm), d.Name(Kind::Domain));
     }},
    {"GetRealm", 3,
     [](Driver& d) {
       return d.List<RealmRecord>(RealmRecordType, [&](RealmRecord** l) {
         return Xo_PolicyApi_GetRealm(d.Handle(), d.Name(Kind::Realm), d.Name(Kind::Domain), l);
       });
     }},
    {"FlushRealm", 1,
     [](Driver& d) {
       return Xo_PolicyApi_FlushRealm(d.Handle(), d.Name(Kind::Realm), d.Name(Kind::Domain));
     }},
    {"AddResponse", 5,
     [](Driver& d) {
       return WithRecord<ResponseRecord>(d, [&](ResponseRecord* r) {
         return Xo_PolicyApi_AddResponse(d.Handle(), d.Name(Kind::Domain), r, Update(d));
       });
     }},
    {"DeleteResponse", 2,
     [](Driver& d) {
       return Xo_PolicyApi_DeleteResponse(d.Handle(), d.Name(Kind::Response), d.Name(Kind::Domain));
     }},
    {"GetResponse", 3,
     [](Driver& d) {
       return d.List<ResponseRecord>(ResponseRecordType, [&](ResponseRecord** l) {
         return Xo_PolicyApi_GetResponse(d.Handle(), d.Name(Kind::Response), d.Name(Kind::Domain),
                                         l);
       });
     }},
    {"AddResponseAttr", 5,
     [](Driver& d) {
       return WithRecord<ResponseAttrRecord>(d, [&](ResponseAttrRecord* r) {
         return Xo_PolicyApi_AddResponseAttr(d.Handle(), d.Name(Kind::Response),
                                             d.Name(Kind::Domain), r);
       });
     }},
    {"RemoveResponseAttr", 2,
     [](Driver& d) {
       return WithRecord<ResponseAttrRecord>(d, [&](ResponseAttrRecord* r) {
         return Xo_PolicyApi_RemoveResponseAttr(d.Handle(), d.Name(Kind::Response),
                                                d.Name(Kind::Domain), r);
       });
     }},
    {"GetResponseAttrs", 3,
     [](Driver& d) {
       return d.List<ResponseAttrRecord>(ResponseAttrRecordType, [&](ResponseAttrRecord** l) {
         return Xo_PolicyApi_GetResponseAttrs(d.Handle(), d.Name(Kind::Response),
                                              d.Name(Kind::Domain), l);
       });
     }},

    // User directories, ODBC query schemes, directory users.
    {"CreateUserDir", 4,
     [](Driver& d) {
       return WithRecord<UserDirRecord>(d, [&](UserDirRecord* r) {
         return Xo_PolicyApi_CreateUserDir(d.Handle(), r, Update(d));
       });
     }},
    {"DeleteUserDir", 1,
     [](Driver& d) { return Xo_PolicyApi_DeleteUserDir(d.Handle(), d.Name(Kind::UserDir)); }},
    {"GetUserDir", 2,
     [](Driver& d) {
       return d.List<UserDirRecord>(UserDirRecordType, [&](UserDirRecord** l) {
         return Xo_PolicyApi_GetUserDir(d.Handle(), d.Name(Kind::UserDir), l);
       });
     }},
    {"AddUserDirToDomain", 3,
     [](Driver& d) {
       return Xo_PolicyApi_AddUserDirToDomain(d.Handle(), d.Name(Kind::UserDir),
                                              d.Name(Kind::Domain));
     }},
    {"RemoveUserDirFromDomain", 2,
     [](Driver& d) {
       return Xo_PolicyApi_RemoveUserDirFromDomain(d.Handle(), d.Name(Kind::UserDir),
                                                   d.Name(Kind::Domain));
     }},
    {"GetUserDirSearchOrder", 2,
     [](Driver& d) {
       return d.Names(Clears::Never, [&](char*** n) {
         return Xo_PolicyApi_GetUserDirSearchOrder(d.Handle(), d.Name(Kind::Domain), n);
       });
     }},
    {"SetUserDirSearchOrder", 2, SetSearchOrder},
    {"CreateODBCQueryScheme", 2,
     [](Driver& d) {
       return WithRecord<OdbcQuerySchemeRecord>(d, [&](OdbcQuerySchemeRecord* r) {
         return Xo_PolicyApi_CreateODBCQueryScheme(d.Handle(), r, Update(d));
       });
     }},
    {"DeleteODBCQueryScheme", 1,
     [](Driver& d) {
       return Xo_PolicyApi_DeleteODBCQueryScheme(d.Handle(), d.Name(Kind::OdbcQuery));
     }},
    {"GetODBCQueryScheme", 2,
     [](Driver& d) {
       return d.List<OdbcQuerySchemeRecord>(
           OdbcQuerySchemeRecordType, [&](OdbcQuerySchemeRecord** l) {
             return Xo_PolicyApi_GetODBCQueryScheme(d.Handle(), d.Name(Kind::OdbcQuery), l);
           });
     }},
    {"GetDirectoryContents", 1,
     [](Driver& d) {
       return d.List<UserEntryRecord>(UserEntryRecordType, [&](UserEntryRecord** l) {
         return Xo_PolicyApi_GetDirectoryContents(d.Handle(), d.Name(Kind::UserDir), l);
       });
     }},
    {"SetDisableUserState", 1,
     [](Driver& d) {
       return Xo_PolicyApi_SetDisableUserState(d.Handle(), d.Name(Kind::UserDir),
                                               d.Name(Kind::Entry), Reason(d), nullptr);
     }},
    {"GetDisableUserState", 1,
     [](Driver& d) {
       Xo_Api_DisabledReason_t reason = Xo_Api_NotDisabled;
       return Xo_PolicyApi_GetDisableUserState(d.Handle(), d.Name(Kind::UserDir),
                                               d.Name(Kind::Entry), d.Maybe(&reason), nullptr);
     }},
    {"SetPassword", 1,
     [](Driver& d) {
       return Xo_PolicyApi_SetPassword(d.Handle(), d.Name(Kind::UserDir), d.Name(Kind::Entry),
                                       d.Name(Kind::Text), nullptr);
     }},
    {"FlushUser", 1,
     [](Driver& d) {
       return Xo_PolicyApi_FlushUser(d.Handle(), d.Name(Kind::UserDir), d.Name(Kind::Entry));
     }},

    // Agents, authentication schemes, administrators.
    {"AddAgent", 4,
     [](Driver& d) {
       return WithRecord<AgentRecord>(
           d, [&](AgentRecord* r) { return Xo_PolicyApi_AddAgent(d.Handle(), r, Update(d)); });
     }},
    {"DeleteAgent", 1,
     [](Driver& d) { return Xo_PolicyApi_DeleteAgent(d.Handle(), d.Name(Kind::Agent)); }},
    {"GetAgent", 2,
     [](Driver& d) {
       return d.List<AgentRecord>(AgentRecordType, [&](AgentRecord** l) {
         return Xo_PolicyApi_GetAgent(d.Handle(), d.Name(Kind::Agent), l);
       });
     }},
    {"AddScheme", 3,
     [](Driver& d) {
       return WithRecord<SchemeRecord>(
           d, [&](SchemeRecord* r) { return Xo_PolicyApi_AddScheme(d.Handle(), r, Update(d)); });
     }},
    {"DeleteScheme", 1,
     [](Driver& d) { return Xo_PolicyApi_DeleteScheme(d.Handle(), d.Name(Kind::Scheme)); }},
    {"GetScheme", 2,
     [](Driver& d) {
       return d.List<SchemeRecord>(SchemeRecordType, [&](SchemeRecord** l) {
         return Xo_PolicyApi_GetScheme(d.Handle(), d.Name(Kind::Scheme), l);
       });
     }},
    {"AddAdmin", 3,
     [](Driver& d) {
       return WithRecord<AdminRecord>(
           d, [&](AdminRecord* r) { return Xo_PolicyApi_AddAdmin(d.Handle(), r, Update(d)); });
     }},
    {"DeleteAdmin", 1,
     [](Driver& d) { return Xo_PolicyApi_DeleteAdmin(d.Handle(), d.Name(Kind::Admin)); }},
    {"GetAdmin", 2,
     [](Driver& d) {
       return d.List<AdminRecord>(AdminRecordType, [&](AdminRecord** l) {
         return Xo_PolicyApi_GetAdmin(d.Handle(), d.Chance(20) ? "sysadmin" : d.Name(Kind::Admin),
                                      l);
       });
     }},
    {"AddAdminToDomain", 2,
     [](Driver& d) {
       return Xo_PolicyApi_AddAdminToDomain(d.Handle(), d.Name(Kind::Admin), d.Name(Kind::Domain));
     }},
    {"RemoveAdminFromDomain", 1,
     [](Driver& d) {
       return Xo_PolicyApi_RemoveAdminFromDomain(d.Handle(), d.Name(Kind::Admin),
                                                 d.Name(Kind::Domain));
     }},

    // Groups.
    {"AddGroup", 5,
     [](Driver& d) {
       const int32_t type = GroupType(d);
       return WithRecord<GroupRecord>(d, [&](GroupRecord* r) {
         return Xo_PolicyApi_AddGroup(d.Handle(), type, GroupDomain(d, type), r, Update(d));
       });
     }},
    {"GetGroup", 2,
     [](Driver& d) {
       const int32_t type = GroupType(d);
       return d.List<GroupRecord>(GroupRecordType, [&](GroupRecord** l) {
         return Xo_PolicyApi_GetGroup(d.Handle(), type, d.Name(Kind::Group), GroupDomain(d, type),
                                      l);
       });
     }},
    {"GetGroupNames", 3,
     [](Driver& d) {
       const int32_t type = GroupType(d);
       return d.Names(Clears::OnFailure, [&](char*** n) {
         return Xo_PolicyApi_GetGroupNames(d.Handle(), type, d.Name(Kind::Group),
                                           GroupDomain(d, type), n);
       });
     }},
    {"AddToGroup", 8,
     [](Driver& d) {
       const int32_t type = GroupType(d);
       return Xo_PolicyApi_AddToGroup(d.Handle(), type, d.Name(Kind::Group),
                                      d.Name(MemberKind(d, type)), GroupDomain(d, type),
                                      d.Chance(50) ? nullptr : d.Name(Kind::Realm));
     }},
    {"RemoveFromGroup", 3,
     [](Driver& d) {
       const int32_t type = GroupType(d);
       return Xo_PolicyApi_RemoveFromGroup(d.Handle(), type, d.Name(Kind::Group),
                                           d.Name(MemberKind(d, type)), GroupDomain(d, type),
                                           d.Chance(50) ? nullptr : d.Name(Kind::Realm));
     }},
    {"IsGroup", 2,
     [](Driver& d) {
       const int32_t type = GroupType(d);
       uint8_t isGroup = 0;
       return Xo_PolicyApi_IsGroup(d.Handle(), type, d.Name(MemberKind(d, type)),
                                   GroupDomain(d, type), d.Maybe(&isGroup));
     }},
    {"DeleteGroup", 2,
     [](Driver& d) {
       const int32_t type = GroupType(d);
       return Xo_PolicyApi_DeleteGroup(d.Handle(), type, GroupDomain(d, type), d.Name(Kind::Group));
     }},

    // Global listing, renaming, management commands.
    {"GetGlobalObjectNames", 3,
     [](Driver& d) {
       return d.Names(Clears::OnFailure, [&](char*** n) {
         return Xo_PolicyApi_GetGlobalObjectNames(d.Handle(), GlobalKind(d), n);
       });
     }},
    {"RenameObject", 3,
     [](Driver& d) {
       const std::string id = d.AnyObjectId();
       const uint32_t kind = d.Below(static_cast<uint32_t>(Kind::Attribute));
       return Xo_PolicyApi_RenameObject(d.Handle(), d.Chance(3) ? nullptr : id.c_str(),
                                        d.Name(static_cast<Kind>(kind)));
     }},
    {"ManagementCommand", 1,
     [](Driver& d) {
       ManagementCommandRecord command;
       std::memset(&command, 0, sizeof command);
       Fill(d, command);
       return Xo_PolicyApi_ManagementCommand(d.Handle(), d.Maybe(&command));
     }},
};

}  // namespace

const std::vector<Call>& Calls() { return kCalls; }

}  // namespace xo::fuzz
