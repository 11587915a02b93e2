// The system objects found by name alone: domains, agents, schemes, ODBC query
// schemes, user directories and administrators. Each kind's record read back
// byte for byte; the life of a name (taken, rewritten, shared, deleted); the
// objects a record names; the administrators' own rules; and the calls on the
// system as a whole: management commands and renaming by identifier.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"
#include "support/ReturnedLists.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

// Every text full, and what the kind names set to objects the fixture makes.
template <class R>
R Full(const std::string& name) {
  R record = Filled<R>(name.c_str());
  if constexpr (requires { record.agentInt; }) Put(record.agentTypeName, "RADIUS Agent");
  if constexpr (requires { record.schemeFlag2; }) record.schemeFlag2 = 9;  // any non-zero is true
  if constexpr (requires { record.querySchemeName; }) {
    Put(record.directoryType, "ODBC:");
    Put(record.querySchemeName, "queries");
  }
  if constexpr (requires { record.adminFlags; }) {
    Put(record.userDirName, "corporate");
    Put(record.schemeName, "tokens");
    record.adminFlags = XO_ADMIN_DOMAIN | XO_ADMIN_COMMAND(4);
  }
  return record;
}

// The record an Add or Create function takes.
template <class R>
R RecordOf(int32_t(XO_API_CALL*)(PolicyApiSession*, R*, uint8_t));

// The domain "sales" and what the records here name: the query scheme
// "queries", the directory "corporate" and the scheme "tokens".
class SystemObjectsTest : public SalesApiTest {
 protected:
  void SetUp() override {
    SalesApiTest::SetUp();
    Store().OdbcQuery("queries");
    Store().UserDirectory("corporate");
    Store().Scheme("tokens");
  }
};

TEST_F(SystemObjectsTest, RecordsReadBackAndNamesAreTakenRewrittenSharedAndDeleted) {
  const auto check = [&](auto add, auto get, auto remove) {
    using R = decltype(RecordOf(add));
    R record = Full<R>("front");
    SCOPED_TRACE(RecordTag<R>());
    const auto read = [&](const char* name) {
      std::vector<R> found;
      EXPECT_EQ(CallGet([&](R** list) { return get(handle_, name, list); }, found), 0);
      return found;
    };
    const auto ids = [&](const char* name) {
      std::vector<std::string> ids;
      for (const R& found : read(name)) ids.push_back(found.objectId);
      return ids;
    };
    // Directories and query schemes leave the record as it was given.
    constexpr bool writesId =
        !std::is_same_v<R, UserDirRecord> && !std::is_same_v<R, OdbcQuerySchemeRecord>;
    std::memset(record.objectId, 'x', sizeof record.objectId);
    const R given = record;
    ASSERT_EQ(add(handle_, &record, 0), 0);
    const std::vector<R> found = read("front");
    ASSERT_EQ(found.size(), 1u);
    const std::string first = found[0].objectId;
    if (writesId) {
      EXPECT_EQ(record.objectId, first);
      std::memcpy(record.objectId, given.objectId, sizeof record.objectId);
    }
    EXPECT_TRUE(SameBytes(record, given)) << "the record was written";
    R expected = given;
    expected.recordType = RecordTag<R>();
    Put(expected.objectId, first);
    if constexpr (requires { expected.schemeFlag2; }) expected.schemeFlag2 = 1;
    if constexpr (requires { expected.adminText; }) {  // the password is kept as a hash
      std::memcpy(expected.adminText, found[0].adminText, sizeof expected.adminText);
    }
    EXPECT_TRUE(SameBytes(found[0], expected));

    // A taken name is refused; with the update flag the object is rewritten.
    Put(record.description, "changed");
    EXPECT_EQ(add(handle_, &record, 0), Mapped(xo::store::kNameTaken));
    ASSERT_EQ(add(handle_, &record, 1), 0);
    const std::string written(record.objectId, first.size());
    EXPECT_EQ(written, writesId ? first : std::string(first.size(), 'x'));
    EXPECT_EQ(ids("front"), std::vector<std::string>{first});
    EXPECT_STREQ(read("front")[0].description, "changed");
    Put(record.name, "other");  // a name no object has is created
    ASSERT_EQ(add(handle_, &record, 1), 0);
    // Every object of a name is read, in creation order, and deleted; a
    // domain's name must name one domain.
    const std::string second = Duplicate(CXoObjId(first)).GetOidString();
    EXPECT_EQ(ids("front"), (std::vector<std::string>{first, second}));
    const bool resolves = std::is_same_v<R, DomainRecord>;
    EXPECT_EQ(remove(handle_, "unknown"), resolves ? XO_ERR_GENERAL : XO_OK);
    EXPECT_EQ(remove(handle_, "front"), resolves ? XO_ERR_GENERAL : XO_OK);
    EXPECT_EQ(ids("front").size(), resolves ? 2u : 0u);
    EXPECT_EQ(remove(handle_, "other"), 0);
    EXPECT_TRUE(ids("other").empty());
  };
  check(Xo_PolicyApi_AddDomain, Xo_PolicyApi_GetDomain, Xo_PolicyApi_DeleteDomain);
  check(Xo_PolicyApi_AddAgent, Xo_PolicyApi_GetAgent, Xo_PolicyApi_DeleteAgent);
  check(Xo_PolicyApi_AddScheme, Xo_PolicyApi_GetScheme, Xo_PolicyApi_DeleteScheme);
  check(Xo_PolicyApi_CreateODBCQueryScheme, Xo_PolicyApi_GetODBCQueryScheme,
        Xo_PolicyApi_DeleteODBCQueryScheme);
  check(Xo_PolicyApi_CreateUserDir, Xo_PolicyApi_GetUserDir, Xo_PolicyApi_DeleteUserDir);
  check(Xo_PolicyApi_AddAdmin, Xo_PolicyApi_GetAdmin, Xo_PolicyApi_DeleteAdmin);
}

