/*
 * XoPolicyApi.h - the flat, C-callable interface of the policy-management
 * library.
 *
 * Every function returns a signed 32-bit result code: 0 for success, a small
 * negative number for failure. Records cross the interface as flat structures
 * of 1024-byte text fields, 32-bit integers and single-byte flags; lists of
 * records and arrays of strings handed out by the library are given back with
 * Xo_PolicyApi_FreeMemory and Xo_PolicyApi_FreeStringArray.
 *
 * On 32-bit Windows every export uses __stdcall with an undecorated name; the
 * record layouts below are exact on a 32-bit target and keep the same fields
 * in the same order, naturally aligned, on 64-bit targets.
 */
#ifndef XO_POLICY_API_H
#define XO_POLICY_API_H

#include <stdint.h>

#if defined(_WIN32) && !defined(_WIN64)
#define XO_API_CALL __stdcall
#else
#define XO_API_CALL
#endif

#if defined(_WIN32)
#if defined(XO_POLICY_API_STATIC)
#define XO_API_EXPORT
#elif defined(XO_POLICY_API_BUILD)
#define XO_API_EXPORT __declspec(dllexport)
#else
#define XO_API_EXPORT __declspec(dllimport)
#endif
#else
#define XO_API_EXPORT __attribute__((visibility("default")))
#endif

#define XO_API XO_API_EXPORT int32_t XO_API_CALL

#ifdef __cplusplus
extern "C" {
#endif

/* Width of every text field of a record, terminator included. */
#define XO_TEXT_FIELD 1024

/* ------------------------------------------------------------------------ */
/* Result codes                                                             */
/* ------------------------------------------------------------------------ */

#define XO_OK 0
#define XO_ERR_GENERAL (-1)
#define XO_ERR_ALREADY_MEMBER (-2)
#define XO_ERR_LINK_NOT_FOUND (-3)
#define XO_ERR_NOT_MEMBER (-4)
#define XO_ERR_RULE_SEARCH (-5)
#define XO_ERR_RESPONSE_SEARCH (-6)
#define XO_ERR_POLICY_SEARCH (-7)
#define XO_ERR_REALM_SEARCH (-8)
#define XO_ERR_DOMAIN_SEARCH (-9)
#define XO_ERR_USERDIR_SEARCH (-10)
#define XO_ERR_AGENT_SEARCH (-11)
#define XO_ERR_AGENT_TYPE_SEARCH (-12)
#define XO_ERR_SCHEME_SEARCH (-13)
#define XO_ERR_RESPONSE_ATTR_SEARCH (-14)
#define XO_ERR_EMPTY_NAME (-16)
#define XO_ERR_BAD_OBJECT_KIND (-17)
#define XO_ERR_WRONG_CLASS (-19)
#define XO_ERR_SEARCH_ORDER_COUNT (-20)
#define XO_ERR_BAD_GROUP_TYPE (-21)
#define XO_ERR_GROUP_SEARCH (-22)
#define XO_ERR_ADMIN_SEARCH (-23)
#define XO_ERR_EMPTY_SCHEME (-24)
#define XO_ERR_BAD_HANDLE (-25)
#define XO_ERR_ODBC_QUERY_SEARCH (-26)
/* Store results are mapped onto -100 .. -129 (and -1, -4). */

/* ------------------------------------------------------------------------ */
/* Record tags                                                              */
/* ------------------------------------------------------------------------ */

typedef enum RecordType {
  RuleRecordType = 1,
  PolicyRecordType = 2,
  RealmRecordType = 3,
  ResponseRecordType = 4,
  UserDirRecordType = 5,
  AgentRecordType = 6,
  DomainRecordType = 7,
  PolicyLinkRecordType = 8,
  ResponseAttrRecordType = 9,
  UserEntryRecordType = 10,
  SchemeRecordType = 11,
  AdminRecordType = 12,
  GroupRecordType = 13,
  OdbcQuerySchemeRecordType = 14
} RecordType;

/* ------------------------------------------------------------------------ */
/* Enumerations passed through to the store                                 */
/* ------------------------------------------------------------------------ */

/* How a directory entry attached to a policy is matched against users. */
typedef enum Xo_PolicyResolution_t {
  Xo_PolicyResolution_Default = 0,
  Xo_PolicyResolution_User = 1,
  Xo_PolicyResolution_Group = 2,
  Xo_PolicyResolution_NestedGroup = 3,
  Xo_PolicyResolution_Organization = 4,
  Xo_PolicyResolution_Filter = 5
} Xo_PolicyResolution_t;

/* Why a directory user is disabled; Xo_Api_NotDisabled when it is not. */
typedef enum Xo_Api_DisabledReason_t {
  Xo_Api_NotDisabled = 0,
  Xo_Api_DisabledByAdmin = 1,
  Xo_Api_DisabledInactivity = 2,
  Xo_Api_DisabledPasswordExpired = 3,
  Xo_Api_DisabledFailedLogins = 4,
  Xo_Api_DisabledPasswordPolicy = 5
} Xo_Api_DisabledReason_t;

/* Object kinds listed by Xo_PolicyApi_GetDomainObjectNames. */
#define XO_DOMAIN_RULES 1
#define XO_DOMAIN_RULE_GROUPS 2
#define XO_DOMAIN_POLICIES 3
#define XO_DOMAIN_REALMS 4
#define XO_DOMAIN_RESPONSE_GROUPS 5
#define XO_DOMAIN_RESPONSES 6
#define XO_DOMAIN_USER_DIRECTORIES 7
#define XO_DOMAIN_ADMINISTRATORS 12

/* Object kinds listed by Xo_PolicyApi_GetGlobalObjectNames. */
#define XO_GLOBAL_USER_DIRECTORIES 7
#define XO_GLOBAL_SCHEMES 8
#define XO_GLOBAL_AGENTS 9
#define XO_GLOBAL_AGENT_GROUPS 10
#define XO_GLOBAL_DOMAINS 11
#define XO_GLOBAL_ADMINISTRATORS 12

/* Group types. */
#define XO_GROUP_RULE 1
#define XO_GROUP_RESPONSE 2
#define XO_GROUP_AGENT 3

/* ------------------------------------------------------------------------ */
/* Records                                                                  */
/* ------------------------------------------------------------------------ */

typedef struct RuleRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char realmName[XO_TEXT_FIELD];
  char ruleText1[XO_TEXT_FIELD];
  char ruleText2[XO_TEXT_FIELD];
  char timeText[XO_TEXT_FIELD];
  uint8_t ruleFlag1;
  uint8_t ruleFlag2;
  char ruleText3[XO_TEXT_FIELD];
  uint8_t ruleFlag3;
  uint8_t reserved1;
  struct RuleRecord* next;
} RuleRecord;

