// User directories and a domain's directory search order.
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

using Directories = std::vector<UserDirRecord>;
using Names = std::vector<std::string>;

UserDirRecord Record(const std::string& name,
                     const std::string& type = "LDAP:", const std::string& queryScheme = "") {
  UserDirRecord record{};
  Put(record.name, name);
  Put(record.directoryType, type);
  Put(record.querySchemeName, queryScheme);
  return record;
}

class UserDirectoriesTest : public SalesApiTest {
 protected:
  int32_t Create(UserDirRecord record, uint8_t update = 0) {
    return Xo_PolicyApi_CreateUserDir(handle_, &record, update);
  }
  int32_t Get(const char* name, Directories& found) {
    return CallGet(
        [&](UserDirRecord** list) { return Xo_PolicyApi_GetUserDir(handle_, name, list); }, found);
  }
  Directories Get(const char* name) {
    Directories found;
    EXPECT_EQ(Get(name, found), 0);
    return found;
  }
  int32_t Order(Names& names) {
    return CallGetNames(
        [&](char*** out) { return Xo_PolicyApi_GetUserDirSearchOrder(handle_, "sales", out); },
        names);
  }
  Names Order() {
    Names names;
    EXPECT_EQ(Order(names), 0);
    return names;
  }
  int32_t SetOrder(std::vector<const char*> names) {
    names.push_back(nullptr);
    return Xo_PolicyApi_SetUserDirSearchOrder(handle_, "sales", const_cast<char**>(names.data()));
  }
  int32_t Add(const char* dir) { return Xo_PolicyApi_AddUserDirToDomain(handle_, dir, "sales"); }
  int32_t Remove(const char* dir) {
    return Xo_PolicyApi_RemoveUserDirFromDomain(handle_, dir, "sales");
  }
  CXoObjIdArray SalesList() { return Store().DomainList(sales_, CXoObjDomain::UserDirectories); }
};

TEST_F(UserDirectoriesTest, CreatedDirectoryReadsBackByteForByteAndTheRecordIsNotWritten) {
  Store().OdbcQuery("hr queries");
  UserDirRecord record = Record("hr", "ODBC:", "hr queries");
  std::strcpy(record.description, "the HR database");
  char* strings[] = {record.string1, record.string2,  record.string3,  record.string4,
                     record.string5, record.string6,  record.string7,  record.string8,
                     record.string9, record.string10, record.string11, record.string12,
                     record.string13};
  for (int i = 0; i < 13; ++i) std::snprintf(strings[i], XO_TEXT_FIELD, "setting %d", i + 1);
  std::memset(record.string13, 's', 1023);
  record.int1 = -7;
  record.int2 = 500;
  record.int3 = 2;
  record.flag1 = 1;
  ExpectAddedAsGiven(
      record, [&](auto* r) { return Xo_PolicyApi_CreateUserDir(handle_, r, 0); },
      [&](auto** list) { return Xo_PolicyApi_GetUserDir(handle_, "hr", list); }, UserDirRecordType,
      XoObjId_UserDirectory);
}

