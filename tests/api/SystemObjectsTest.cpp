// Agents, authentication schemes, ODBC query schemes and user directories,
// the system objects found by name alone: adding and rewriting them, reading
// them back, and deleting them by name. What the families share runs as one
// typed suite.
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

using xo::store::kTextTooLong;
using Answer = StoreAnswer;

// A family's record and functions. Unless a family says otherwise, its
// records are written back, not audited, and take two store calls to add and
// three to update, read or delete, each failure giving the mapped code.
template <class R, auto AddFn, auto GetFn, auto DeleteFn>
struct Family {
  using Record = R;
  static Record Make(const std::string& name) {
    Record record = Zeroed<Record>();
    Put(record.name, name);
    return record;
  }
  static int32_t Add(PolicyApiSession* h, Record* r, uint8_t update) { return AddFn(h, r, update); }
  static int32_t Get(PolicyApiSession* h, const char* name, Record** list) {
    return GetFn(h, name, list);
  }
  static int32_t Delete(PolicyApiSession* h, const char* name) { return DeleteFn(h, name); }
  static constexpr bool kWritesId = true;
  static constexpr int kAuditClass = 0;
  static constexpr int kCalls[] = {2, 3, 3, 3};
  // A failed look-up for the update is passed over.
  static std::vector<Answer> AddAnswers() { return {{StoreOp::Search, 0, kAbsorbedFailure}}; }
  static std::vector<Answer> GetAnswers() { return {}; }
};

struct Agents
    : Family<AgentRecord, Xo_PolicyApi_AddAgent, Xo_PolicyApi_GetAgent, Xo_PolicyApi_DeleteAgent> {
  static constexpr const char* kName = "Agents";
  static constexpr const char* kBuiltIn = "test agent";  // serves every realm the store makes
  static Record Make(const std::string& name, const std::string& type = "HTTP Agent") {
    Record record = Family::Make(name);
    Put(record.agentTypeName, type);
    return record;
  }
  static void Overlong(Record& record) { Unterminated(record.name, 'n'); }
  // A failed look-up of the agent type is reported; an agent type that cannot
  // be read leaves the type name empty.
  static constexpr int kCalls[] = {3, 4, 4, 3};
  static std::vector<Answer> AddAnswers() {
    return {{StoreOp::Search, 1, XO_ERR_AGENT_TYPE_SEARCH}, {StoreOp::Search, 0, kAbsorbedFailure}};
  }
  static std::vector<Answer> GetAnswers() { return {{StoreOp::Fetch, 2, XO_OK}}; }
};

struct Schemes : Family<SchemeRecord, Xo_PolicyApi_AddScheme, Xo_PolicyApi_GetScheme,
                        Xo_PolicyApi_DeleteScheme> {
  static constexpr const char* kName = "Schemes";
  static constexpr const char* kBuiltIn = "Basic";  // protects every realm the store makes
  static void Overlong(Record& record) { Unterminated(record.schemeString3, 't'); }
};

// The query scheme and the directory records are never written back.
struct QuerySchemes : Family<OdbcQuerySchemeRecord, Xo_PolicyApi_CreateODBCQueryScheme,
                             Xo_PolicyApi_GetODBCQueryScheme, Xo_PolicyApi_DeleteODBCQueryScheme> {
  static constexpr const char* kName = "OdbcQuerySchemes";
  static void Overlong(Record& record) { Unterminated(record.query[3]); }
  static constexpr bool kWritesId = false;
  static constexpr int kAuditClass = 19;
};

struct Directories : Family<UserDirRecord, Xo_PolicyApi_CreateUserDir, Xo_PolicyApi_GetUserDir,
                            Xo_PolicyApi_DeleteUserDir> {
  static constexpr const char* kName = "UserDirectories";
  static Record Make(const std::string& name) {
    Record record = Family::Make(name);
    Put(record.directoryType, "LDAP:");
    return record;
  }
  static void Overlong(Record& record) { Unterminated(record.string7); }
  static constexpr bool kWritesId = false;
  static constexpr int kAuditClass = 14;
};

