// Handles that are not live, null pointers, unterminated fields and overlong
// texts: each gives a clear code, never a crash, and leaves the store alone.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "frame/Handles.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using xo::store::kTextTooLong;

struct Case {
  const char* what;
  std::function<int32_t(PolicyApiSession*)> call;
  int32_t expected;
};

using BadInputTest = SalesApiTest;

// Every function that takes a handle, with the code it gives for a live
// handle without a session (its Login failed after handing it out).
struct HandleCase {
  const char* what;
  std::function<int32_t(PolicyApiSession*)> call;
  int32_t sessionless;
};

// Calls a function handing out `T` with an output holding a marker; a call
// that writes the output gives 999.
template <class T, class Call>
int32_t Kept(Call&& call) {
  T marker{};
  T out = marker;
  const int32_t rc = call(&out);
  return std::memcmp(&out, &marker, sizeof out) == 0 ? rc : 999;
}

template <class Record>
Record Named(const char* name) {
  Record record{};
  std::strcpy(record.name, name);
  return record;
}

std::vector<HandleCase> EveryHandleCall() {
  using H = PolicyApiSession*;
  constexpr int32_t kNoSession = XO_ERR_GENERAL, kBad = XO_ERR_BAD_HANDLE;
  static char hr[] = "hr";
  static char* order[] = {hr, nullptr};
  // clang-format off
  return {
    {"AddRule", [](H h) { auto r = Named<RuleRecord>("get"); std::strcpy(r.realmName, "web"); return Xo_PolicyApi_AddRule(h, "sales", &r, 0); }, kNoSession},
    {"DeleteRule", [](H h) { return Xo_PolicyApi_DeleteRule(h, "get", "web", "sales"); }, kNoSession},
    {"GetRule", [](H h) { return Kept<RuleRecord*>([&](auto o) { return Xo_PolicyApi_GetRule(h, "get", "web", "sales", o); }); }, kBad},
    {"AddPolicy", [](H h) { auto r = Named<PolicyRecord>("staff"); return Xo_PolicyApi_AddPolicy(h, "sales", &r, 0); }, kNoSession},
    {"DeletePolicy", [](H h) { return Xo_PolicyApi_DeletePolicy(h, "staff", "sales"); }, kNoSession},
    {"GetPolicy", [](H h) { return Kept<PolicyRecord*>([&](auto o) { return Xo_PolicyApi_GetPolicy(h, "staff", "sales", o); }); }, kNoSession},
    {"AddPolicyLink", [](H h) { PolicyLinkRecord r{}; return Xo_PolicyApi_AddPolicyLink(h, "sales", "staff", &r); }, kNoSession},
    {"RemoveRuleFromPolicy", [](H h) { return Xo_PolicyApi_RemoveRuleFromPolicy(h, "sales", "staff", "web", "get"); }, kNoSession},
    {"GetPolicyLinks", [](H h) { return Kept<PolicyLinkRecord*>([&](auto o) { return Xo_PolicyApi_GetPolicyLinks(h, "sales", "staff", o); }); }, kNoSession},
    {"SetResponseInPolicyLink", [](H h) { PolicyLinkRecord r{}; return Xo_PolicyApi_SetResponseInPolicyLink(h, "sales", "staff", &r); }, kNoSession},
    {"AddUsersToPolicy", [](H h) { return Xo_PolicyApi_AddUsersToPolicy(h, "sales", "staff", "hr", "users/bob", Xo_PolicyResolution_User); }, kNoSession},
    {"RemoveUsersFromPolicy", [](H h) { return Xo_PolicyApi_RemoveUsersFromPolicy(h, "sales", "staff", "hr", "users/bob"); }, kNoSession},
    {"GetPolicyUsers", [](H h) { return Kept<UserEntryRecord*>([&](auto o) { return Xo_PolicyApi_GetPolicyUsers(h, "sales", "staff", "hr", o); }); }, kNoSession},
    {"AddDomain", [](H h) { auto r = Named<DomainRecord>("new"); return Xo_PolicyApi_AddDomain(h, &r, 1); }, kNoSession},
    {"DeleteDomain", [](H h) { return Xo_PolicyApi_DeleteDomain(h, "sales"); }, kNoSession},
    {"GetDomain", [](H h) { return Kept<DomainRecord*>([&](auto o) { return Xo_PolicyApi_GetDomain(h, "sales", o); }); }, kNoSession},
    {"GetDomainObjectNames", [](H h) { return Kept<char**>([&](auto o) { return Xo_PolicyApi_GetDomainObjectNames(h, "sales", 1, o); }); }, kNoSession},
    {"AddRealm", [](H h) { auto r = Named<RealmRecord>("web"); return Xo_PolicyApi_AddRealm(h, "sales", &r, 0); }, kNoSession},
    {"DeleteRealm", [](H h) { return Xo_PolicyApi_DeleteRealm(h, "web", "sales"); }, kNoSession},
    {"GetRealm", [](H h) { return Kept<RealmRecord*>([&](auto o) { return Xo_PolicyApi_GetRealm(h, "web", "sales", o); }); }, kNoSession},
    {"FlushRealm", [](H h) { return Xo_PolicyApi_FlushRealm(h, "web", "sales"); }, kNoSession},
    {"AddResponse", [](H h) { auto r = Named<ResponseRecord>("welcome"); return Xo_PolicyApi_AddResponse(h, "sales", &r, 0); }, kNoSession},
    {"DeleteResponse", [](H h) { return Xo_PolicyApi_DeleteResponse(h, "welcome", "sales"); }, kNoSession},
    {"GetResponse", [](H h) { return Kept<ResponseRecord*>([&](auto o) { return Xo_PolicyApi_GetResponse(h, "welcome", "sales", o); }); }, kNoSession},
    {"AddResponseAttr", [](H h) { ResponseAttrRecord r{}; return Xo_PolicyApi_AddResponseAttr(h, "welcome", "sales", &r); }, kNoSession},
    {"RemoveResponseAttr", [](H h) { ResponseAttrRecord r{}; return Xo_PolicyApi_RemoveResponseAttr(h, "welcome", "sales", &r); }, kNoSession},
    {"GetResponseAttrs", [](H h) { return Kept<ResponseAttrRecord*>([&](auto o) { return Xo_PolicyApi_GetResponseAttrs(h, "welcome", "sales", o); }); }, kNoSession},
    {"CreateUserDir", [](H h) { auto r = Named<UserDirRecord>("hr"); return Xo_PolicyApi_CreateUserDir(h, &r, 1); }, kNoSession},
    {"DeleteUserDir", [](H h) { return Xo_PolicyApi_DeleteUserDir(h, "hr"); }, kNoSession},
    {"GetUserDir", [](H h) { return Kept<UserDirRecord*>([&](auto o) { return Xo_PolicyApi_GetUserDir(h, "hr", o); }); }, kNoSession},
    {"AddUserDirToDomain", [](H h) { return Xo_PolicyApi_AddUserDirToDomain(h, "hr", "sales"); }, kNoSession},
    {"RemoveUserDirFromDomain", [](H h) { return Xo_PolicyApi_RemoveUserDirFromDomain(h, "hr", "sales"); }, kNoSession},
    {"GetUserDirSearchOrder", [](H h) { return Kept<char**>([&](auto o) { return Xo_PolicyApi_GetUserDirSearchOrder(h, "sales", o); }); }, kNoSession},
    {"SetUserDirSearchOrder", [](H h) { return Xo_PolicyApi_SetUserDirSearchOrder(h, "sales", order); }, kNoSession},
    {"CreateODBCQueryScheme", [](H h) { auto r = Named<OdbcQuerySchemeRecord>("queries"); return Xo_PolicyApi_CreateODBCQueryScheme(h, &r, 1); }, kNoSession},
    {"DeleteODBCQueryScheme", [](H h) { return Xo_PolicyApi_DeleteODBCQueryScheme(h, "queries"); }, kNoSession},
    {"GetODBCQueryScheme", [](H h) { return Kept<OdbcQuerySchemeRecord*>([&](auto o) { return Xo_PolicyApi_GetODBCQueryScheme(h, "queries", o); }); }, kNoSession},
    {"GetDirectoryContents", [](H h) { return Kept<UserEntryRecord*>([&](auto o) { return Xo_PolicyApi_GetDirectoryContents(h, "hr", o); }); }, kNoSession},
    {"SetDisableUserState", [](H h) { return Xo_PolicyApi_SetDisableUserState(h, "hr", "users/bob", Xo_Api_DisabledByAdmin, nullptr); }, kNoSession},
    {"GetDisableUserState", [](H h) { return Kept<Xo_Api_DisabledReason_t>([&](auto o) { return Xo_PolicyApi_GetDisableUserState(h, "hr", "users/bob", o, nullptr); }); }, kNoSession},
    {"SetPassword", [](H h) { return Xo_PolicyApi_SetPassword(h, "hr", "users/bob", "pw", nullptr); }, kNoSession},
    {"FlushUser", [](H h) { return Xo_PolicyApi_FlushUser(h, "hr", "users/bob"); }, kNoSession},
    {"AddAgent", [](H h) { auto r = Named<AgentRecord>("gateway"); return Xo_PolicyApi_AddAgent(h, &r, 1); }, kNoSession},
    {"DeleteAgent", [](H h) { return Xo_PolicyApi_DeleteAgent(h, "gateway"); }, kNoSession},
    {"GetAgent", [](H h) { return Kept<AgentRecord*>([&](auto o) { return Xo_PolicyApi_GetAgent(h, "gateway", o); }); }, kNoSession},
    {"AddScheme", [](H h) { auto r = Named<SchemeRecord>("basic"); return Xo_PolicyApi_AddScheme(h, &r, 1); }, kNoSession},
    {"DeleteScheme", [](H h) { return Xo_PolicyApi_DeleteScheme(h, "basic"); }, kNoSession},
    {"GetScheme", [](H h) { return Kept<SchemeRecord*>([&](auto o) { return Xo_PolicyApi_GetScheme(h, "basic", o); }); }, kNoSession},
    {"AddAdmin", [](H h) { auto r = Named<AdminRecord>("frank"); return Xo_PolicyApi_AddAdmin(h, &r, 1); }, kNoSession},
    {"DeleteAdmin", [](H h) { return Xo_PolicyApi_DeleteAdmin(h, "frank"); }, kNoSession},
    {"GetAdmin", [](H h) { return Kept<AdminRecord*>([&](auto o) { return Xo_PolicyApi_GetAdmin(h, "frank", o); }); }, kNoSession},
    {"AddAdminToDomain", [](H h) { return Xo_PolicyApi_AddAdminToDomain(h, "frank", "sales"); }, kNoSession},
    {"RemoveAdminFromDomain", [](H h) { return Xo_PolicyApi_RemoveAdminFromDomain(h, "frank", "sales"); }, kNoSession},
    {"AddGroup", [](H h) { auto r = Named<GroupRecord>("new"); std::strcpy(r.vendorName, "HTTP Agent"); return Xo_PolicyApi_AddGroup(h, 1, "sales", &r, 0); }, kNoSession},
    {"GetGroup", [](H h) { return Kept<GroupRecord*>([&](auto o) { return Xo_PolicyApi_GetGroup(h, 1, "all", "sales", o); }); }, kNoSession},
    {"GetGroupNames", [](H h) { return Kept<char**>([&](auto o) { return Xo_PolicyApi_GetGroupNames(h, 1, "all", "sales", o); }); }, kNoSession},
    {"AddToGroup", [](H h) { return Xo_PolicyApi_AddToGroup(h, 1, "all", "get", "sales", "web"); }, kBad},
    {"RemoveFromGroup", [](H h) { return Xo_PolicyApi_RemoveFromGroup(h, 1, "all", "get", "sales", "web"); }, kBad},
    {"IsGroup", [](H h) { return Kept<uint8_t>([&](auto o) { return Xo_PolicyApi_IsGroup(h, 1, "all", "sales", o); }); }, kBad},
    {"DeleteGroup", [](H h) { return Xo_PolicyApi_DeleteGroup(h, 1, "sales", "all"); }, kBad},
    {"GetGlobalObjectNames", [](H h) { return Kept<char**>([&](auto o) { return Xo_PolicyApi_GetGlobalObjectNames(h, 11, o); }); }, kNoSession},
    {"RenameObject", [](H h) { return Xo_PolicyApi_RenameObject(h, CXoObjId::NewOid(XoObjId_Domain).GetOidString().c_str(), "x"); }, kNoSession},
    {"ManagementCommand", [](H h) { ManagementCommandRecord r{1, "x"}; return Xo_PolicyApi_ManagementCommand(h, &r); }, kNoSession},
    // Last: a handle without a session is freed by it all the same.
    {"Logout", [](H h) { return Xo_PolicyApi_Logout(h); }, kNoSession},
  };
  // clang-format on
}

