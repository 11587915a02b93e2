// A store's contents as comparable text: every object read by name through
// the API, one line each with its fields and references by name, and no
// identifiers, so that two stores built apart compare equal when they hold
// the same objects. What the API leaves unsaid (the realm of a rule in a
// group, whether a name means a group or a leaf, a realm's place under its
// domain, how a policy user was attached, the query schemes no directory
// names) is read from the store itself.
#pragma once

#include <string>
#include <vector>

namespace xo::test {

// Logs in to the store at `path` as `admin`, reads it and logs out again
// (a process has one store open at a time, so read one store after the
// other). The lines come sorted. Throws std::runtime_error when a read fails.
std::vector<std::string> ReadStoreModel(const std::string& path, const std::string& admin,
                                        const std::string& password);

// "- line" for each line only in `before`, "+ line" for each only in
// `after`; empty when the two are equal.
std::string ModelDifference(const std::vector<std::string>& before,
                            const std::vector<std::string>& after);

}  // namespace xo::test
