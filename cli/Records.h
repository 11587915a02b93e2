// Taking lists and name arrays out of the library: copied into vectors, and
// the library's memory given back at once.
#pragma once

#include <string>
#include <vector>

#include "XoPolicyApi.h"

namespace xo::cli {

template <class Record>
std::vector<Record> TakeRecords(Record* list) {
  std::vector<Record> records;
  for (Record* record = list; record; record = record->next) {
    records.push_back(*record);
    records.back().next = nullptr;
  }
  if (list) Xo_PolicyApi_FreeMemory(list);
  return records;
}

std::vector<std::string> TakeNames(char** names);

// The names without repeats, in the order first seen.
std::vector<std::string> Distinct(const std::vector<std::string>& names);

}  // namespace xo::cli
