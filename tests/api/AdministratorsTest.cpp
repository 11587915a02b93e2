// Administrators: adding, replacing, reading and deleting them, and their
// membership in domains.
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/ReturnedLists.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using xo::store::kNameTaken;
using xo::store::kPropertyAbsent;

AdminRecord Record(const std::string& name, const std::string& password = "secret",
                   int32_t flags = XO_ADMIN_DOMAIN) {
  AdminRecord record{};
  std::strcpy(record.name, name.c_str());
  std::strcpy(record.adminText, password.c_str());
  record.adminFlags = flags;
  return record;
}

class AdministratorsTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    support_ = Store().Domain("support");
  }
  CXoObjId Add(AdminRecord record, uint8_t update = 0, int32_t expected = 0) {
    EXPECT_EQ(Xo_PolicyApi_AddAdmin(handle_, &record, update), expected) << record.name;
    return expected == 0 ? CXoObjId(std::string(record.objectId)) : CXoObjId();
  }
  int32_t Get(const char* name, std::vector<AdminRecord>& found) {
    return CallGet([&](AdminRecord** list) { return Xo_PolicyApi_GetAdmin(handle_, name, list); },
                   found);
  }
  std::vector<AdminRecord> Get(const char* name) {
    std::vector<AdminRecord> found;
    EXPECT_EQ(Get(name, found), 0);
    return found;
  }
  int32_t Join(const char* admin, const char* domain = "sales") {
    return Xo_PolicyApi_AddAdminToDomain(handle_, admin, domain);
  }
  int32_t Leave(const char* admin, const char* domain = "sales") {
    return Xo_PolicyApi_RemoveAdminFromDomain(handle_, admin, domain);
  }
  CXoObjIdArray DomainsOf(const CXoObjId& admin) {
    CXoObjAdmin object;
    EXPECT_TRUE(Store().Load(admin, object));
    return object.GetDomains();
  }

  CXoObjId support_;
};

TEST_F(AdministratorsTest, AddedAdministratorReadsBackByteForByteAndCanLogIn) {
  Store().UserDirectory("corporate");
  Store().Scheme("tokens");
  AdminRecord record = Record("dana", "dana's password", XO_ADMIN_DOMAIN | XO_ADMIN_COMMAND(4));
  std::strcpy(record.description, "runs the sales domain");
  std::strcpy(record.userDirName, "corporate");
  std::strcpy(record.schemeName, "tokens");
  ASSERT_EQ(Xo_PolicyApi_AddAdmin(handle_, &record, 0), 0);
  const CXoObjId oid(std::string(record.objectId));
  EXPECT_EQ(oid.GetOidClass(), XoObjId_Admin);

  const std::vector<AdminRecord> found = Get("dana");
  ASSERT_EQ(found.size(), 1u);
  // The password is kept only as its hash, and read back as such.
  EXPECT_EQ(std::string(found[0].adminText).rfind("$argon2id$", 0), 0u);
  AdminRecord expected = record;
  expected.recordType = AdminRecordType;
  std::memcpy(expected.adminText, found[0].adminText, sizeof expected.adminText);
  EXPECT_EQ(std::memcmp(&found[0], &expected, sizeof expected), 0);
  CXoObjAdmin stored;
  ASSERT_TRUE(Store().Load(oid, stored));
  EXPECT_TRUE(stored.GetDirectoryBound());

  // Writing back what was read keeps the password (here without the
  // directory, so that the password is what logs in).
  AdminRecord again = found[0];
  std::strcpy(again.userDirName, "");
  ASSERT_EQ(Xo_PolicyApi_AddAdmin(handle_, &again, 1), 0);
  EXPECT_EQ(again.objectId, oid.GetOidString());
  PolicyApiSession* dana = nullptr;
  EXPECT_EQ(Login("dana", "dana's password", &dana), 0);
}