typedef struct PolicyRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char policyText1[XO_TEXT_FIELD];
  uint8_t policyFlag;
  char policyText2[XO_TEXT_FIELD];
  uint8_t reserved1[3];
  struct PolicyRecord* next;
} PolicyRecord;

typedef struct RealmRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char realmText[XO_TEXT_FIELD];
  char agentName[XO_TEXT_FIELD];
  char schemeName[XO_TEXT_FIELD];
  char parentName[XO_TEXT_FIELD];
  uint8_t realmFlag1;
  uint8_t realmFlag2;
  uint8_t realmFlag3;
  uint8_t reserved1;
  int32_t realmInt1;
  int32_t realmInt2;
  uint8_t realmFlag4;
  uint8_t reserved2[3];
  struct RealmRecord* next;
} RealmRecord;

typedef struct ResponseRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char agentTypeName[XO_TEXT_FIELD];
  struct ResponseRecord* next;
} ResponseRecord;

typedef struct UserDirRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char directoryType[XO_TEXT_FIELD];
  char string1[XO_TEXT_FIELD];
  char string2[XO_TEXT_FIELD];
  char string3[XO_TEXT_FIELD];
  char string4[XO_TEXT_FIELD];
  char string5[XO_TEXT_FIELD];
  char string6[XO_TEXT_FIELD];
  int32_t int1;
  int32_t int2;
  int32_t int3;
  uint8_t flag1;
  uint8_t flag2;
  char string7[XO_TEXT_FIELD];
  char string8[XO_TEXT_FIELD];
  char querySchemeName[XO_TEXT_FIELD];
  char string9[XO_TEXT_FIELD];
  char string10[XO_TEXT_FIELD];
  char string11[XO_TEXT_FIELD];
  char string12[XO_TEXT_FIELD];
  char string13[XO_TEXT_FIELD];
  uint8_t reserved1[2];
  struct UserDirRecord* next;
} UserDirRecord;

typedef struct AgentRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char agentString1[XO_TEXT_FIELD];
  char agentString2[XO_TEXT_FIELD];
  char agentTypeName[XO_TEXT_FIELD];
  int32_t agentInt;
  struct AgentRecord* next;
} AgentRecord;

typedef struct DomainRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  struct DomainRecord* next;
} DomainRecord;

