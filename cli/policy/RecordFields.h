// Moving values between the library's records and the document's objects.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "XoPolicyApi.h"
#include "cli/CommandGroups.h"
#include "cli/policy/Document.h"

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

// Record fields as document values.
template <size_t N>
Json TextList(const char (&fields)[N][XO_TEXT_FIELD]) {
  Json texts = Json::array();
  for (const auto& field : fields) texts.push_back(FieldText(field));
  return texts;
}

inline Json FlagList(std::initializer_list<uint8_t> flags) {
  Json list = Json::array();
  for (uint8_t flag : flags) list.push_back(flag != 0);
  return list;
}

// Document values for record fields; the document is checked, so each key is there.
inline std::string TextOf(const Json& object, const char* key) {
  return object[key].get<std::string>();
}
inline std::string TextAt(const Json& object, const char* key, size_t i) {
  return object[key][i].get<std::string>();
}
inline int32_t IntAt(const Json& object, const char* key, size_t i) {
  return object[key][i].get<int32_t>();
}
inline uint8_t FlagAt(const Json& object, const char* key, size_t i) {
  return object[key][i].get<bool>() ? 1 : 0;
}

}  // namespace xo::cli::policy
