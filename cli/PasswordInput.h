// Reading secrets from a stream rather than from the command line, where any
// user of the machine could see them in the process list.
#pragma once

#include <istream>
#include <string>

namespace xo::cli {

// The first line of `in`, without its line ending ("\n" or "\r\n"). Empty when
// the stream is empty or closed.
std::string ReadPasswordLine(std::istream& in);

}  // namespace xo::cli
