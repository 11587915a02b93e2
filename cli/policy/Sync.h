// Bringing a list that the library changes an item or a group of items at a
// time from what the store holds to what the file gives.
#pragma once

#include <algorithm>
#include <map>
#include <type_traits>
#include <vector>

#include "cli/policy/Document.h"

namespace xo::cli::policy {

// The list `key` of an object; empty for an object that is not stored yet.
inline const Json& ListOf(const Json& object, const char* key) {
  static const Json kEmpty = Json::array();
  return object.is_object() && object.contains(key) ? object[key] : kEmpty;
}

// The items of `from` that `other` lacks.
inline std::vector<Json> Missing(const Json& from, const Json& other) {
  std::vector<Json> missing;
  for (const Json& item : from) {
    if (std::find(other.begin(), other.end(), item) == other.end()) missing.push_back(item);
  }
  return missing;
}

// `remove` for each item gone, then `add` for each new one.
template <class Remove, class Add>
void SyncItems(const Json& before, const Json& after, Remove&& remove, Add&& add) {
  for (const Json& gone : Missing(before, after)) remove(gone);
  for (const Json& added : Missing(after, before)) add(added);
}

// For lists whose items the library removes a group at a time (the items that
// share `keyOf`): each group that differs is removed whole, then each group
// that differs is added whole.
template <class KeyOf, class Remove, class Add>
void SyncGroups(const Json& before, const Json& after, KeyOf&& keyOf, Remove&& remove, Add&& add) {
  using Key = std::invoke_result_t<KeyOf&, const Json&>;
  const auto group = [&](const Json& list) {
    std::map<Key, Json> grouped;
    for (const Json& item : list) grouped[keyOf(item)].push_back(item);
    return grouped;
  };
  const std::map<Key, Json> groupsBefore = group(before);
  const std::map<Key, Json> groupsAfter = group(after);
  const auto same = [](const std::map<Key, Json>& groups, const Key& key, const Json& items) {
    const auto found = groups.find(key);
    return found != groups.end() && found->second == items;
  };
  for (const auto& [key, items] : groupsBefore) {
    if (!same(groupsAfter, key, items)) remove(key, items);
  }
  for (const auto& [key, items] : groupsAfter) {
    if (!same(groupsBefore, key, items)) add(key, items);
  }
}

}  // namespace xo::cli::policy
