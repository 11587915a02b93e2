// Building the API's records and taking back what the Get functions hand out.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "XoObjId.h"
#include "XoPolicyApi.h"

namespace xo::test {

// The tag a Get function gives each record of its list.
template <class R>
constexpr int32_t RecordTag();
#define XO_RECORD_TAG(R)             \
  template <>                        \
  constexpr int32_t RecordTag<R>() { \
    return R##Type;                  \
  }
XO_RECORD_TAG(RuleRecord)
XO_RECORD_TAG(PolicyRecord)
XO_RECORD_TAG(RealmRecord)
XO_RECORD_TAG(ResponseRecord)
XO_RECORD_TAG(UserDirRecord)
XO_RECORD_TAG(AgentRecord)
XO_RECORD_TAG(DomainRecord)
XO_RECORD_TAG(PolicyLinkRecord)
XO_RECORD_TAG(ResponseAttrRecord)
XO_RECORD_TAG(UserEntryRecord)
XO_RECORD_TAG(SchemeRecord)
XO_RECORD_TAG(AdminRecord)
XO_RECORD_TAG(GroupRecord)
XO_RECORD_TAG(OdbcQuerySchemeRecord)
#undef XO_RECORD_TAG

// Where the text fields of a record start.
template <class R, class... Fields>
std::vector<size_t> OffsetsOf(Fields... fields) {
  static const R record{};
  const auto* base = reinterpret_cast<const char*>(&record);
  return {static_cast<size_t>(reinterpret_cast<const char*>(&(record.*fields)) - base)...};
}
template <class R>
const std::vector<size_t>& TextFields();
#define XO_TEXT_FIELDS(R, ...)                                          \
  template <>                                                           \
  inline const std::vector<size_t>& TextFields<R>() {                   \
    using T = R;                                                        \
    static const std::vector<size_t> texts = OffsetsOf<T>(__VA_ARGS__); \
    return texts;                                                       \
  }
// clang-format off
XO_TEXT_FIELDS(RuleRecord, &T::objectId, &T::name, &T::description, &T::realmName, &T::ruleText1, &T::ruleText2, &T::timeText, &T::ruleText3)
XO_TEXT_FIELDS(PolicyRecord, &T::objectId, &T::name, &T::description, &T::policyText1, &T::policyText2)
XO_TEXT_FIELDS(RealmRecord, &T::objectId, &T::name, &T::description, &T::realmText, &T::agentName, &T::schemeName, &T::parentName)
XO_TEXT_FIELDS(ResponseRecord, &T::objectId, &T::name, &T::description, &T::agentTypeName)
XO_TEXT_FIELDS(UserDirRecord, &T::objectId, &T::name, &T::description, &T::directoryType, &T::string1, &T::string2, &T::string3, &T::string4, &T::string5, &T::string6, &T::string7, &T::string8, &T::querySchemeName, &T::string9, &T::string10, &T::string11, &T::string12, &T::string13)
XO_TEXT_FIELDS(AgentRecord, &T::objectId, &T::name, &T::description, &T::agentString1, &T::agentString2, &T::agentTypeName)
XO_TEXT_FIELDS(DomainRecord, &T::objectId, &T::name, &T::description)
XO_TEXT_FIELDS(GroupRecord, &T::objectId, &T::name, &T::description, &T::vendorName)
XO_TEXT_FIELDS(PolicyLinkRecord, &T::objectId, &T::realmName, &T::ruleName, &T::responseName)
XO_TEXT_FIELDS(ResponseAttrRecord, &T::objectId, &T::attrName, &T::value)
XO_TEXT_FIELDS(SchemeRecord, &T::objectId, &T::name, &T::description, &T::schemeString1, &T::schemeString2, &T::schemeString3)
XO_TEXT_FIELDS(AdminRecord, &T::objectId, &T::name, &T::description, &T::adminText, &T::userDirName, &T::schemeName)
XO_TEXT_FIELDS(ManagementCommandRecord, &T::argument)
// clang-format on
#undef XO_TEXT_FIELDS
// The scheme's fifteen queries are text fields too.
template <>
inline const std::vector<size_t>& TextFields<OdbcQuerySchemeRecord>() {
  using T = OdbcQuerySchemeRecord;
  static const std::vector<size_t> texts = [] {
    std::vector<size_t> offsets = OffsetsOf<T>(&T::objectId, &T::name, &T::description);
    for (size_t i = 0; i < 15; ++i) offsets.push_back(offsetof(T, query) + i * XO_TEXT_FIELD);
    return offsets;
  }();
  return texts;
}

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

// Every text field a full field of a letter of its own; a tag that is not read.
template <class Record>
Record Filled(const char* name) {
  Record record = Zeroed<Record>();
  record.recordType = 99;
  char letter = 'a';
  for (size_t offset : TextFields<Record>()) {
    std::memset(reinterpret_cast<char*>(&record) + offset, letter++, XO_TEXT_FIELD - 1);
  }
  if constexpr (requires { record.name; }) Put(record.name, name);
  return record;
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

}  // namespace xo::test
