// What a system administrator, a domain administrator and an administrator
// without rights may do with directories, query schemes, administrators,
// directory users, policy users and the domain-level families: system-level
// calls need the system administrator; domain calls the domain's
// administrator or a system administrator.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/ApiTest.h"
#include "support/DirectoryFixtures.h"
#include "support/ReturnedLists.h"

namespace xo::test {
namespace {

constexpr int32_t kRefused = XO_ERR_GENERAL;

struct Probe {
  std::string what;
  std::function<int32_t(PolicyApiSession*)> call;
  int32_t forDomainAdmin;  // the system administrator gets 0, one without rights -1
};

// A Get function's result; what it hands out is freed.
template <class Record, class Get>
int32_t Listed(Get&& get) {
  std::vector<Record> ignored;
  return CallGet(get, ignored);
}

template <class Get>
int32_t Named(Get&& get) {
  std::vector<std::string> ignored;
  return CallGetNames(get, ignored);
}

// Adding (with the update flag) a record of `newName`, reading `existing` and
// deleting `doomed` in one system-level family.
template <class Record, class Add, class Get, class Delete>
std::vector<Probe> Family(const std::string& family, const char* newName, const char* existing,
                          const char* doomed, Add add, Get get, Delete del) {
  return {{("add " + family).c_str(),
           [=](PolicyApiSession* h) {
             Record record{};
             std::strcpy(record.name, newName);
             return add(h, &record, 1);
           },
           kRefused},
          {("get " + family).c_str(),
           [=](PolicyApiSession* h) {
             return Listed<Record>([&](Record** list) { return get(h, existing, list); });
           },
           kRefused},
          {("delete " + family).c_str(), [=](PolicyApiSession* h) { return del(h, doomed); },
           kRefused}};
}

class RightsAcrossAdminsTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    own_ = Store().Domain("own");
    const CXoObjId other = Store().Domain("other");
    Store().Domain("doomed");
    CXoObjODBCQuery queries = odbc_.QueryScheme("queries");
    const CXoObjId scheme = Store().Save(queries);
    for (const char* name : {"hr", "spare"}) {
      CXoObjUserDirectory directory = odbc_.Directory(scheme, name);
      Store().Save(directory);
    }
    EXPECT_EQ(Xo_PolicyApi_AddUserDirToDomain(handle_, "hr", "own"), 0);
    Store().Policy(own_, "staff");
    Store().Policy(other, "staff");
    Store().Admin("eve", "pw", 0);
    dana_ = LoginAs("dana", XO_ADMIN_DOMAIN);
    nobody_ = LoginAs("nobody", 0);
    EXPECT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "own"), 0);
  }

  std::vector<Probe> Probes() {
    const std::string ownOid = own_.GetOidString();
    std::vector<Probe> probes = {
        // Even the domain's own search order is a system-level matter.
        {"add directory to own domain",
         [](PolicyApiSession* h) { return Xo_PolicyApi_AddUserDirToDomain(h, "spare", "own"); },
         kRefused},
        {"remove directory from own domain",
         [](PolicyApiSession* h) {
           return Xo_PolicyApi_RemoveUserDirFromDomain(h, "spare", "own");
         },
         kRefused},
        {"get own search order",
         [](PolicyApiSession* h) {
           return Named(
               [&](char*** names) { return Xo_PolicyApi_GetUserDirSearchOrder(h, "own", names); });
         },
         kRefused},
        {"set own search order",
         [](PolicyApiSession* h) {
           char hr[] = "hr";
           char* names[] = {hr, nullptr};
           return Xo_PolicyApi_SetUserDirSearchOrder(h, "own", names);
         },
         kRefused},
        {"add administrator to own domain",
         [](PolicyApiSession* h) { return Xo_PolicyApi_AddAdminToDomain(h, "eve", "own"); },
         kRefused},
        {"remove administrator from own domain",
         [](PolicyApiSession* h) { return Xo_PolicyApi_RemoveAdminFromDomain(h, "eve", "own"); },
         kRefused},
        {"directory contents",
         [](PolicyApiSession* h) {
           return Listed<UserEntryRecord>([&](UserEntryRecord** list) {
             return Xo_PolicyApi_GetDirectoryContents(h, "hr", list);
           });
         },
         kRefused},
        // The users of a directory that a managed domain searches.
        {"disable user of own directory",
         [](PolicyApiSession* h) {
           return Xo_PolicyApi_SetDisableUserState(h, "hr", "users/bob", Xo_Api_DisabledByAdmin,
                                                   nullptr);
         },
         0},
        {"read user state of own directory",
         [](PolicyApiSession* h) {
           Xo_Api_DisabledReason_t reason;
           return Xo_PolicyApi_GetDisableUserState(h, "hr", "users/bob", &reason, nullptr);
         },
         0},
        {"set password in own directory",
         [](PolicyApiSession* h) {
           return Xo_PolicyApi_SetPassword(h, "hr", "users/bob", "pw", nullptr);
         },
         0},
        {"flush user of own directory",
         [](PolicyApiSession* h) { return Xo_PolicyApi_FlushUser(h, "hr", "users/bob"); }, 0},
        {"disable user of other directory",
         [](PolicyApiSession* h) {
           return Xo_PolicyApi_SetDisableUserState(h, "spare", "users/bob", Xo_Api_NotDisabled,
                                                   nullptr);
         },
         kRefused},
        {"read user state of other directory",
         [](PolicyApiSession* h) {
           Xo_Api_DisabledReason_t reason;
           return Xo_PolicyApi_GetDisableUserState(h, "spare", "users/bob", &reason, nullptr);
         },
         kRefused},
        {"set password in other directory",
         [](PolicyApiSession* h) {
           return Xo_PolicyApi_SetPassword(h, "spare", "users/bob", "pw", nullptr);
         },
         kRefused},
        {"flush user of other directory",
         [](PolicyApiSession* h) { return Xo_PolicyApi_FlushUser(h, "spare", "users/bob"); },
         kRefused},
        {"attach user in own domain", [](PolicyApiSession* h) { return Attach(h, "own"); }, 0},
        {"list users in own domain", [](PolicyApiSession* h) { return Users(h, "own"); }, 0},
        {"detach user in own domain",
         [](PolicyApiSession* h) {
           return Xo_PolicyApi_RemoveUsersFromPolicy(h, "own", "staff", "hr", "users/alice");
         },
         0},
        {"attach user in other domain", [](PolicyApiSession* h) { return Attach(h, "other"); },
         kRefused},
        {"list users in other domain", [](PolicyApiSession* h) { return Users(h, "other"); },
         kRefused},
        {"detach user in other domain",
         [](PolicyApiSession* h) {
           return Xo_PolicyApi_RemoveUsersFromPolicy(h, "other", "staff", "hr", "users/alice");
         },
         kRefused},
        {"names in own domain", [](PolicyApiSession* h) { return DomainNames(h, "own"); }, 0},
        {"names in other domain", [](PolicyApiSession* h) { return DomainNames(h, "other"); },
         kRefused},
        {"global names",
         [](PolicyApiSession* h) {
           return Named([&](char*** names) {
             return Xo_PolicyApi_GetGlobalObjectNames(h, XO_GLOBAL_DOMAINS, names);
           });
         },
         kRefused},
        {"rename own domain",
         [ownOid](PolicyApiSession* h) {
           return Xo_PolicyApi_RenameObject(h, ownOid.c_str(), "own");
         },
         0},
        {"command",
         [](PolicyApiSession* h) {
           ManagementCommandRecord record{1, "x"};
           return Xo_PolicyApi_ManagementCommand(h, &record);
         },
         kRefused},
    };
    for (const std::vector<Probe>& family :
         {Family<OdbcQuerySchemeRecord>(
              "query scheme", "more queries", "queries", "none", Xo_PolicyApi_CreateODBCQueryScheme,
              Xo_PolicyApi_GetODBCQueryScheme, Xo_PolicyApi_DeleteODBCQueryScheme),
          Family<UserDirRecord>("directory", "more users", "hr", "none", Xo_PolicyApi_CreateUserDir,
                                Xo_PolicyApi_GetUserDir, Xo_PolicyApi_DeleteUserDir),
          Family<AdminRecord>("administrator", "frank", "dana", "none", Xo_PolicyApi_AddAdmin,
                              Xo_PolicyApi_GetAdmin, Xo_PolicyApi_DeleteAdmin),
          Family<DomainRecord>("domain", "own", "own", "doomed", Xo_PolicyApi_AddDomain,
                               Xo_PolicyApi_GetDomain, Xo_PolicyApi_DeleteDomain)}) {
      probes.insert(probes.end(), family.begin(), family.end());
    }
    return probes;
  }

  // Runs every probe as one administrator; a refused call changes nothing.
  void RunProbes(PolicyApiSession* handle, const std::function<int32_t(const Probe&)>& expected) {
    for (const Probe& probe : Probes()) {
      const std::string before = Snapshot();
      const int32_t rc = probe.call(handle);
      EXPECT_EQ(rc, expected(probe)) << probe.what;
      if (rc != 0) {
        EXPECT_EQ(Snapshot(), before) << probe.what;
      }
    }
  }

  static int32_t Attach(PolicyApiSession* h, const char* domain) {
    return Xo_PolicyApi_AddUsersToPolicy(h, domain, "staff", "hr", "users/alice",
                                         Xo_PolicyResolution_User);
  }
  static int32_t Users(PolicyApiSession* h, const char* domain) {
    return Listed<UserEntryRecord>([&](UserEntryRecord** list) {
      return Xo_PolicyApi_GetPolicyUsers(h, domain, "staff", "hr", list);
    });
  }
  static int32_t DomainNames(PolicyApiSession* h, const char* domain) {
    return Named([&](char*** names) {
      return Xo_PolicyApi_GetDomainObjectNames(h, domain, XO_DOMAIN_POLICIES, names);
    });
  }

  OdbcUsers odbc_;
  CXoObjId own_;
  PolicyApiSession* dana_ = nullptr;
  PolicyApiSession* nobody_ = nullptr;
};