TEST_F(BadInputTest, HandlesThatAreNotLiveAreRefusedWithoutBeingRead) {
  PolicyApiSession* stale = nullptr;
  ASSERT_EQ(Login(kAdmin, kPassword, &stale), 0);
  ASSERT_EQ(Xo_PolicyApi_Logout(stale), 0);
  // Holds the magic in its first word; its pointers lead nowhere.
  struct {
    int32_t magic = 727;
    void* message = reinterpret_cast<void*>(0x10);
    void* session = reinterpret_cast<void*>(0x20);
  } forged;
  auto* forgedHandle = reinterpret_cast<PolicyApiSession*>(&forged);

  const std::string before = Snapshot();
  for (const HandleCase& c : EveryHandleCall()) {
    for (PolicyApiSession* handle :
         {stale, forgedHandle, static_cast<PolicyApiSession*>(nullptr)}) {
      EXPECT_EQ(c.call(handle), XO_ERR_BAD_HANDLE) << c.what;
    }
  }
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(forged.magic, 727);
}

// Whether the store message (2) or the session object (3) failed to be made.
TEST_F(BadInputTest, HandlesWithoutASessionGiveTheirOwnCode) {
  for (int allocation : {2, 3}) {
    PolicyApiSession* sessionless = SessionlessLogin(allocation);
    ASSERT_EQ(sessionless->session, nullptr);
    const std::string before = Snapshot();
    for (const HandleCase& c : EveryHandleCall()) {
      EXPECT_EQ(c.call(sessionless), c.sessionless) << c.what << " " << allocation;
    }
    EXPECT_EQ(Snapshot(), before);
  }
}