typedef struct PolicyLinkRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char realmName[XO_TEXT_FIELD];
  char ruleName[XO_TEXT_FIELD];
  char responseName[XO_TEXT_FIELD];
  struct PolicyLinkRecord* next;
} PolicyLinkRecord;

typedef struct ResponseAttrRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char attrName[XO_TEXT_FIELD];
  char value[XO_TEXT_FIELD];
  int32_t attrInt1;
  int32_t attrInt2;
  struct ResponseAttrRecord* next;
} ResponseAttrRecord;

typedef struct UserEntryRecord {
  int32_t recordType;
  char entry[XO_TEXT_FIELD];
  char entryDetail[XO_TEXT_FIELD];
  int32_t entryKind;
  struct UserEntryRecord* next;
} UserEntryRecord;

typedef struct SchemeRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  int32_t schemeInt1;
  char schemeString1[XO_TEXT_FIELD];
  char schemeString2[XO_TEXT_FIELD];
  char schemeString3[XO_TEXT_FIELD];
  uint8_t schemeFlag1;
  uint8_t schemeFlag2;
  uint8_t reserved1[2];
  int32_t schemeInt2;
  uint8_t schemeFlag3;
  uint8_t schemeFlag4;
  uint8_t schemeFlag5;
  uint8_t reserved2;
  struct SchemeRecord* next;
} SchemeRecord;

typedef struct AdminRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char adminText[XO_TEXT_FIELD];
  char userDirName[XO_TEXT_FIELD];
  char schemeName[XO_TEXT_FIELD];
  int32_t adminFlags;
  struct AdminRecord* next;
} AdminRecord;

typedef struct GroupRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char vendorName[XO_TEXT_FIELD];
  struct GroupRecord* next;
} GroupRecord;

typedef struct OdbcQuerySchemeRecord {
  int32_t recordType;
  char objectId[XO_TEXT_FIELD];
  char name[XO_TEXT_FIELD];
  char description[XO_TEXT_FIELD];
  char query[15][XO_TEXT_FIELD];
  struct OdbcQuerySchemeRecord* next;
} OdbcQuerySchemeRecord;

/* The caller's management command: a command number 1 to 5 and its text. */
typedef struct ManagementCommandRecord {
  int32_t command;
  char argument[XO_TEXT_FIELD];
} ManagementCommandRecord;

/* Rights bits of an administrator's flags (AdminRecord.adminFlags). */
#define XO_ADMIN_SYSTEM 0x1
#define XO_ADMIN_DOMAIN 0x2
#define XO_ADMIN_COMMAND(c) (1 << (16 + (c)))

/* ------------------------------------------------------------------------ */
/* Sessions                                                                 */
/* ------------------------------------------------------------------------ */

typedef struct PolicyApiSession PolicyApiSession;

XO_API Xo_PolicyApi_Login(PolicyApiSession** handle, void* flag, const char* adminName,
                          const char* password, const char* host, const char* unused,
                          int32_t reserved);
XO_API Xo_PolicyApi_Logout(PolicyApiSession* handle);

/* ------------------------------------------------------------------------ */
/* Returned memory                                                          */
/* ------------------------------------------------------------------------ */

XO_API Xo_PolicyApi_FreeMemory(void* list);
XO_API Xo_PolicyApi_FreeStringArray(char** array);

/* ------------------------------------------------------------------------ */
/* Rules, policies, policy links, policy users                              */
/* ------------------------------------------------------------------------ */

XO_API Xo_PolicyApi_AddRule(PolicyApiSession* handle, const char* domainName, RuleRecord* rule,
                            uint8_t update);
XO_API Xo_PolicyApi_DeleteRule(PolicyApiSession* handle, const char* ruleName,
                               const char* realmName, const char* domainName);
XO_API Xo_PolicyApi_GetRule(PolicyApiSession* handle, const char* ruleName, const char* realmName,
                            const char* domainName, RuleRecord** list);

XO_API Xo_PolicyApi_AddPolicy(PolicyApiSession* handle, const char* domainName,
                              PolicyRecord* policy, uint8_t update);
XO_API Xo_PolicyApi_DeletePolicy(PolicyApiSession* handle, const char* policyName,
                                 const char* domainName);
XO_API Xo_PolicyApi_GetPolicy(PolicyApiSession* handle, const char* policyName,
                              const char* domainName, PolicyRecord** list);

XO_API Xo_PolicyApi_AddPolicyLink(PolicyApiSession* handle, const char* domainName,
                                  const char* policyName, PolicyLinkRecord* link);
XO_API Xo_PolicyApi_RemoveRuleFromPolicy(PolicyApiSession* handle, const char* domainName,
                                         const char* policyName, const char* realmName,
                                         const char* ruleName);
