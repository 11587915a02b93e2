// Moving texts and lists between the library's records and the tool.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "cli/CommandGroups.h"

namespace xo::cli::policy {

// A record text, read up to its terminator and never past the field.
inline std::string FieldText(const char (&field)[XO_TEXT_FIELD]) {
  return std::string(field, strnlen(field, XO_TEXT_FIELD));
}

// Writes a text into a record field. Documents are checked for texts that do
// not fit before anything is changed, so this only guards against misuse.
inline void SetField(char (&field)[XO_TEXT_FIELD], const std::string& text) {
  if (text.size() >= XO_TEXT_FIELD) throw CommandError("a text is longer than 1023 bytes");
  std::memcpy(field, text.c_str(), text.size() + 1);
}

// A list of records handed out by the library, given back at the end of scope.
template <class Record>
class RecordList {
 public:
  RecordList() = default;
  ~RecordList() {
    if (head_) Xo_PolicyApi_FreeMemory(head_);
  }
  RecordList(const RecordList&) = delete;
  RecordList& operator=(const RecordList&) = delete;

  Record** Out() { return &head_; }
  std::vector<const Record*> Items() const {
    std::vector<const Record*> items;
    for (const Record* r = head_; r; r = r->next) items.push_back(r);
    return items;
  }

 private:
  Record* head_ = nullptr;
};

// Takes over a string array handed out by the library and gives it back.
inline std::vector<std::string> TakeNames(char** names) {
  std::vector<std::string> list;
  if (!names) return list;
  for (char** name = names; *name; ++name) list.emplace_back(*name);
  Xo_PolicyApi_FreeStringArray(names);
  return list;
}

}  // namespace xo::cli::policy
