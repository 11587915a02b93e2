// What is listed by name: a domain's objects by kind and the objects outside
// domains; a domain's administrators and directories, the latter its search
// order, and what an update of the domain keeps of them.
#include <functional>
#include <memory>

#include "XoStoreCodes.h"
#include "support/ApiCatalog.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using List = std::vector<std::string>;
using Listing = std::function<int32_t(char***)>;
const List kUntouched = {"<untouched>"}, kCleared = {"<null>"};

// The names a listing hands out (and frees), or what it did to its output.
List Listed(int32_t expected, const Listing& get) {
  char** const untouched = reinterpret_cast<char**>(&expected);
  char** names = untouched;
  EXPECT_EQ(get(&names), expected);
  return names == untouched ? kUntouched : names == nullptr ? kCleared : Names(names);
}
Listing InOwn(PolicyApiSession* h, uint32_t kind) {
  return [=](char*** n) { return Xo_PolicyApi_GetDomainObjectNames(h, "own", kind, n); };
}
Listing Global(PolicyApiSession* h, uint32_t kind) {
  return [=](char*** n) { return Xo_PolicyApi_GetGlobalObjectNames(h, kind, n); };
}
Listing SearchOrder(PolicyApiSession* h) {
  return [=](char*** n) { return Xo_PolicyApi_GetUserDirSearchOrder(h, "own", n); };
}

// The catalog's store, with "eve" and "old-admin" administrators of "own".
class ListingsTest : public ApiTest {
 protected:
  void SetUp() override {
    ApiTest::SetUp();
    catalog_ = std::make_unique<CatalogStore>(Store(), handle_);
    ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "eve", "own"), 0);
    ASSERT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "old-admin", "own"), 0);
  }
  int32_t SetOrder(std::vector<const char*> names) {
    names.push_back(nullptr);
    return Xo_PolicyApi_SetUserDirSearchOrder(handle_, "own", const_cast<char**>(names.data()));
  }
  std::unique_ptr<CatalogStore> catalog_;
};

TEST_F(ListingsTest, EachKindIsListedInCreationOrderOnceTheRightsAreGranted) {
  const struct {
    Listing (*listing)(PolicyApiSession*, uint32_t);
    uint32_t kind;
    int32_t rc;
    List names;
  } rows[] = {{InOwn, XO_DOMAIN_RULES, 0, {"get", "put"}},
              {InOwn, XO_DOMAIN_RULE_GROUPS, 0, {"everyday", "old-group"}},
              {InOwn, XO_DOMAIN_POLICIES, 0, {"staff", "old-policy"}},
              {InOwn, XO_DOMAIN_REALMS, 0, {"web", "old-realm"}},
              {InOwn, XO_DOMAIN_RESPONSE_GROUPS, 0, {}},
              {InOwn, XO_DOMAIN_RESPONSES, 0, {"welcome", "old-response"}},
              {InOwn, XO_DOMAIN_USER_DIRECTORIES, 0, {"hr"}},
              {InOwn, XO_DOMAIN_ADMINISTRATORS, 0, {"eve", "old-admin"}},
              {InOwn, 0, XO_ERR_GENERAL, kUntouched},
              {Global, XO_GLOBAL_USER_DIRECTORIES, 0, {"hr", "spare", "old-dir"}},
              {Global, XO_GLOBAL_SCHEMES, 0, {"Basic", "tokens", "old-scheme"}},
              {Global, XO_GLOBAL_AGENTS, 0, {"gateway", "old-agent"}},
              {Global, XO_GLOBAL_AGENT_GROUPS, 0, {"edge"}},
              {Global, XO_GLOBAL_DOMAINS, 0, {"own", "other", "old-domain"}},
              {Global, XO_GLOBAL_ADMINISTRATORS, 0, {kAdmin, "eve", "old-admin"}},
              {Global, 0, XO_ERR_GENERAL, kCleared}};
  for (const auto& row : rows) {
    EXPECT_EQ(Listed(row.rc, row.listing(handle_, row.kind)), row.names) << row.kind;
  }
  // Unknown kinds: a domain's listing leaves its output alone, the global one clears it.
  for (uint32_t kind : {8u, 11u, 13u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Listed(XO_ERR_BAD_OBJECT_KIND, InOwn(handle_, kind)), kUntouched) << kind;
  }
  for (uint32_t kind : {1u, 6u, 13u, 0x80000000u}) {
    EXPECT_EQ(Listed(XO_ERR_BAD_OBJECT_KIND, Global(handle_, kind)), kCleared) << kind;
  }
  // An administrator without the right learns nothing of the kinds.
  PolicyApiSession* nobody = LoginAs("nobody", 0);
  EXPECT_EQ(Listed(XO_ERR_GENERAL, InOwn(nobody, 99)), kUntouched);
  EXPECT_EQ(Listed(XO_ERR_GENERAL, Global(nobody, 0)), kUntouched);

  // The names are read with the list, in one store operation: when it
  // fails, a listing gives its code and hands out no array; a list the store
  // reports absent lists nothing.
  const int32_t ioError = Mapped(xo::store::kIoError);
  Faults().FailAt(StoreOp::FetchListNames, 1, xo::store::kIoError);
  EXPECT_EQ(Listed(ioError, InOwn(handle_, XO_DOMAIN_RULES)), kUntouched);
  Faults().FailAt(StoreOp::FetchListNames, 1, xo::store::kIoError);
  EXPECT_EQ(Listed(ioError, Global(handle_, XO_GLOBAL_DOMAINS)), kCleared);
  Faults().FailAt(StoreOp::FetchListNames, 1, xo::store::kPropertyAbsent);
  EXPECT_EQ(Listed(0, InOwn(handle_, XO_DOMAIN_ADMINISTRATORS)), List{});
}