template <class Family>
class SystemObjectsTest : public ApiTest {
 protected:
  using Record = typename Family::Record;
  CXoObjId Add(const std::string& name, uint8_t update = 0) {
    Record record = Family::Make(name);
    EXPECT_EQ(Family::Add(handle_, &record, update), 0);
    const std::vector<Record> found = Get(name.c_str());
    return found.empty() ? CXoObjId() : CXoObjId(std::string(found.back().objectId));
  }
  int32_t Get(PolicyApiSession* handle, const char* name, std::vector<Record>& out) {
    return CallGet([&](Record** list) { return Family::Get(handle, name, list); }, out);
  }
  std::vector<Record> Get(const char* name) {
    std::vector<Record> found;
    EXPECT_EQ(Get(handle_, name, found), 0);
    return found;
  }
};

struct FamilyName {
  template <class Family>
  static std::string GetName(int) {
    return Family::kName;
  }
};
using Families = ::testing::Types<Agents, Schemes, QuerySchemes, Directories>;
TYPED_TEST_SUITE(SystemObjectsTest, Families, FamilyName);
// Agents and schemes come built in, and realms use them.
template <class Family>
class BuiltInObjectsTest : public SystemObjectsTest<Family> {};
using BuiltIns = ::testing::Types<Agents, Schemes>;
TYPED_TEST_SUITE(BuiltInObjectsTest, BuiltIns, FamilyName);

TYPED_TEST(SystemObjectsTest, UpdateRewritesAndDeleteTakesEveryObjectOfTheName) {
  using Family = TypeParam;
  const CXoObjId first = this->Add("front");
  auto record = Family::Make("front");
  Put(record.description, "changed");
  if constexpr (requires { record.directoryType; }) Put(record.directoryType, "AD:");
  ASSERT_EQ(Family::Add(this->handle_, &record, 1), 0);
  EXPECT_EQ(std::string(record.objectId), Family::kWritesId ? first.GetOidString() : "");
  // Without the flag a taken name is refused and the record left alone.
  std::memset(record.objectId, 'x', sizeof record.objectId);
  const auto before = record;
  EXPECT_EQ(Family::Add(this->handle_, &record, 0), Mapped(xo::store::kNameTaken));
  EXPECT_TRUE(SameBytes(record, before));
  this->Add("other", 1);  // a new name with the flag is simply created

  const CXoObjId second = this->Duplicate(first);
  auto found = this->Get("front");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].objectId, first.GetOidString());
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  auto expected = record;
  Put(expected.objectId, first.GetOidString());
  expected.recordType = found[0].recordType;
  EXPECT_TRUE(SameBytes(found[0], expected)) << "the update rewrites every field";

  EXPECT_EQ(Family::Delete(this->handle_, "front"), 0);
  EXPECT_EQ(Family::Delete(this->handle_, "front"), 0);
  EXPECT_TRUE(this->Get("front").empty());
  EXPECT_TRUE(this->Get("unknown").empty());
  EXPECT_EQ(this->Get("other").size(), 1u);
  if (Family::kAuditClass != 0) {
    EXPECT_EQ(QueryStoreFile(this->StorePath(),
                             "SELECT admin, operation, name FROM xo_audit WHERE class = " +
                                 std::to_string(Family::kAuditClass) + " ORDER BY seq"),
              (std::vector<std::string>{"sysadmin|create|front", "sysadmin|update|front",
                                        "sysadmin|create|other", "sysadmin|delete|front",
                                        "sysadmin|delete|front"}));
  }
}

TYPED_TEST(BuiltInObjectsTest, OneThatARealmUsesIsKept) {
  this->Store().Realm(this->Store().Domain("sales"), "web");
  const std::string before = this->Snapshot();
  EXPECT_EQ(TypeParam::Delete(this->handle_, TypeParam::kBuiltIn), Mapped(xo::store::kInUse));
  EXPECT_EQ(this->Snapshot(), before);
  ASSERT_EQ(Xo_PolicyApi_DeleteRealm(this->handle_, "web", "sales"), 0);
  EXPECT_EQ(TypeParam::Delete(this->handle_, TypeParam::kBuiltIn), 0);
}