TEST_F(BadInputTest, NullPointersAndOverlongTextsGiveClearCodes) {
  const std::string longName(2000, 'x');
  const std::string oid = sales_.GetOidString();
  char unterminated[XO_TEXT_FIELD];
  std::memset(unterminated, 'u', sizeof unterminated);

  const std::vector<Case> cases = {
      {"AddDomain null record",
       [](PolicyApiSession* h) { return Xo_PolicyApi_AddDomain(h, nullptr, 0); }, XO_ERR_GENERAL},
      {"AddDomain unterminated name",
       [&](PolicyApiSession* h) {
         DomainRecord record{};
         std::memcpy(record.name, unterminated, sizeof record.name);
         return Xo_PolicyApi_AddDomain(h, &record, 1);
       },
       Mapped(kTextTooLong)},
      {"AddDomain unterminated description",
       [&](PolicyApiSession* h) {
         DomainRecord record{};
         std::strcpy(record.name, "new");
         std::memcpy(record.description, unterminated, sizeof record.description);
         return Xo_PolicyApi_AddDomain(h, &record, 0);
       },
       Mapped(kTextTooLong)},
      {"AddDomain empty name",
       [](PolicyApiSession* h) {
         DomainRecord record{};
         return Xo_PolicyApi_AddDomain(h, &record, 0);
       },
       Mapped(xo::store::kNameRequired)},
      {"GetDomain null output",
       [](PolicyApiSession* h) { return Xo_PolicyApi_GetDomain(h, "sales", nullptr); },
       XO_ERR_GENERAL},
      {"GetDomain null name",
       [](PolicyApiSession* h) {
         DomainRecord* list = nullptr;
         const int32_t rc = Xo_PolicyApi_GetDomain(h, nullptr, &list);
         return list == nullptr ? rc : 1;
       },
       0},
      {"GetDomain long name",
       [&](PolicyApiSession* h) {
         DomainRecord* list = nullptr;
         return Xo_PolicyApi_GetDomain(h, longName.c_str(), &list);
       },
       Mapped(kTextTooLong)},
      {"DeleteDomain long name",
       [&](PolicyApiSession* h) { return Xo_PolicyApi_DeleteDomain(h, longName.c_str()); },
       XO_ERR_DOMAIN_SEARCH},
      {"GetDomainObjectNames null output",
       [](PolicyApiSession* h) {
         return Xo_PolicyApi_GetDomainObjectNames(h, "sales", 1, nullptr);
       },
       XO_ERR_GENERAL},
      {"GetDomainObjectNames null domain",
       [](PolicyApiSession* h) {
         char** names = nullptr;
         return Xo_PolicyApi_GetDomainObjectNames(h, nullptr, 1, &names);
       },
       XO_ERR_EMPTY_NAME},
      {"GetGlobalObjectNames null output",
       [](PolicyApiSession* h) { return Xo_PolicyApi_GetGlobalObjectNames(h, 11, nullptr); },
       XO_ERR_GENERAL},
      {"RenameObject null identifier",
       [](PolicyApiSession* h) { return Xo_PolicyApi_RenameObject(h, nullptr, "x"); },
       XO_ERR_GENERAL},
      {"RenameObject null name",
       [&](PolicyApiSession* h) { return Xo_PolicyApi_RenameObject(h, oid.c_str(), nullptr); },
       Mapped(xo::store::kNameRequired)},
      {"RenameObject long name",
       [&](PolicyApiSession* h) {
         return Xo_PolicyApi_RenameObject(h, oid.c_str(), longName.c_str());
       },
       Mapped(kTextTooLong)},
      {"RenameObject long identifier",
       [&](PolicyApiSession* h) {
         return Xo_PolicyApi_RenameObject(h, (oid + longName).c_str(), "x");
       },
       XO_ERR_GENERAL},
      {"ManagementCommand null record",
       [](PolicyApiSession* h) { return Xo_PolicyApi_ManagementCommand(h, nullptr); },
       XO_ERR_GENERAL},
      {"ManagementCommand unterminated argument",
       [&](PolicyApiSession* h) {
         ManagementCommandRecord record{};
         record.command = 3;
         std::memcpy(record.argument, unterminated, sizeof record.argument);
         return Xo_PolicyApi_ManagementCommand(h, &record);
       },
       Mapped(kTextTooLong)},
  };
  const std::string before = Snapshot();
  for (const Case& c : cases) EXPECT_EQ(c.call(handle_), c.expected) << c.what;
  EXPECT_EQ(Snapshot(), before);
}

}  // namespace
}  // namespace xo::test