TEST_F(AdministratorsTest, ADirectoryBindingNeedsBothNames) {
  Store().UserDirectory("corporate");
  Store().Scheme("tokens");
  Duplicate(Store().Scheme("twin"));
  AdminRecord onlyDirectory = Record("ann");
  std::strcpy(onlyDirectory.userDirName, "no such directory");
  AdminRecord onlyScheme = Record("bob");
  std::strcpy(onlyScheme.schemeName, "no such scheme");
  for (const AdminRecord& record : {onlyDirectory, onlyScheme}) {
    CXoObjAdmin stored;
    ASSERT_TRUE(Store().Load(Add(record), stored));
    EXPECT_FALSE(stored.GetDirectoryBound());
    EXPECT_TRUE(stored.GetUserDirectoryOid().IsOidNull());
    EXPECT_TRUE(stored.GetSchemeOid().IsOidNull());
    const std::vector<AdminRecord> found = Get(record.name);
    EXPECT_STREQ(found[0].userDirName, "");
    EXPECT_STREQ(found[0].schemeName, "");
  }

  const std::string before = Snapshot();
  const auto bound = [](const char* directory, const char* scheme) {
    AdminRecord record = Record("cy");
    std::strcpy(record.userDirName, directory);
    std::strcpy(record.schemeName, scheme);
    return record;
  };
  Add(bound("no such directory", "tokens"), 0, XO_ERR_GENERAL);
  Add(bound(std::string(1100, 'd').c_str(), "tokens"), 0, XO_ERR_USERDIR_SEARCH);
  Add(bound("corporate", "twin"), 0, XO_ERR_GENERAL);
  Add(bound("corporate", std::string(1100, 's').c_str()), 0, XO_ERR_SCHEME_SEARCH);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(AdministratorsTest, UpdateKeepsTheDomainsTheAdministratorManages) {
  const CXoObjId dana = Add(Record("dana", "pw", XO_ADMIN_DOMAIN));
  ASSERT_EQ(Join("dana", "sales"), 0);
  ASSERT_EQ(Join("dana", "support"), 0);
  Add(Record("dana"), 0, Mapped(kNameTaken));
  EXPECT_EQ(Add(Record("dana", "new pw", XO_ADMIN_SYSTEM), 1), dana);
  EXPECT_EQ(DomainsOf(dana), (CXoObjIdArray{sales_, support_}));
  EXPECT_EQ(Store().DomainList(sales_, CXoObjDomain::Admins), CXoObjIdArray{dana});
  EXPECT_EQ(Get("dana")[0].adminFlags, XO_ADMIN_SYSTEM);

  // A new administrator saved with the flag has no domains.
  EXPECT_TRUE(DomainsOf(Add(Record("eve"), 1)).empty());
  // The domain list is read whether or not the name resolved.
  Duplicate(dana);
  Faults().StartRecording();
  Add(Record("dana", "pw"), 1);
  const std::vector<StoreOp> calls = Faults().Recorded();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), StoreOp::FetchProperty), 1);
}

TEST_F(AdministratorsTest, TheLastSystemAdministratorWithAPasswordCannotGo) {
  Store().UserDirectory("corporate");
  Store().Scheme("tokens");
  const AdminRecord self = Get(kAdmin)[0];
  const auto update = [&](auto edit) {
    AdminRecord record = self;
    edit(record);
    return Xo_PolicyApi_AddAdmin(handle_, &record, 1);
  };
  const auto bind = [](AdminRecord& r) {
    std::strcpy(r.userDirName, "corporate");
    std::strcpy(r.schemeName, "tokens");
  };
  const struct {
    const char* change;
    std::function<int32_t()> call;
  } kRefused[] = {
      {"delete", [&] { return Xo_PolicyApi_DeleteAdmin(handle_, kAdmin); }},
      {"drop the system right",
       [&] { return update([](AdminRecord& r) { r.adminFlags = XO_ADMIN_DOMAIN; }); }},
      {"drop the password", [&] { return update([](AdminRecord& r) { r.adminText[0] = '\0'; }); }},
      {"log in through a directory", [&] { return update(bind); }},
  };
  const std::string before = Snapshot();
  for (const auto& refused : kRefused) {
    EXPECT_EQ(refused.call(), XO_ERR_GENERAL) << refused.change;
    EXPECT_EQ(Snapshot(), before) << refused.change;
  }
  EXPECT_EQ(CXoObjStore::Delete(CXoObjId(std::string(self.objectId)), Store().Sid()),
            xo::store::kLastSystemAdmin);

  // One whose directory may be unreachable does not count; one with a
  // password does, and then either may go, but not both.
  AdminRecord bound = Record("directory-root", "pw", XO_ADMIN_SYSTEM);
  bind(bound);
  Add(bound);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(handle_, kAdmin), XO_ERR_GENERAL);
  Add(Record("backup", "pw", XO_ADMIN_SYSTEM));
  EXPECT_EQ(update([](AdminRecord& r) { r.adminFlags = XO_ADMIN_DOMAIN; }), 0);
  PolicyApiSession* backup = nullptr;
  ASSERT_EQ(Login("backup", "pw", &backup), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(backup, "backup"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(backup, kAdmin), 0);
}

TEST_F(AdministratorsTest, GetAndDeleteTakeEveryAdministratorOfTheName) {
  const CXoObjId first = Add(Record("twin"));
  const CXoObjId second = Duplicate(first);
  const std::vector<AdminRecord> found = Get("twin");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].objectId, first.GetOidString());
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  EXPECT_TRUE(Get("unknown").empty());

  ASSERT_EQ(Join("twin"), XO_ERR_GENERAL);
  Store().AppendToDomainList(sales_, CXoObjDomain::Admins, first);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(handle_, "unknown"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(handle_, "twin"), 0);
  EXPECT_FALSE(Store().Exists(first));
  EXPECT_FALSE(Store().Exists(second));
  EXPECT_TRUE(Store().DomainList(sales_, CXoObjDomain::Admins).empty());
  EXPECT_EQ(QueryStoreFile(StorePath(),
                           "SELECT operation FROM xo_audit WHERE class = 15 AND name = 'twin' "
                           "ORDER BY seq"),
            (std::vector<std::string>{"create", "delete", "delete"}));
}

