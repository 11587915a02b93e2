// Building the API's records and taking back what the Get functions hand out.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "XoObjId.h"
#include "XoPolicyApi.h"

namespace xo::test {

template <class Record>
Record Zeroed() {
  Record record;
  std::memset(&record, 0, sizeof record);
  return record;
}

// A text of the field's size or more fills the field with no terminator.
template <size_t N>
void Put(char (&field)[N], const std::string& text) {
  std::memset(field, 0, N);
  std::memcpy(field, text.data(), std::min(text.size(), N));
}

// A field holding `fill` in every byte, without a terminator.
template <size_t N>
void Unterminated(char (&field)[N], char fill = 'u') {
  std::memset(field, fill, N);
}

// The records of a returned list, copied byte for byte with their next
// pointers cleared; the list is freed.
template <class Record>
std::vector<Record> Collect(Record* list) {
  std::vector<Record> records;
  for (Record* record = list; record != nullptr; record = record->next) {
    records.push_back(Zeroed<Record>());
    std::memcpy(&records.back(), record, sizeof *record);
    records.back().next = nullptr;
  }
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), 0);
  return records;
}

// The names of a returned array, which is freed.
inline std::vector<std::string> Names(char** names) {
  std::vector<std::string> result;
  for (char** slot = names; slot != nullptr && *slot != nullptr; ++slot) result.push_back(*slot);
  if (names != nullptr) {
    EXPECT_EQ(Xo_PolicyApi_FreeStringArray(names), 0);
  }
  return result;
}

template <class Record>
bool SameBytes(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// Compares a returned record with the expected one byte for byte; an empty
// expected identifier is taken over from the returned record once its class
// is checked.
template <class Record>
void ExpectRecord(const Record& returned, Record expected, XoObjId_Class cls,
                  const std::string& what = "") {
  EXPECT_EQ(CXoObjId::ClassOf(returned.objectId), cls) << what;
  if (expected.objectId[0] == '\0') Put(expected.objectId, returned.objectId);
  EXPECT_TRUE(SameBytes(returned, expected)) << what;
}

// For Add functions that write nothing back: adds `record` (given an
// identifier of 'x's) through `add`, expects the record untouched, and the one
// object `get` reads back to be the record with its type and a new identifier.
template <class Record, class Add, class Get>
void ExpectAddedAsGiven(Record record, Add&& add, Get&& get, int32_t recordType,
                        XoObjId_Class cls) {
  std::memset(record.objectId, 'x', sizeof record.objectId);
  const Record given = record;
  ASSERT_EQ(add(&record), 0);
  EXPECT_TRUE(SameBytes(record, given)) << "the record was written back";
  Record* list = nullptr;
  ASSERT_EQ(get(&list), 0);
  const std::vector<Record> found = Collect(list);
  ASSERT_EQ(found.size(), 1u);
  Record expected = given;
  expected.recordType = recordType;
  Put(expected.objectId, "");
  ExpectRecord(found[0], expected, cls);
}

}  // namespace xo::test