TYPED_TEST(SystemObjectsTest, BadInputAndRights) {
  using Family = TypeParam;
  PolicyApiSession* h = this->handle_;
  PolicyApiSession* domainAdmin = this->LoginAs("dana", XO_ADMIN_DOMAIN);
  this->Add("front");
  const std::string before = this->Snapshot();
  const std::string longName(2000, 'x');
  auto record = Family::Make("new");
  Family::Overlong(record);
  EXPECT_EQ(Family::Add(h, &record, 1), Mapped(kTextTooLong));
  EXPECT_EQ(Family::Add(h, nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Family::Get(h, "front", nullptr), XO_ERR_GENERAL);
  std::vector<typename Family::Record> found;
  EXPECT_EQ(this->Get(h, longName.c_str(), found), Mapped(kTextTooLong));
  EXPECT_EQ(this->Get(h, nullptr, found), 0);
  EXPECT_TRUE(found.empty());
  EXPECT_EQ(Family::Delete(h, longName.c_str()), Mapped(kTextTooLong));

  // System objects: a domain administrator may not touch them.
  record = Family::Make("new");
  EXPECT_EQ(Family::Add(domainAdmin, &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(this->Get(domainAdmin, "front", found), XO_ERR_GENERAL);
  EXPECT_EQ(Family::Delete(domainAdmin, "front"), XO_ERR_GENERAL);
  EXPECT_EQ(record.objectId[0], '\0');
  EXPECT_EQ(this->Snapshot(), before);
}

TYPED_TEST(SystemObjectsTest, StoreAndAllocationFailuresAreReportedAndChangeNothing) {
  using Family = TypeParam;
  auto record = Family::Make("front");
  for (uint8_t update : {0, 1}) {
    EXPECT_EQ(this->SweepBusy([&] { return Family::Add(this->handle_, &record, update); },
                              Family::AddAnswers()),
              Family::kCalls[update]);
  }
  std::vector<typename Family::Record> found;
  EXPECT_EQ(this->SweepBusy([&] { return this->Get(this->handle_, "front", found); },
                            Family::GetAnswers()),
            Family::kCalls[2]);
  EXPECT_EQ(this->SweepBusy([&] { return Family::Delete(this->handle_, "front"); }),
            Family::kCalls[3]);

  this->Duplicate(this->Add("front"));
  EXPECT_EQ(this->template SweepListAllocations<typename Family::Record>(
                [&](auto** list) { return Family::Get(this->handle_, "front", list); }),
            2);
}

using AgentsTest = SystemObjectsTest<Agents>;
using SchemesTest = SystemObjectsTest<Schemes>;

TEST_F(AgentsTest, AddedAgentReadsBackByteForByte) {
  AgentRecord record = Agents::Make("gateway", "RADIUS Agent");
  record.recordType = 99;  // not read
  Put(record.description, "the front door");
  Put(record.agentString1, "10.0.0.1");
  std::memset(record.agentString2, 's', XO_TEXT_FIELD - 1);
  record.agentInt = -42;
  ASSERT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), 0);
  CXoObjDevice stored;
  ASSERT_TRUE(Store().Load(CXoObjId(std::string(record.objectId)), stored));
  EXPECT_EQ(stored.GetAgentTypeOid(), WellKnownObjectId16B);

  AgentRecord expected = record;
  expected.recordType = AgentRecordType;
  const std::vector<AgentRecord> found = Get("gateway");
  ASSERT_EQ(found.size(), 1u);
  ExpectRecord(found[0], expected, XoObjId_Device);
  Duplicate(CXoObjId(std::string(record.objectId)));
  EXPECT_STREQ(Get("gateway")[1].agentTypeName, "RADIUS Agent");
}

TEST_F(AgentsTest, TheAgentTypeMustNameOneTypeAndReadsEmptyWhenUnreadable) {
  const std::string before = Snapshot();
  AgentRecord record = Agents::Make("new", "");
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), XO_ERR_EMPTY_NAME);
  Put(record.agentTypeName, "Telnet Agent");
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), XO_ERR_GENERAL);
  Unterminated(record.agentTypeName, 't');
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), XO_ERR_AGENT_TYPE_SEARCH);
  EXPECT_EQ(Snapshot(), before);

  Add("gateway");
  Faults().FailAt(StoreOp::Fetch, 2, xo::store::kBusy);
  const std::vector<AgentRecord> found = Get("gateway");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_STREQ(found[0].agentTypeName, "");
}

