// The entries of a user directory as the tool shows them: by themselves
// (`user list`) and as the users of a policy (`policy users`).
#pragma once

#include <vector>

#include "cli/Fields.h"

namespace xo::cli {

inline std::vector<Field<UserEntryRecord>> UserEntryFields() {
  using R = UserEntryRecord;
  return {
      TextField("entry", "entry", &R::entry),
      TextField("detail", "entryDetail", &R::entryDetail),
      IntegerField("kind", "entryKind", &R::entryKind),
  };
}

}  // namespace xo::cli