// An ODBC directory names its query scheme, an administrator the directory
// and scheme it logs in with; administrators manage domains, and one of them
// must be a system administrator who logs in with a password.
TEST_F(SystemObjectsTest, NamedObjectsMustBeFoundOnceAndTheLastSystemAdministratorStays) {
  Duplicate(Store().OdbcQuery("twin"));
  const auto directory = [&](const char* type, const char* scheme) {
    UserDirRecord record = Full<UserDirRecord>(type);
    Put(record.directoryType, type);
    Put(record.querySchemeName, scheme);
    return Xo_PolicyApi_CreateUserDir(handle_, &record, 0);
  };
  const auto admin = [&](const char* dir, const char* scheme) {
    AdminRecord record = Full<AdminRecord>(std::string(dir) + "+" + scheme);
    Put(record.userDirName, dir);
    Put(record.schemeName, scheme);
    return Xo_PolicyApi_AddAdmin(handle_, &record, 0);
  };
  EXPECT_EQ(directory("ODBC:", ""), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(directory("ODBC:", "twin"), XO_ERR_GENERAL);
  Faults().FailAt(StoreOp::Search, 1, kBusyCode);
  EXPECT_EQ(directory("ODBC:", "queries"), XO_ERR_ODBC_QUERY_SEARCH);
  // Any other directory type ignores the query scheme's name, and an
  // administrator with only one of its two names is bound to no directory.
  for (const char* type : {"odbc:", "ODBC: ", " ODBC:", "ODBC", "LDAP:"}) {
    EXPECT_EQ(directory(type, "unknown"), 0) << type;
  }
  EXPECT_EQ(admin("unknown", ""), 0);
  EXPECT_EQ(admin("", "unknown"), 0);

  // An update keeps the domains an administrator manages, and the password
  // read back.
  const CXoObjId dana = Store().Admin("dana", "dana's password", XO_ADMIN_DOMAIN);
  ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "dana", "sales"), 0);
  AdminRecord* list = nullptr;
  ASSERT_EQ(Xo_PolicyApi_GetAdmin(handle_, "dana", &list), 0);
  ASSERT_EQ(Xo_PolicyApi_AddAdmin(handle_, list, 1), 0);
  Xo_PolicyApi_FreeMemory(list);
  CXoObjAdmin stored;
  ASSERT_TRUE(Store().Load(dana, stored));
  EXPECT_EQ(stored.GetDomains(), CXoObjIdArray{sales_});
  PolicyApiSession* session = nullptr;
  EXPECT_EQ(Login("dana", "dana's password", &session), 0);

  // The last system administrator who logs in with a password cannot go.
  ASSERT_EQ(Xo_PolicyApi_GetAdmin(handle_, kAdmin, &list), 0);
  const AdminRecord self = Collect(list)[0];
  AdminRecord demoted = self, bound = Full<AdminRecord>(kAdmin);
  demoted.adminFlags = XO_ADMIN_DOMAIN;
  bound.adminFlags = XO_ADMIN_SYSTEM;
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(handle_, kAdmin), XO_ERR_GENERAL);
  for (AdminRecord change : {demoted, bound}) {
    EXPECT_EQ(Xo_PolicyApi_AddAdmin(handle_, &change, 1), XO_ERR_GENERAL);
  }

  // One who logs in through a directory, which may be unreachable, does not
  // count; one with a password does, and then either may go, but not both.
  Put(bound.name, "directory-root");
  ASSERT_EQ(Xo_PolicyApi_AddAdmin(handle_, &bound, 0), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(handle_, kAdmin), XO_ERR_GENERAL);
  Store().Admin("backup", "pw", XO_ADMIN_SYSTEM);
  EXPECT_EQ(Xo_PolicyApi_AddAdmin(handle_, &demoted, 1), 0);
  PolicyApiSession* backup = nullptr;
  ASSERT_EQ(Login("backup", "pw", &backup), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(backup, "backup"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteAdmin(backup, kAdmin), 0);
}

