// Renaming objects by identifier, and management commands for the servers.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/StoreFile.h"

namespace xo::test {
namespace {

using xo::store::kBusy;
using xo::store::kNotFound;
using xo::store::kTextTooLong;

class CommandsTest : public ApiTest {
 protected:
  int32_t Command(PolicyApiSession* handle, int32_t command, const std::string& argument) {
    ManagementCommandRecord record{};
    record.command = command;
    std::strcpy(record.argument, argument.c_str());
    return Xo_PolicyApi_ManagementCommand(handle, &record);
  }
  std::vector<std::string> StoredCommands() {
    return QueryStoreFile(StorePath(), "SELECT command, argument FROM server_command ORDER BY seq");
  }
  std::string NameOf(const CXoObjId& id) {
    std::unique_ptr<CXoObjBase> object(CXoObjDictProp::MakeObject(id));
    EXPECT_GE(CXoObjStore::Fetch(*object, 0, nullptr, Store().Sid()), 0);
    return object->GetName();
  }
};

TEST_F(CommandsTest, RenameGivesAnyNamedObjectItsNewName) {
  const CXoObjId domain = Store().Domain("sales");
  const CXoObjId realm = Store().Realm(domain, "web");
  const CXoObjId rule = Store().Rule(domain, realm, "get");
  const CXoObjId agent = Store().Agent("gateway");
  for (const auto& [id, name] :
       {std::pair{domain, "marketing"}, std::pair{rule, "fetch"}, std::pair{agent, "front door"}}) {
    EXPECT_EQ(Xo_PolicyApi_RenameObject(handle_, id.GetOidString().c_str(), name), 0);
    EXPECT_EQ(NameOf(id), name);
  }
}

TEST_F(CommandsTest, RenameRefusesIdentifiersOfNoClassBeforeLookingAtTheHandle) {
  const CXoObjId domain = Store().Domain("sales");
  PolicyApiSession* forged = reinterpret_cast<PolicyApiSession*>(this);
  for (const char* oid : {"", "not an id", "ff-1234", "zz-0000"}) {
    EXPECT_EQ(Xo_PolicyApi_RenameObject(nullptr, oid, "x"), XO_ERR_GENERAL) << oid;
    EXPECT_EQ(Xo_PolicyApi_RenameObject(forged, oid, "x"), XO_ERR_GENERAL) << oid;
  }
  EXPECT_EQ(Xo_PolicyApi_RenameObject(nullptr, nullptr, "x"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_RenameObject(nullptr, domain.GetOidString().c_str(), "x"),
            XO_ERR_BAD_HANDLE);
  const std::string missing = CXoObjId::NewOid(XoObjId_Domain).GetOidString();
  EXPECT_EQ(Xo_PolicyApi_RenameObject(handle_, missing.c_str(), "x"), Mapped(kNotFound));
  // Nothing without a name can be renamed.
  ASSERT_EQ(Command(handle_, 1, ""), 0);
  const std::string before = Snapshot();
  const std::string command = QueryStoreFile(StorePath(), "SELECT oid FROM server_command")[0];
  EXPECT_EQ(Xo_PolicyApi_RenameObject(handle_, command.c_str(), "x"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_RenameObject(handle_, domain.GetOidString().c_str(),
                                      std::string(1024, 'n').c_str()),
            Mapped(kTextTooLong));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(CommandsTest, RenameStoreFailuresAreMapped) {
  const CXoObjId domain = Store().Domain("sales");
  EXPECT_EQ(SweepBusy(
                [&] {
                  return Xo_PolicyApi_RenameObject(handle_, domain.GetOidString().c_str(),
                                                   "marketing");
                },
                [](StoreOp op, int) {
                  return op == StoreOp::ReadRights ? XO_ERR_GENERAL : Mapped(kBusy);
                }),
            3);
  EXPECT_EQ(NameOf(domain), "marketing");
}

TEST_F(CommandsTest, CommandNumbersBecomeServerCommandValues) {
  for (int32_t command = 1; command <= 5; ++command) {
    EXPECT_EQ(Command(handle_, command, "arg " + std::to_string(command)), 0);
  }
  EXPECT_EQ(StoredCommands(),
            (std::vector<std::string>{"1|arg 1", "2|arg 2", "3|arg 3", "8|arg 4", "9|arg 5"}));

  // Numbers out of range are refused before the rights are asked.
  Faults().StartRecording();
  for (int32_t command : {0, 6, -1, 8}) EXPECT_EQ(Command(handle_, command, ""), XO_ERR_GENERAL);
  EXPECT_TRUE(Faults().Recorded().empty());

  ManagementCommandRecord record{};
  record.command = 1;
  std::memset(record.argument, 'a', sizeof record.argument);  // no terminator
  EXPECT_EQ(Xo_PolicyApi_ManagementCommand(handle_, &record), Mapped(kTextTooLong));
  EXPECT_EQ(StoredCommands().size(), 5u);
}

TEST_F(CommandsTest, EachCommandNeedsItsOwnRight) {
  PolicyApiSession* operatorHandle = LoginAs("operator", XO_ADMIN_COMMAND(8));
  EXPECT_EQ(Command(operatorHandle, 4, "flush"), 0);
  for (int32_t command : {1, 2, 3, 5}) {
    EXPECT_EQ(Command(operatorHandle, command, ""), XO_ERR_GENERAL) << command;
  }
  PolicyApiSession* domainAdmin = LoginAs("dana", XO_ADMIN_DOMAIN);
  EXPECT_EQ(Command(domainAdmin, 1, ""), XO_ERR_GENERAL);
  EXPECT_EQ(StoredCommands(), std::vector<std::string>{"8|flush"});
}

TEST_F(CommandsTest, CommandStoreFailuresAreMapped) {
  EXPECT_EQ(SweepBusy([&] { return Command(handle_, 2, "x"); },
                      [](StoreOp op, int) {
                        return op == StoreOp::ReadRights ? XO_ERR_GENERAL : Mapped(kBusy);
                      }),
            2);
}

}  // namespace
}  // namespace xo::test