TEST_F(RightsAcrossAdminsTest, AnAdministratorWithoutRightsMayDoNothing) {
  RunProbes(nobody_, [](const Probe&) { return kRefused; });
}

TEST_F(RightsAcrossAdminsTest, ADomainAdministratorManagesItsDomainsAndTheirDirectoriesUsers) {
  RunProbes(dana_, [](const Probe& probe) { return probe.forDomainAdmin; });
}

TEST_F(RightsAcrossAdminsTest, TheSystemAdministratorMayDoEverything) {
  RunProbes(handle_, [](const Probe&) { return XO_OK; });
}

TEST_F(RightsAcrossAdminsTest, TakingAnAdministratorOutOfADomainTakesEffectAtTheNextCall) {
  ASSERT_EQ(Users(dana_, "own"), 0);
  ASSERT_EQ(Xo_PolicyApi_FlushUser(dana_, "hr", "users/bob"), 0);
  ASSERT_EQ(Xo_PolicyApi_RemoveAdminFromDomain(handle_, "dana", "own"), 0);
  EXPECT_EQ(Users(dana_, "own"), kRefused);
  EXPECT_EQ(Attach(dana_, "own"), kRefused);
  EXPECT_EQ(Xo_PolicyApi_FlushUser(dana_, "hr", "users/bob"), kRefused);
  EXPECT_EQ(DomainNames(dana_, "own"), kRefused);

  // And back in, at once too.
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "own"), 0);
  EXPECT_EQ(Users(dana_, "own"), 0);
}

}  // namespace
}  // namespace xo::test
