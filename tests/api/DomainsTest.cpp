// Domains: adding, updating, reading and deleting them, and the listing of a
// domain's objects.
#include <cstring>
#include <string>
#include <vector>

#include "XoStoreCodes.h"
#include "support/ApiTest.h"
#include "support/Records.h"

namespace xo::test {
namespace {

using xo::store::kNameTaken;
using xo::store::kNotFound;

DomainRecord Record(const std::string& name, const std::string& description = "") {
  DomainRecord record = Zeroed<DomainRecord>();
  Put(record.name, name);
  Put(record.description, description);
  return record;
}

class DomainsTest : public ApiTest {
 protected:
  CXoObjId AddDomain(const std::string& name, const std::string& description = "") {
    DomainRecord record = Record(name, description);
    EXPECT_EQ(Xo_PolicyApi_AddDomain(handle_, &record, 0), 0);
    return CXoObjId(std::string(record.objectId));
  }

  std::vector<DomainRecord> GetDomain(const std::string& name, int32_t expected = 0) {
    DomainRecord* list = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetDomain(handle_, name.c_str(), &list), expected);
    return Collect(list);
  }

  int32_t ObjectNames(const std::string& domain, uint32_t kind, std::vector<std::string>& out) {
    char** names = nullptr;
    const int32_t result = Xo_PolicyApi_GetDomainObjectNames(handle_, domain.c_str(), kind, &names);
    out = Names(names);
    return result;
  }
};

TEST_F(DomainsTest, AddedDomainReadsBackByteForByte) {
  DomainRecord record = Record("sales", "the sales team");
  ASSERT_EQ(Xo_PolicyApi_AddDomain(handle_, &record, 0), 0);
  const std::string oid = record.objectId;
  EXPECT_EQ(CXoObjId::ClassOf(oid), XoObjId_Domain);

  const std::vector<DomainRecord> found = GetDomain("sales");
  ASSERT_EQ(found.size(), 1u);
  DomainRecord expected = Record("sales", "the sales team");
  expected.recordType = DomainRecordType;
  Put(expected.objectId, oid);
  EXPECT_TRUE(SameBytes(found[0], expected));
}

TEST_F(DomainsTest, TakenNameIsRefusedAndTheRecordLeftAsItWas) {
  AddDomain("sales");
  DomainRecord record = Record("sales");
  std::memset(record.objectId, 'x', sizeof record.objectId);
  const DomainRecord before = record;
  EXPECT_EQ(Xo_PolicyApi_AddDomain(handle_, &record, 0), Mapped(kNameTaken));
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
}

TEST_F(DomainsTest, UpdateRewritesTextsAndKeepsTheDomainsLists) {
  const CXoObjId domain = AddDomain("sales", "old");
  const CXoObjId directory = Store().UserDirectory("corporate");
  const CXoObjId admin = Store().Admin("dana", "pw", XO_ADMIN_DOMAIN);
  Store().AppendToDomainList(domain, CXoObjDomain::UserDirectories, directory);
  Store().AppendToDomainList(domain, CXoObjDomain::Admins, admin);

  DomainRecord record = Record("sales", "new");
  ASSERT_EQ(Xo_PolicyApi_AddDomain(handle_, &record, 1), 0);
  EXPECT_EQ(std::string(record.objectId), domain.GetOidString());
  const std::vector<DomainRecord> found = GetDomain("sales");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_STREQ(found[0].description, "new");
  EXPECT_EQ(Store().DomainList(domain, CXoObjDomain::UserDirectories), CXoObjIdArray{directory});
  EXPECT_EQ(Store().DomainList(domain, CXoObjDomain::Admins), CXoObjIdArray{admin});

  // A name no domain has is simply created.
  DomainRecord fresh = Record("support");
  ASSERT_EQ(Xo_PolicyApi_AddDomain(handle_, &fresh, 1), 0);
  EXPECT_EQ(GetDomain("support").size(), 1u);
}

TEST_F(DomainsTest, TextsFillingTheWholeFieldAreKept) {
  DomainRecord record = Record(std::string(1023, 'n'));
  std::memset(record.description, 'd', 1023);
  ASSERT_EQ(Xo_PolicyApi_AddDomain(handle_, &record, 0), 0);
  const std::vector<DomainRecord> found = GetDomain(record.name);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(std::strlen(found[0].description), 1023u);
}

TEST_F(DomainsTest, GetDomainReturnsEveryDomainOfTheNameInSearchOrder) {
  const CXoObjId first = AddDomain("twin", "a");
  const CXoObjId second = Duplicate(first);
  const std::vector<DomainRecord> found = GetDomain("twin");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].objectId, first.GetOidString());
  EXPECT_EQ(found[1].objectId, second.GetOidString());
  EXPECT_STREQ(found[1].description, "a");

  DomainRecord placeholder{};
  DomainRecord* list = &placeholder;
  EXPECT_EQ(Xo_PolicyApi_GetDomain(handle_, "nothing", &list), 0);
  EXPECT_EQ(list, nullptr);
}

