// The entries of a user directory as the tool shows them: by themselves
// (`user list`) and as the users of a policy (`policy users`).
#pragma once

#include <vector>

#include "XoDsDir.h"
#include "cli/Fields.h"

namespace xo::cli {

// A directory's listing carries no kind: the detail text says what an entry is.
inline std::vector<Field<UserEntryRecord>> DirectoryEntryFields() {
  using R = UserEntryRecord;
  return {
      TextField("entry", "entry", &R::entry),
      TextField("detail", "entryDetail", &R::entryDetail),
  };
}

// An attachment to a policy keeps the kind its directory gave the entry; the
// table shows it by name ("User", "User Group", ...).
inline std::vector<Json> PolicyUsersJson(const std::vector<UserEntryRecord>& records) {
  auto fields = DirectoryEntryFields();
  fields.push_back(IntegerField("kind", "entryKind", &UserEntryRecord::entryKind));
  std::vector<Json> objects = RecordsJson(fields, records);
  for (Json& object : objects) {
    const int32_t kind = object["entryKind"].get<int32_t>();
    const bool known = kind >= 0 && kind < static_cast<int32_t>(std::size(XoDsObjectClassNames));
    object["kindName"] = known ? XoDsObjectClassNames[kind] : std::to_string(kind);
  }
  return objects;
}

inline std::vector<Column> PolicyUserColumns() {
  return {{"entry", "entry"}, {"kindName", "kind"}, {"entryDetail", "detail"}};
}

}  // namespace xo::cli