// Management commands, each of which needs its own right, and renaming by
// identifier, which needs an object with a name.
TEST_F(SystemObjectsTest, CommandNumbersBecomeServerCommandsAndNamedObjectsAreRenamed) {
  const auto command = [](PolicyApiSession* h, int32_t number, const char* argument) {
    ManagementCommandRecord record{number, {}};
    std::strcpy(record.argument, argument);
    return Xo_PolicyApi_ManagementCommand(h, &record);
  };
  const auto stored = [&](const std::string& columns) {
    return QueryStoreFile(StorePath(), "SELECT " + columns + " FROM server_command ORDER BY seq");
  };
  for (const char* argument : {"1", "2", "3", "4", "5"}) {
    EXPECT_EQ(command(handle_, std::atoi(argument), argument), 0);
  }
  EXPECT_EQ(stored("command, argument"),
            (std::vector<std::string>{"1|1", "2|2", "3|3", "8|4", "9|5"}));
  // Numbers out of range are refused before the rights are asked.
  Faults().StartRecording();
  for (int32_t number : {0, 6, -1, 8}) EXPECT_EQ(command(handle_, number, ""), XO_ERR_GENERAL);
  EXPECT_TRUE(Faults().Recorded().empty());
  PolicyApiSession* flusher = LoginAs("operator", XO_ADMIN_COMMAND(8));
  for (int32_t number = 1; number <= 5; ++number) {
    EXPECT_EQ(command(flusher, number, ""), number == 4 ? 0 : XO_ERR_GENERAL) << number;
  }

  const CXoObjId rule = Store().Rule(sales_, Store().Realm(sales_, "web"), "get");
  ASSERT_EQ(Xo_PolicyApi_RenameObject(handle_, rule.GetOidString().c_str(), "fetch"), 0);
  CXoObjRule renamed;
  ASSERT_TRUE(Store().Load(rule, renamed));
  EXPECT_EQ(renamed.GetName(), "fetch");
  EXPECT_EQ(Xo_PolicyApi_RenameObject(handle_, stored("oid")[0].c_str(), "x"), XO_ERR_GENERAL);
  // An identifier of no known class is refused before the handle is looked at.
  for (const char* oid : {"", "not an id", "ff-1234", "zz-0000"}) {
    EXPECT_EQ(Xo_PolicyApi_RenameObject(nullptr, oid, "x"), XO_ERR_GENERAL) << oid;
  }
}

}  // namespace
}  // namespace xo::test