TEST_F(UserDirectoriesTest, OnlyTheExactOdbcTypeNamesAQueryScheme) {
  Store().OdbcQuery("hr queries");
  Duplicate(Store().OdbcQuery("twin queries"));
  // Any other type ignores the field, whatever it holds.
  for (const char* type : {"odbc:", "ODBC: ", " ODBC:", "ODBC", "LDAP:"}) {
    ASSERT_EQ(Create(Record(type, type, "no such scheme")), 0) << type;
    EXPECT_STREQ(Get(type)[0].querySchemeName, "") << type;
  }
  ASSERT_EQ(Create(Record("hr", "ODBC:", "hr queries")), 0);
  EXPECT_STREQ(Get("hr")[0].querySchemeName, "hr queries");

  const std::string before = Snapshot();
  EXPECT_EQ(Create(Record("x", "ODBC:", "")), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Create(Record("x", "ODBC:", "no such scheme")), XO_ERR_GENERAL);
  EXPECT_EQ(Create(Record("x", "ODBC:", "twin queries")), XO_ERR_GENERAL);
  UserDirRecord unterminated = Record("x", "ODBC:");
  std::memset(unterminated.querySchemeName, 'q', sizeof unterminated.querySchemeName);
  EXPECT_EQ(Create(unterminated), XO_ERR_ODBC_QUERY_SEARCH);
  EXPECT_EQ(Xo_PolicyApi_CreateUserDir(handle_, nullptr, 0), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetUserDir(handle_, "hr", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(UserDirectoriesTest, DomainListAddsOnceAndRemovesEveryCopy) {
  const CXoObjId corporate = Store().UserDirectory("corporate");
  const CXoObjId partners = Store().UserDirectory("partners");
  EXPECT_EQ(Remove("corporate"), XO_ERR_NOT_MEMBER);
  ASSERT_EQ(Add("corporate"), 0);
  EXPECT_EQ(Add("corporate"), XO_ERR_ALREADY_MEMBER);
  ASSERT_EQ(Add("partners"), 0);
  Store().AppendToDomainList(sales_, CXoObjDomain::UserDirectories, corporate);
  EXPECT_EQ(SalesList(), (CXoObjIdArray{corporate, partners, corporate}));

  ASSERT_EQ(Remove("corporate"), 0);
  EXPECT_EQ(SalesList(), CXoObjIdArray{partners});
  const std::string before = Snapshot();
  EXPECT_EQ(Remove("corporate"), 0);  // not listed: nothing is written
  // The domain is resolved first, then the directory.
  EXPECT_EQ(Xo_PolicyApi_AddUserDirToDomain(handle_, "", std::string(1100, 'd').c_str()),
            XO_ERR_DOMAIN_SEARCH);
  EXPECT_EQ(Xo_PolicyApi_AddUserDirToDomain(handle_, "partners", nullptr), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Add("unknown"), XO_ERR_GENERAL);
  EXPECT_EQ(Remove(nullptr), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Remove(std::string(1100, 'u').c_str()), XO_ERR_USERDIR_SEARCH);
  EXPECT_EQ(Snapshot(), before);
  EXPECT_EQ(QueryStoreFile(StorePath(),
                           "SELECT count(*) FROM xo_audit WHERE class = 3 AND "
                           "operation = 'set user directories'"),
            Names{"4"});
}

TEST_F(UserDirectoriesTest, SearchOrderIsReplacedWholeWhenTheLengthMatches) {
  const CXoObjId a = Store().UserDirectory("a");
  const CXoObjId b = Store().UserDirectory("b");
  const CXoObjId c = Store().UserDirectory("c");
  Duplicate(Store().UserDirectory("twin"));
  EXPECT_EQ(Order(), Names{});
  EXPECT_EQ(SetOrder({}), 0);
  ASSERT_EQ(Add("a"), 0);
  ASSERT_EQ(Add("b"), 0);
  EXPECT_EQ(Order(), (Names{"a", "b"}));

  ASSERT_EQ(SetOrder({"b", "a"}), 0);
  EXPECT_EQ(Order(), (Names{"b", "a"}));
  EXPECT_EQ(SalesList(), (CXoObjIdArray{b, a}));
  ASSERT_EQ(SetOrder({"c", "c"}), 0);  // the members are replaced; the same one twice is taken
  EXPECT_EQ(SalesList(), (CXoObjIdArray{c, c}));

  const std::string before = Snapshot();
  EXPECT_EQ(SetOrder({"a"}), XO_ERR_SEARCH_ORDER_COUNT);
  EXPECT_EQ(SetOrder({"a", "b", "c"}), XO_ERR_SEARCH_ORDER_COUNT);
  EXPECT_EQ(SetOrder({"a", "unknown"}), XO_ERR_GENERAL);
  EXPECT_EQ(SetOrder({"twin", "a"}), XO_ERR_GENERAL);
  EXPECT_EQ(SetOrder({"a", ""}), XO_ERR_EMPTY_NAME);
  EXPECT_EQ(Xo_PolicyApi_SetUserDirSearchOrder(handle_, "sales", nullptr), XO_ERR_GENERAL);
  EXPECT_EQ(Xo_PolicyApi_GetUserDirSearchOrder(handle_, "sales", nullptr), XO_ERR_GENERAL);
  char* noNames[] = {nullptr};
  EXPECT_EQ(Xo_PolicyApi_SetUserDirSearchOrder(handle_, "unknown", noNames), XO_ERR_GENERAL);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(UserDirectoriesTest, StoreAndAllocationFailuresAreMappedAndChangeNothing) {
  // Searches that resolve names give their kind's code; a failed fetch of a
  // name read back is -1.
  const Answer odbc = {StoreOp::Search, 1, XO_ERR_ODBC_QUERY_SEARCH};
  const Answer domain = {StoreOp::Search, 1, XO_ERR_DOMAIN_SEARCH};
  const Answer dir = {StoreOp::Search, 2, XO_ERR_USERDIR_SEARCH};
  const Answer namesFetched = {StoreOp::Fetch, 0, XO_ERR_GENERAL};
  const Answer firstFetch = {StoreOp::Fetch, 1, Mapped(xo::store::kBusy)};
  const UserDirRecord hr = Record("hr", "ODBC:", "hr queries");
  Store().OdbcQuery("hr queries");
  Store().UserDirectory("corporate");
  Directories found;
  Names names;

  EXPECT_EQ(SweepBusy([&] { return Create(hr); }, {odbc}), 3);
  // With the update flag a failed look-up of the name only means a new directory.
  EXPECT_EQ(SweepBusy([&] { return Create(hr, 1); }, {odbc, {StoreOp::Search, 2, kAbsorbed}}), 4);
  // The second fetch reads the query scheme's name.
  EXPECT_EQ(SweepBusy([&] { return Get("hr", found); }, {firstFetch, namesFetched}), 4);
  ASSERT_EQ(Add("hr"), 0);
  EXPECT_EQ(SweepBusy([&] { return Remove("hr"); }, {domain, dir}), 7);
  EXPECT_EQ(SweepBusy([&] { return Add("corporate"); }, {domain, dir}), 7);
  ASSERT_EQ(Add("hr"), 0);
  // The domain is fetched whole, then each directory for its name.
  EXPECT_EQ(SweepBusy([&] { return Order(names); }, {domain, firstFetch, namesFetched}), 5);
  EXPECT_EQ(SweepBusy(
                [&] {
                  return SetOrder({"hr", "corporate"});
                },
                {domain, dir, {StoreOp::Search, 3, XO_ERR_USERDIR_SEARCH}}),
            8);

  Duplicate(Store().UserDirectory("twin"));
  Store().AppendToDomainList(sales_, CXoObjDomain::UserDirectories, Store().UserDirectory("a"));
  EXPECT_EQ(SweepAllocationFailures([&] { return Get("twin", found); }, XO_ERR_GENERAL), 2);
  // The array, then each of the domain's names.
  EXPECT_EQ(SweepAllocationFailures([&] { return Order(names); }, XO_ERR_GENERAL), 4);
}

}  // namespace
}  // namespace xo::test
