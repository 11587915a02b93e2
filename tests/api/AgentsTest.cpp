// Agents: adding and rewriting them with their agent type, reading and
// deleting them by name.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using xo::store::kTextTooLong;

AgentRecord Record(const std::string& name, const std::string& type = "HTTP Agent") {
  AgentRecord record;
  std::memset(&record, 0, sizeof record);
  std::strcpy(record.name, name.c_str());
  std::strcpy(record.agentTypeName, type.c_str());
  return record;
}

class AgentsTest : public ApiTest {
 protected:
  CXoObjId AddAgent(const std::string& name, uint8_t update = 0) {
    AgentRecord record = Record(name);
    EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, update), 0);
    return CXoObjId(std::string(record.objectId));
  }

  // The returned records, copied byte for byte with their links cleared.
  int32_t GetAgent(PolicyApiSession* handle, const char* name, std::vector<AgentRecord>& out) {
    AgentRecord* list = nullptr;
    const int32_t rc = Xo_PolicyApi_GetAgent(handle, name, &list);
    out.clear();
    for (AgentRecord* record = list; record != nullptr; record = record->next) {
      out.emplace_back();
      std::memcpy(&out.back(), record, sizeof *record);
      out.back().next = nullptr;
    }
    EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), 0);
    return rc;
  }
};

TEST_F(AgentsTest, AddedAgentReadsBackByteForByte) {
  AgentRecord record = Record("gateway", "RADIUS Agent");
  record.recordType = 99;  // not read
  std::strcpy(record.description, "the front door");
  std::strcpy(record.agentString1, "10.0.0.1");
  std::memset(record.agentString2, 's', XO_TEXT_FIELD - 1);
  record.agentInt = -42;
  ASSERT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), 0);
  const CXoObjId id(std::string(record.objectId));
  EXPECT_EQ(id.GetOidClass(), XoObjId_Device);
  CXoObjDevice stored;
  ASSERT_TRUE(Store().Load(id, stored));
  EXPECT_EQ(stored.GetAgentTypeOid(), WellKnownObjectId16B);

  AgentRecord expected = record;
  expected.recordType = AgentRecordType;
  std::vector<AgentRecord> found;
  ASSERT_EQ(GetAgent(handle_, "gateway", found), 0);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(std::memcmp(&found[0], &expected, sizeof expected), 0);
}

TEST_F(AgentsTest, UpdateRewritesAndDeleteTakesEveryAgentOfTheName) {
  const CXoObjId first = AddAgent("gateway");
  AgentRecord record = Record("gateway");
  std::strcpy(record.description, "changed");
  ASSERT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 1), 0);
  EXPECT_EQ(std::string(record.objectId), first.GetOidString());
  std::memset(record.objectId, 'x', sizeof record.objectId);
  const AgentRecord before = record;
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), Mapped(xo::store::kNameTaken));
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
  AddAgent("portal", 1);  // a new name with the flag is simply created

  const CXoObjId second = Duplicate(first);
  std::vector<AgentRecord> found;
  ASSERT_EQ(GetAgent(handle_, "gateway", found), 0);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].objectId, first.GetOidString());
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  EXPECT_STREQ(found[1].description, "changed");
  EXPECT_STREQ(found[1].agentTypeName, "HTTP Agent");

  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(handle_, "gateway"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(handle_, "gateway"), 0);
  ASSERT_EQ(GetAgent(handle_, "gateway", found), 0);
  EXPECT_TRUE(found.empty());
  ASSERT_EQ(GetAgent(handle_, "portal", found), 0);
  EXPECT_EQ(found.size(), 1u);
}

TEST_F(AgentsTest, AnAgentThatServesARealmIsKept) {
  const CXoObjId domain = Store().Domain("sales");
  Store().Realm(domain, "web");  // served by "test agent"
  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(handle_, "test agent"), Mapped(xo::store::kInUse));
  EXPECT_EQ(Snapshot(), before);
  ASSERT_EQ(Xo_PolicyApi_DeleteRealm(handle_, "web", "sales"), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(handle_, "test agent"), 0);
}