TEST_F(SchemesTest, AddedSchemeReadsBackByteForByteAndBasicIsBuiltIn) {
  SchemeRecord record = Schemes::Make("forms");
  record.recordType = 99;  // not read
  Put(record.description, "a login page");
  record.schemeInt1 = 7;
  Put(record.schemeString1, "/login");
  std::memset(record.schemeString2, 's', XO_TEXT_FIELD - 1);
  Put(record.schemeString3, "ldap");
  record.schemeFlag1 = 1;
  record.schemeFlag2 = 9;  // any non-zero byte is true
  record.schemeInt2 = -1;
  record.schemeFlag4 = 1;
  ASSERT_EQ(Xo_PolicyApi_AddScheme(handle_, &record, 0), 0);

  // Padding included: every byte not written is zero.
  SchemeRecord expected = record;
  expected.recordType = SchemeRecordType;
  expected.schemeFlag2 = 1;
  std::vector<SchemeRecord> found = Get("forms");
  ASSERT_EQ(found.size(), 1u);
  ExpectRecord(found[0], expected, XoObjId_Scheme);

  found = Get("Basic");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].objectId, WellKnownObjectId13.GetOidString());
}

using QuerySchemesTest = SystemObjectsTest<QuerySchemes>;

TEST_F(QuerySchemesTest, CreatedSchemeReadsBackByteForByteAndTheRecordIsNotWritten) {
  OdbcQuerySchemeRecord record = QuerySchemes::Make("users db");
  Put(record.description, "the HR database");
  for (int i = 0; i < 15; ++i) {
    std::snprintf(record.query[i], sizeof record.query[i], "SELECT %d FROM users WHERE name = ?",
                  i);
  }
  std::memset(record.query[14], 'q', 1023);
  ExpectAddedAsGiven(
      record, [&](auto* r) { return Xo_PolicyApi_CreateODBCQueryScheme(handle_, r, 0); },
      [&](auto** list) { return Xo_PolicyApi_GetODBCQueryScheme(handle_, "users db", list); },
      OdbcQuerySchemeRecordType, XoObjId_ODBCQuery);
  record = QuerySchemes::Make("");
  EXPECT_EQ(Xo_PolicyApi_CreateODBCQueryScheme(handle_, &record, 0),
            Mapped(xo::store::kNameRequired));
}

TEST_F(QuerySchemesTest, DeletingASchemeThatADirectoryNamesIsNotRefused) {
  const CXoObjId scheme = Store().OdbcQuery("hr");
  CXoObjUserDirectory directory("hr users", "", "ODBC:", "", "", "", "", "", "", 0, 0, 0, false,
                                false, "", "", scheme, "", "", "", "", "");
  const CXoObjId directoryId = Store().Save(directory);
  EXPECT_EQ(Xo_PolicyApi_DeleteODBCQueryScheme(handle_, "hr"), 0);
  EXPECT_FALSE(Store().Exists(scheme));
  ASSERT_TRUE(Store().Load(directoryId, directory));
  EXPECT_TRUE(directory.GetQuerySchemeOid().IsOidNull());
}

}  // namespace
}  // namespace xo::test