XO_API Xo_PolicyApi_GetPolicyLinks(PolicyApiSession* handle, const char* domainName,
                                   const char* policyName, PolicyLinkRecord** list);
XO_API Xo_PolicyApi_SetResponseInPolicyLink(PolicyApiSession* handle, const char* domainName,
                                            const char* policyName, PolicyLinkRecord* link);

XO_API Xo_PolicyApi_AddUsersToPolicy(PolicyApiSession* handle, const char* domainName,
                                     const char* policyName, const char* userDirName,
                                     const char* entry, Xo_PolicyResolution_t resolution);
XO_API Xo_PolicyApi_RemoveUsersFromPolicy(PolicyApiSession* handle, const char* domainName,
                                          const char* policyName, const char* userDirName,
                                          const char* entry);
XO_API Xo_PolicyApi_GetPolicyUsers(PolicyApiSession* handle, const char* domainName,
                                   const char* policyName, const char* userDirName,
                                   UserEntryRecord** list);

/* ------------------------------------------------------------------------ */
/* Domains, realms, responses, response attributes                          */
/* ------------------------------------------------------------------------ */

XO_API Xo_PolicyApi_AddDomain(PolicyApiSession* handle, DomainRecord* domain, uint8_t update);
XO_API Xo_PolicyApi_DeleteDomain(PolicyApiSession* handle, const char* domainName);
XO_API Xo_PolicyApi_GetDomain(PolicyApiSession* handle, const char* domainName,
                              DomainRecord** list);
XO_API Xo_PolicyApi_GetDomainObjectNames(PolicyApiSession* handle, const char* domainName,
                                         uint32_t objectKind, char*** names);

XO_API Xo_PolicyApi_AddRealm(PolicyApiSession* handle, const char* domainName, RealmRecord* realm,
                             uint8_t update);
XO_API Xo_PolicyApi_DeleteRealm(PolicyApiSession* handle, const char* realmName,
                                const char* domainName);
XO_API Xo_PolicyApi_GetRealm(PolicyApiSession* handle, const char* realmName,
                             const char* domainName, RealmRecord** list);
XO_API Xo_PolicyApi_FlushRealm(PolicyApiSession* handle, const char* realmName,
                               const char* domainName);

XO_API Xo_PolicyApi_AddResponse(PolicyApiSession* handle, const char* domainName,
                                ResponseRecord* response, uint8_t update);
XO_API Xo_PolicyApi_DeleteResponse(PolicyApiSession* handle, const char* responseName,
                                   const char* domainName);
XO_API Xo_PolicyApi_GetResponse(PolicyApiSession* handle, const char* responseName,
                                const char* domainName, ResponseRecord** list);

XO_API Xo_PolicyApi_AddResponseAttr(PolicyApiSession* handle, const char* responseName,
                                    const char* domainName, ResponseAttrRecord* attr);
XO_API Xo_PolicyApi_RemoveResponseAttr(PolicyApiSession* handle, const char* responseName,
                                       const char* domainName, ResponseAttrRecord* attr);
XO_API Xo_PolicyApi_GetResponseAttrs(PolicyApiSession* handle, const char* responseName,
                                     const char* domainName, ResponseAttrRecord** list);

/* ------------------------------------------------------------------------ */
/* User directories, ODBC query schemes, directory users                    */
/* ------------------------------------------------------------------------ */

XO_API Xo_PolicyApi_CreateUserDir(PolicyApiSession* handle, UserDirRecord* userDir, uint8_t update);
XO_API Xo_PolicyApi_DeleteUserDir(PolicyApiSession* handle, const char* userDirName);
XO_API Xo_PolicyApi_GetUserDir(PolicyApiSession* handle, const char* userDirName,
                               UserDirRecord** list);
XO_API Xo_PolicyApi_AddUserDirToDomain(PolicyApiSession* handle, const char* userDirName,
                                       const char* domainName);
XO_API Xo_PolicyApi_RemoveUserDirFromDomain(PolicyApiSession* handle, const char* userDirName,
                                            const char* domainName);
XO_API Xo_PolicyApi_GetUserDirSearchOrder(PolicyApiSession* handle, const char* domainName,
                                          char*** names);
XO_API Xo_PolicyApi_SetUserDirSearchOrder(PolicyApiSession* handle, const char* domainName,
                                          char** names);

XO_API Xo_PolicyApi_CreateODBCQueryScheme(PolicyApiSession* handle, OdbcQuerySchemeRecord* scheme,
                                          uint8_t update);