TEST_F(AgentsTest, BadInputAndRights) {
  PolicyApiSession* domainAdmin = LoginAs("dana", XO_ADMIN_DOMAIN);
  AddAgent("gateway");
  const std::string before = Snapshot();
  const std::string longName(2000, 'x');
  AgentRecord record = Record("new", "");
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), XO_ERR_EMPTY_NAME);
  std::strcpy(record.agentTypeName, "Telnet Agent");
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), XO_ERR_GENERAL);
  std::memset(record.agentTypeName, 't', XO_TEXT_FIELD);  // no terminator
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 0), XO_ERR_AGENT_TYPE_SEARCH);
  record = Record("");
  std::memset(record.name, 'n', XO_TEXT_FIELD);
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, &record, 1), Mapped(kTextTooLong));
  EXPECT_EQ(Xo_PolicyApi_AddAgent(handle_, nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetAgent(handle_, "gateway", nullptr), XO_ERR_GENERAL);
  std::vector<AgentRecord> found;
  EXPECT_EQ(GetAgent(handle_, longName.c_str(), found), Mapped(kTextTooLong));
  EXPECT_EQ(GetAgent(handle_, nullptr, found), 0);
  EXPECT_TRUE(found.empty());
  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(handle_, longName.c_str()), Mapped(kTextTooLong));

  // Agents are system objects: a domain administrator may not touch them.
  record = Record("new");
  EXPECT_EQ(Xo_PolicyApi_AddAgent(domainAdmin, &record, 0), XO_ERR_GENERAL);
  EXPECT_EQ(GetAgent(domainAdmin, "gateway", found), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteAgent(domainAdmin, "gateway"), XO_ERR_GENERAL);
  EXPECT_EQ(record.objectId[0], '\0');
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(AgentsTest, StoreFailuresAreReportedAndChangeNothing) {
  const auto mapped = [](StoreOp op, int) {
    return op == StoreOp::ReadRights ? XO_ERR_GENERAL : Mapped(kBusy);
  };
  AgentRecord record = Record("gateway");
  const auto add = [&](uint8_t update) {
    return SweepStoreFailures(
        StoreOp::Any, kBusy, [&] { return Xo_PolicyApi_AddAgent(handle_, &record, update); },
        [&](StoreOp op, int n) {
          // A failed look-up for the update is passed over.
          if (op == StoreOp::Search) return n == 1 ? XO_ERR_AGENT_TYPE_SEARCH : kAbsorbed;
          return mapped(op, n);
        });
  };
  EXPECT_EQ(add(0), 3);
  EXPECT_EQ(add(1), 4);

  // An agent type that cannot be read leaves the type name empty.
  EXPECT_EQ(SweepStoreFailures(
                StoreOp::Any, kBusy,
                [&] {
                  std::vector<AgentRecord> found;
                  return GetAgent(handle_, "gateway", found);
                },
                [&](StoreOp op, int n) {
                  return op == StoreOp::Fetch && n == 2 ? XO_OK : mapped(op, n);
                }),
            4);
  Faults().FailAt(StoreOp::Fetch, 2, kBusy);
  std::vector<AgentRecord> found;
  ASSERT_EQ(GetAgent(handle_, "gateway", found), 0);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_STREQ(found[0].agentTypeName, "");

  EXPECT_EQ(SweepStoreFailures(
                StoreOp::Any, kBusy, [&] { return Xo_PolicyApi_DeleteAgent(handle_, "gateway"); },
                mapped),
            3);
}

TEST_F(AgentsTest, AllocationFailuresHandOutNoHalfList) {
  Duplicate(AddAgent("gateway"));
  AgentRecord* untouched = reinterpret_cast<AgentRecord*>(this);
  EXPECT_EQ(SweepAllocationFailures(
                [&] {
                  AgentRecord* list = untouched;
                  const int32_t rc = Xo_PolicyApi_GetAgent(handle_, "gateway", &list);
                  if (rc == 0) {
                    Xo_PolicyApi_FreeMemory(list);
                  } else {
                    EXPECT_EQ(list, untouched);
                  }
                  return rc;
                },
                XO_ERR_GENERAL),
            2);
}

}  // namespace
}  // namespace xo::test
