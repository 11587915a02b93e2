// What the Get functions hand out, taken back into plain containers and
// freed through the release functions: records with their next pointers
// cleared (so that they compare byte for byte), and names.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "XoPolicyApi.h"

namespace xo::test {

// Calls `get` with a pointer to the caller's output. On success the list it
// handed out is copied into `out` and freed; on failure the output must be
// as it was before the call.
template <class Record, class Get>
int32_t CallGet(Get&& get, std::vector<Record>& out) {
  Record* const untouched = reinterpret_cast<Record*>(&out);  // never read
  Record* list = untouched;
  const int32_t rc = get(&list);
  out.clear();
  if (rc != XO_OK) {
    EXPECT_EQ(list, untouched) << "output written by a failed call";
    return rc;
  }
  for (Record* record = list; record != nullptr; record = record->next) {
    out.push_back(*record);
    out.back().next = nullptr;
  }
  EXPECT_EQ(Xo_PolicyApi_FreeMemory(list), 0);
  return rc;
}

using Strings = std::vector<std::string>;

// The records a Get function hands out; the call must succeed.
template <class Record, class Get>
std::vector<Record> Listed(Get&& get) {
  std::vector<Record> records;
  EXPECT_EQ(CallGet(std::forward<Get>(get), records), XO_OK);
  return records;
}
// What `text` makes of each of them.
template <class Record, class Get, class Text>
Strings Each(Get&& get, Text&& text) {
  Strings texts;
  for (const Record& record : Listed<Record>(std::forward<Get>(get))) texts.push_back(text(record));
  return texts;
}

}  // namespace xo::test
