// A store's contents as comparable text, read from its database file: a line
// for each object with every stored value, and one for each member of a list
// an object holds, with identifiers replaced by what they name (kind, name and
// owners; for an object without a name, its whole line). Two stores built
// apart compare equal when they hold the same objects. The audit trail and
// server commands are left out.
#pragma once

#include <string>
#include <vector>

namespace xo::test {

// The lines of the store at `path`, sorted. Throws std::runtime_error when
// the file cannot be read.
std::vector<std::string> ReadStoreModel(const std::string& path);

// "- line" for each line only in `before`, "+ line" for each only in
// `after`; empty when the two are equal.
std::string ModelDifference(const std::vector<std::string>& before,
                            const std::vector<std::string>& after);

}  // namespace xo::test
