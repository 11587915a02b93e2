// Files that hold a secret of the user's: written so that nobody else can
// read them at any moment, and read only when that still holds.
#pragma once

#include <optional>
#include <string>

namespace xo::cli {

// Writes `text` to `path` whole or not at all: into a new file that only the
// user can read (created exclusively, beside the target), then moved over
// the target. Creates the directory, for the user alone, when it is
// missing. On failure returns false with `problem` saying why.
bool WritePrivateFile(const std::string& path, const std::string& text, std::string& problem);

// The contents of `path`; nothing when there is no such file. A file that
// others could read or change, that belongs to another user or that is not
// a plain file is not read: `problem` says why, and nothing is returned.
std::optional<std::string> ReadPrivateFile(const std::string& path, std::string& problem);

// Removes the file if it is there.
void RemovePrivateFile(const std::string& path);

}  // namespace xo::cli
