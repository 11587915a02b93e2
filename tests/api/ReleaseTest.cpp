// Giving back lists of records and arrays of strings. Needs no store.
#include <gtest/gtest.h>

#include <cstring>

#include "XoPolicyApi.h"
#include "frame/Memory.h"

namespace xo::test {
namespace {

template <class Record>
Record* NewRecord(int32_t tag, Record* next = nullptr) {
  auto* record = static_cast<Record*>(xo::frame::Allocate(sizeof(Record)));
  record->recordType = tag;
  record->next = next;
  return record;
}

char* NewText(const char* text) {
  auto* copy = static_cast<char*>(xo::frame::Allocate(std::strlen(text) + 1));
  std::strcpy(copy, text);
  return copy;
}

TEST(ReleaseTest, FreeMemoryFollowsEachRecordsTagToItsNext) {
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(nullptr), 0);
  UserEntryRecord* entries = NewRecord<UserEntryRecord>(
      UserEntryRecordType,
      NewRecord<UserEntryRecord>(UserEntryRecordType, NewRecord<UserEntryRecord>(10)));
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(entries), 0);  // the sanitizer build checks nothing leaks
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(NewRecord<OdbcQuerySchemeRecord>(14)), 0);
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(NewRecord<RuleRecord>(1, NewRecord<RuleRecord>(1))), 0);
}

TEST(ReleaseTest, UnknownTagStopsTheWalkWithoutFreeingTheRest) {
  for (int32_t tag : {0, 15, -1}) {
    DomainRecord* bad = NewRecord<DomainRecord>(tag);
    EXPECT_EQ(Xo_PolicyApi_FreeMemory(bad), XO_ERR_GENERAL) << tag;
    EXPECT_EQ(bad->recordType, tag);  // still ours to free
    xo::frame::Free(bad);
  }
  DomainRecord* bad = NewRecord<DomainRecord>(99);
  DomainRecord* list = NewRecord<DomainRecord>(DomainRecordType, bad);
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), XO_ERR_GENERAL);
  EXPECT_EQ(bad->recordType, 99);
  xo::frame::Free(bad);
}

TEST(ReleaseTest, FreeStringArrayFreesUpToTheTerminator) {
  EXPECT_EQ(Xo_PolicyApi_FreeStringArray(nullptr), XO_ERR_GENERAL);
  auto** empty = static_cast<char**>(xo::frame::Allocate(sizeof(char*)));
  EXPECT_EQ(Xo_PolicyApi_FreeStringArray(empty), 0);
  auto** names = static_cast<char**>(xo::frame::Allocate(3 * sizeof(char*)));
  names[0] = NewText("one");
  names[1] = NewText("");
  EXPECT_EQ(Xo_PolicyApi_FreeStringArray(names), 0);
}

}  // namespace
}  // namespace xo::test