TEST_F(DomainsTest, DeleteDomainResolvesTheNameFirst) {
  const CXoObjId domain = AddDomain("sales");
  const CXoObjId realm = Store().Realm(domain, "web");
  const CXoObjId twin = Duplicate(AddDomain("twin"));

  EXPECT_EQ(Xo_PolicyApi_DeleteDomain(handle_, "unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_DeleteDomain(handle_, "twin"), XO_ERR_GENERAL);
  EXPECT_TRUE(Store().Exists(twin));
  EXPECT_EQ(Xo_PolicyApi_DeleteDomain(handle_, ""), 0);
  EXPECT_EQ(Xo_PolicyApi_DeleteDomain(handle_, nullptr), 0);
  EXPECT_TRUE(Store().Exists(domain));

  EXPECT_EQ(Xo_PolicyApi_DeleteDomain(handle_, "sales"), 0);
  EXPECT_FALSE(Store().Exists(domain));
  EXPECT_FALSE(Store().Exists(realm));
  EXPECT_TRUE(GetDomain("sales").empty());
}

TEST_F(DomainsTest, ObjectNamesListEachKindInCreationOrder) {
  const CXoObjId domain = AddDomain("sales");
  const CXoObjId realm = Store().Realm(domain, "web");
  Store().Realm(domain, "mail");
  Store().Rule(domain, realm, "get");
  Store().Rule(domain, realm, "post");
  Store().RuleGroup(domain, "all rules");
  Store().Policy(domain, "staff");
  Store().Response(domain, "welcome");
  Store().ResponseGroup(domain, "greetings");
  Store().AppendToDomainList(domain, CXoObjDomain::UserDirectories, Store().UserDirectory("ldap"));
  Store().AppendToDomainList(domain, CXoObjDomain::Admins, Store().Admin("dana", "pw", 2));
  Store().Rule(Store().Domain("elsewhere"), Store().Realm(Store().Domain("x"), "r"), "other");

  const std::vector<std::pair<uint32_t, std::vector<std::string>>> expected = {
      {XO_DOMAIN_RULES, {"get", "post"}},
      {XO_DOMAIN_RULE_GROUPS, {"all rules"}},
      {XO_DOMAIN_POLICIES, {"staff"}},
      {XO_DOMAIN_REALMS, {"web", "mail"}},
      {XO_DOMAIN_RESPONSE_GROUPS, {"greetings"}},
      {XO_DOMAIN_RESPONSES, {"welcome"}},
      {XO_DOMAIN_USER_DIRECTORIES, {"ldap"}},
      {XO_DOMAIN_ADMINISTRATORS, {"dana"}},
  };
  for (const auto& [kind, names] : expected) {
    std::vector<std::string> listed;
    EXPECT_EQ(ObjectNames("sales", kind, listed), 0) << kind;
    EXPECT_EQ(listed, names) << kind;
  }
}

TEST_F(DomainsTest, ObjectNamesRefuseUnknownKindsAndUnresolvedDomains) {
  AddDomain("empty");
  Duplicate(AddDomain("twin"));
  std::vector<std::string> listed;
  EXPECT_EQ(ObjectNames("empty", XO_DOMAIN_RULES, listed), 0);
  EXPECT_TRUE(listed.empty());
  // A list the store reports absent is an empty list.
  Faults().FailAt(StoreOp::FetchProperty, 1, xo::store::kPropertyAbsent);
  EXPECT_EQ(ObjectNames("empty", XO_DOMAIN_USER_DIRECTORIES, listed), 0);
  EXPECT_TRUE(listed.empty());
  EXPECT_EQ(ObjectNames("empty", 0, listed), XO_ERR_GENERAL);
  for (uint32_t kind : {8u, 9u, 10u, 11u, 13u, 0xFFFFFFFFu}) {
    EXPECT_EQ(ObjectNames("empty", kind, listed), XO_ERR_BAD_OBJECT_KIND) << kind;
  }
  EXPECT_EQ(ObjectNames("", XO_DOMAIN_RULES, listed), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(ObjectNames("unknown", XO_DOMAIN_RULES, listed), XO_ERR_GENERAL);
  EXPECT_EQ(ObjectNames("twin", XO_DOMAIN_RULES, listed), XO_ERR_GENERAL);
  EXPECT_EQ(ObjectNames(std::string(2000, 'x'), XO_DOMAIN_RULES, listed), XO_ERR_DOMAIN_SEARCH);
}

TEST_F(DomainsTest, ObjectNamesHandOutWhatWasReadWhenAnEntryFails) {
  const CXoObjId domain = AddDomain("sales");
  const CXoObjId realm = Store().Realm(domain, "web");
  Store().Rule(domain, realm, "get");
  Store().Rule(domain, realm, "post");
  Store().AppendToDomainList(domain, CXoObjDomain::Admins, Store().Admin("ann", "pw", 2));
  Store().AppendToDomainList(domain, CXoObjDomain::Admins, Store().Admin("bob", "pw", 2));

  // Rules are read by a full fetch, administrators by their name property
  // (the domain's list is the first property read).
  const std::pair<uint32_t, StoreOp> cases[] = {{XO_DOMAIN_RULES, StoreOp::Fetch},
                                                {XO_DOMAIN_ADMINISTRATORS, StoreOp::FetchProperty}};
  for (const auto& [kind, op] : cases) {
    Faults().FailAt(op, op == StoreOp::Fetch ? 2 : 3, kNotFound);
    char** names = nullptr;
    EXPECT_EQ(Xo_PolicyApi_GetDomainObjectNames(handle_, "sales", kind, &names), Mapped(kNotFound));
    ASSERT_NE(names, nullptr);
    EXPECT_NE(names[0], nullptr);
    EXPECT_EQ(names[1], nullptr);
    EXPECT_EQ(names[2], nullptr);
    EXPECT_EQ(Xo_PolicyApi_FreeStringArray(names), 0);
  }
}

TEST_F(DomainsTest, StoreFailuresAreMappedAndChangeNothing) {
  DomainRecord record = Record("sales");
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddDomain(handle_, &record, 0); }), 2);
  // With the update flag, a failed look-up of the name is not an error.
  DomainRecord update = Record("sales", "changed");
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_AddDomain(handle_, &update, 1); },
                      {{StoreOp::Search, 0, kAbsorbed}}),
            7);

  const CXoObjId domain = CXoObjId(std::string(record.objectId));
  Duplicate(Store().Domain("twin"));
  Store().Rule(domain, Store().Realm(domain, "web"), "get");
  EXPECT_EQ(SweepBusy([&] {
              DomainRecord* list = nullptr;
              const int32_t rc = Xo_PolicyApi_GetDomain(handle_, "twin", &list);
              EXPECT_EQ(list == nullptr, rc != 0);
              Xo_PolicyApi_FreeMemory(list);
              return rc;
            }),
            4);
  std::vector<std::string> ignored;
  EXPECT_EQ(SweepBusy([&] { return ObjectNames("sales", XO_DOMAIN_RULES, ignored); },
                      {{StoreOp::Search, 0, XO_ERR_DOMAIN_SEARCH}}),
            4);
  EXPECT_EQ(SweepBusy([&] { return Xo_PolicyApi_DeleteDomain(handle_, "sales"); },
                      {{StoreOp::Search, 1, XO_ERR_DOMAIN_SEARCH}}),
            4);
  EXPECT_FALSE(Store().Exists(domain));
}

TEST_F(DomainsTest, AllocationFailuresHandOutNoHalfList) {
  const CXoObjId domain = Store().Domain("twin");
  Duplicate(domain);
  const CXoObjId realm = Store().Realm(domain, "web");
  Store().Rule(domain, realm, "get");
  Store().Rule(domain, realm, "post");
  EXPECT_EQ(SweepListAllocations<DomainRecord>(
                [&](DomainRecord** list) { return Xo_PolicyApi_GetDomain(handle_, "twin", list); }),
            2);
  // The array, then each name; once the array exists it is handed out.
  const CXoObjId sales = Store().Domain("sales");
  Store().Rule(sales, Store().Realm(sales, "web"), "get");
  Store().Rule(sales, Store().Realm(sales, "mail"), "post");
  std::vector<std::string> ignored;
  EXPECT_EQ(SweepAllocationFailures([&] { return ObjectNames("sales", XO_DOMAIN_RULES, ignored); },
                                    XO_ERR_GENERAL),
            3);
}

}  // namespace
}  // namespace xo::test