TEST_F(ListingsTest, ADomainsListsChangeMemberByMemberOrWholeAndOutliveUpdates) {
  const auto dirs = [&] { return Listed(0, SearchOrder(handle_)); };
  const auto admins = [&] { return Listed(0, InOwn(handle_, XO_DOMAIN_ADMINISTRATORS)); };
  EXPECT_EQ(Xo_PolicyApi_AddUserDirToDomain(handle_, "hr", "own"), XO_ERR_ALREADY_MEMBER);
  EXPECT_EQ(Xo_PolicyApi_AddAdminToDomain(handle_, "eve", "own"), XO_ERR_ALREADY_MEMBER);
  ASSERT_EQ(Xo_PolicyApi_AddUserDirToDomain(handle_, "spare", "own"), 0);
  EXPECT_EQ(dirs(), (List{"hr", "spare"}));
  // The search order is replaced whole when only its length matches.
  ASSERT_EQ(SetOrder({"spare", "hr"}), 0);
  EXPECT_EQ(dirs(), (List{"spare", "hr"}));
  EXPECT_EQ(SetOrder({"hr"}), XO_ERR_SEARCH_ORDER_COUNT);
  EXPECT_EQ(SetOrder({"hr", "hr", "hr"}), XO_ERR_SEARCH_ORDER_COUNT);
  EXPECT_EQ(SetOrder({"hr", ""}), XO_ERR_EMPTY_NAME);
  ASSERT_EQ(SetOrder({"hr", "hr"}), 0);
  // An update of the domain keeps both lists.
  DomainRecord own = Zeroed<DomainRecord>();
  Put(own.name, "own");
  ASSERT_EQ(Xo_PolicyApi_AddDomain(handle_, &own, 1), 0);
  EXPECT_EQ(dirs(), (List{"hr", "hr"}));
  EXPECT_EQ(admins(), (List{"eve", "old-admin"}));
  // A member is removed with every copy; one not listed is no change, and
  // nothing is taken from an empty list.
  ASSERT_EQ(Xo_PolicyApi_RemoveUserDirFromDomain(handle_, "hr", "own"), 0);
  ASSERT_EQ(Xo_PolicyApi_RemoveAdminFromDomain(handle_, "eve", "own"), 0);
  EXPECT_EQ(dirs(), List{});
  EXPECT_EQ(admins(), List{"old-admin"});
  const std::string before = Snapshot();
  EXPECT_EQ(Xo_PolicyApi_RemoveAdminFromDomain(handle_, "eve", "own"), 0);
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(Xo_PolicyApi_RemoveUserDirFromDomain(handle_, "hr", "own"), XO_ERR_NOT_MEMBER);
  EXPECT_EQ(Xo_PolicyApi_RemoveAdminFromDomain(handle_, "eve", "old-domain"), XO_ERR_NOT_MEMBER);
  // An update keeps a list the store reports absent as an empty one.
  Faults().FailAt(StoreOp::FetchProperty, 2, xo::store::kPropertyAbsent);
  ASSERT_EQ(Xo_PolicyApi_AddDomain(handle_, &own, 1), 0);
  EXPECT_EQ(admins(), List{});
}

}  // namespace
}  // namespace xo::test