TEST_F(AdministratorsTest, DomainMembershipAddsOnceAndRemovesEveryCopy) {
  const CXoObjId dana = Add(Record("dana"));
  const CXoObjId eve = Add(Record("eve"));
  EXPECT_EQ(Leave("dana"), XO_ERR_NOT_MEMBER);
  ASSERT_EQ(Join("dana"), 0);
  EXPECT_EQ(Join("dana"), XO_ERR_ALREADY_MEMBER);
  ASSERT_EQ(Join("eve"), 0);
  Store().AppendToDomainList(sales_, CXoObjDomain::Admins, dana);
  ASSERT_EQ(Leave("dana"), 0);
  EXPECT_EQ(Store().DomainList(sales_, CXoObjDomain::Admins), CXoObjIdArray{eve});
  EXPECT_TRUE(DomainsOf(dana).empty());

  const std::string before = Snapshot();
  EXPECT_EQ(Leave("dana"), 0);
  EXPECT_EQ(Join("", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Join(std::string(1100, 'a').c_str(), "sales"), XO_ERR_ADMIN_SEARCH);
  EXPECT_EQ(Join("unknown"), XO_ERR_GENERAL);
  // The domain is resolved before the administrator.
  EXPECT_EQ(Leave("", std::string(1100, 'd').c_str()), XO_ERR_DOMAIN_SEARCH);
  EXPECT_EQ(Leave("dana", nullptr), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(AdministratorsTest, BadInputGivesClearCodesAndChangesNothing) {
  AdminRecord unterminated = Record("dana");
  std::memset(unterminated.description, 'u', sizeof unterminated.description);
  const std::string before = Snapshot();
  Add(unterminated, 0, Mapped(xo::store::kTextTooLong));
  Add(Record(""), 1, Mapped(xo::store::kNameRequired));
  EXPECT_EQ(Xo_PolicyApi_AddAdmin(handle_, nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetAdmin(handle_, "dana", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(AdministratorsTest, StoreFailuresAreMappedAndChangeNothing) {
  const auto expect = [](std::vector<int32_t> searchCodes) {
    return [=](StoreOp op, int n) {
      if (op == StoreOp::ReadRights) return XO_ERR_GENERAL;
      if (op == StoreOp::Search && n <= int(searchCodes.size())) return searchCodes[n - 1];
      if (op == StoreOp::Fetch && n > 1) return XO_ERR_GENERAL;  // a name read back
      return Mapped(kBusy);
    };
  };
  Store().UserDirectory("corporate");
  Store().Scheme("tokens");
  AdminRecord bound = Record("dana");
  std::strcpy(bound.userDirName, "corporate");
  std::strcpy(bound.schemeName, "tokens");
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddAdmin(handle_, &bound, 0); },
                      expect({XO_ERR_USERDIR_SEARCH, XO_ERR_SCHEME_SEARCH})),
            4);
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddAdmin(handle_, &bound, 1); },
                      expect({XO_ERR_USERDIR_SEARCH, XO_ERR_SCHEME_SEARCH, kAbsorbed})),
            8);
  // An absent domain list is an empty one: the update goes on.
  Faults().FailAt(StoreOp::FetchProperty, 1, kPropertyAbsent);
  EXPECT_EQ(Xo_PolicyApi_AddAdmin(handle_, &bound, 1), 0);
  // The directory's and the scheme's names are read back by fetching them.
  std::vector<AdminRecord> found;
  EXPECT_EQ(SweepBusy([&] { return Get("dana", found); }, expect({})), 5);
  EXPECT_EQ(
      SweepBusy([&] { return Join("dana"); }, expect({XO_ERR_DOMAIN_SEARCH, XO_ERR_ADMIN_SEARCH})),
      7);
  EXPECT_EQ(
      SweepBusy([&] { return Leave("dana"); }, expect({XO_ERR_DOMAIN_SEARCH, XO_ERR_ADMIN_SEARCH})),
      7);
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_DeleteAdmin(handle_, "dana"); }, expect({})), 3);
}

TEST_F(AdministratorsTest, AllocationFailuresHandOutNoHalfList) {
  Duplicate(Add(Record("twin")));
  std::vector<AdminRecord> found;
  EXPECT_EQ(SweepAllocationFailures([&] { return Get("twin", found); }, XO_ERR_GENERAL), 2);
}

}  // namespace
}  // namespace xo::test