XO_API Xo_PolicyApi_DeleteODBCQueryScheme(PolicyApiSession* handle, const char* schemeName);
XO_API Xo_PolicyApi_GetODBCQueryScheme(PolicyApiSession* handle, const char* schemeName,
                                       OdbcQuerySchemeRecord** list);

XO_API Xo_PolicyApi_GetDirectoryContents(PolicyApiSession* handle, const char* userDirName,
                                         UserEntryRecord** list);
XO_API Xo_PolicyApi_SetDisableUserState(PolicyApiSession* handle, const char* userDirName,
                                        const char* user, Xo_Api_DisabledReason_t reason,
                                        void* reserved);
XO_API Xo_PolicyApi_GetDisableUserState(PolicyApiSession* handle, const char* userDirName,
                                        const char* user, Xo_Api_DisabledReason_t* reason,
                                        void* reserved);
XO_API Xo_PolicyApi_SetPassword(PolicyApiSession* handle, const char* userDirName, const char* user,
                                const char* newPassword, void* reserved);
XO_API Xo_PolicyApi_FlushUser(PolicyApiSession* handle, const char* userDirName, const char* user);

/* ------------------------------------------------------------------------ */
/* Agents, authentication schemes, administrators                           */
/* ------------------------------------------------------------------------ */

XO_API Xo_PolicyApi_AddAgent(PolicyApiSession* handle, AgentRecord* agent, uint8_t update);
XO_API Xo_PolicyApi_DeleteAgent(PolicyApiSession* handle, const char* agentName);
XO_API Xo_PolicyApi_GetAgent(PolicyApiSession* handle, const char* agentName, AgentRecord** list);

XO_API Xo_PolicyApi_AddScheme(PolicyApiSession* handle, SchemeRecord* scheme, uint8_t update);
XO_API Xo_PolicyApi_DeleteScheme(PolicyApiSession* handle, const char* schemeName);
XO_API Xo_PolicyApi_GetScheme(PolicyApiSession* handle, const char* schemeName,
                              SchemeRecord** list);

XO_API Xo_PolicyApi_AddAdmin(PolicyApiSession* handle, AdminRecord* admin, uint8_t update);
XO_API Xo_PolicyApi_DeleteAdmin(PolicyApiSession* handle, const char* adminName);
XO_API Xo_PolicyApi_GetAdmin(PolicyApiSession* handle, const char* adminName, AdminRecord** list);
XO_API Xo_PolicyApi_AddAdminToDomain(PolicyApiSession* handle, const char* adminName,
                                     const char* domainName);
XO_API Xo_PolicyApi_RemoveAdminFromDomain(PolicyApiSession* handle, const char* adminName,
                                          const char* domainName);

/* ------------------------------------------------------------------------ */
/* Groups                                                                   */
/* ------------------------------------------------------------------------ */

XO_API Xo_PolicyApi_AddGroup(PolicyApiSession* handle, int32_t groupType, const char* domainName,
                             GroupRecord* group, uint8_t update);
XO_API Xo_PolicyApi_GetGroup(PolicyApiSession* handle, int32_t groupType, const char* groupName,
                             const char* domainName, GroupRecord** list);
XO_API Xo_PolicyApi_GetGroupNames(PolicyApiSession* handle, int32_t groupType,
                                  const char* groupName, const char* domainName, char*** names);
XO_API Xo_PolicyApi_AddToGroup(PolicyApiSession* handle, int32_t groupType, const char* groupName,
                               const char* memberName, const char* domainName,
                               const char* realmName);
XO_API Xo_PolicyApi_RemoveFromGroup(PolicyApiSession* handle, int32_t groupType,
                                    const char* groupName, const char* memberName,
                                    const char* domainName, const char* realmName);
XO_API Xo_PolicyApi_IsGroup(PolicyApiSession* handle, int32_t groupType, const char* name,
                            const char* domainName, uint8_t* isGroup);
XO_API Xo_PolicyApi_DeleteGroup(PolicyApiSession* handle, int32_t groupType, const char* domainName,
                                const char* groupName);

/* ------------------------------------------------------------------------ */
/* Global listing, renaming, management commands                            */
/* ------------------------------------------------------------------------ */

XO_API Xo_PolicyApi_GetGlobalObjectNames(PolicyApiSession* handle, uint32_t objectKind,
                                         char*** names);
XO_API Xo_PolicyApi_RenameObject(PolicyApiSession* handle, const char* objectId,
                                 const char* newName);
XO_API Xo_PolicyApi_ManagementCommand(PolicyApiSession* handle, ManagementCommandRecord* command);

#ifdef __cplusplus
}
#endif

#endif /* XO_POLICY_API_H */
