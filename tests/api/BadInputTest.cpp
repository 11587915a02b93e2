// Handles that are not live, null pointers, unterminated fields and overlong
// texts: each gives a clear code, never a crash, and leaves the store alone.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using xo::store::kTextTooLong;

struct Case {
  const char* what;
  std::function<int32_t(PolicyApiSession*)> call;
  int32_t expected;
};

class BadInputTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    domain_ = Store().Domain("sales");
  }

  // Every function implemented so far that takes a handle, with good input.
  std::vector<Case> EveryCall() {
    const std::string oid = domain_.GetOidString();
    return {
        {"AddDomain",
         [](PolicyApiSession* h) {
           DomainRecord record{};
           std::strcpy(record.name, "new");
           return Xo_PolicyApi_AddDomain(h, &record, 1);
         },
         0},
        {"DeleteDomain", [](PolicyApiSession* h) { return Xo_PolicyApi_DeleteDomain(h, "sales"); },
         0},
        {"GetDomain",
         [](PolicyApiSession* h) {
           DomainRecord* list = nullptr;
           return Xo_PolicyApi_GetDomain(h, "sales", &list);
         },
         0},
        {"GetDomainObjectNames",
         [](PolicyApiSession* h) {
           char** names = nullptr;
           return Xo_PolicyApi_GetDomainObjectNames(h, "sales", 1, &names);
         },
         0},
        {"GetGlobalObjectNames",
         [](PolicyApiSession* h) {
           char** names = nullptr;
           return Xo_PolicyApi_GetGlobalObjectNames(h, 11, &names);
         },
         0},
        {"RenameObject",
         [oid](PolicyApiSession* h) { return Xo_PolicyApi_RenameObject(h, oid.c_str(), "x"); }, 0},
        {"ManagementCommand",
         [](PolicyApiSession* h) {
           ManagementCommandRecord record{1, "x"};
           return Xo_PolicyApi_ManagementCommand(h, &record);
         },
         0},
        {"Logout", [](PolicyApiSession* h) { return Xo_PolicyApi_Logout(h); }, 0},
    };
  }

  CXoObjId domain_;
};

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
  for (const Case& c : EveryCall()) {
    for (PolicyApiSession* handle :
         {stale, forgedHandle, static_cast<PolicyApiSession*>(nullptr)}) {
      EXPECT_EQ(c.call(handle), XO_ERR_BAD_HANDLE) << c.what;
    }
  }
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(forged.magic, 727);
}

TEST_F(BadInputTest, NullPointersAndOverlongTextsGiveClearCodes) {
  const std::string longName(2000, 'x');
  const std::string oid = domain_.GetOidString();
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
