#include "cli/Arguments.h"

namespace xo::cli {

// The bytes as given: UTF-8 on the systems this runs on.
Arguments::Arguments(int argc, char** argv) : texts_(argv, argv + argc) {
  for (std::string& text : texts_) pointers_.push_back(text.data());
  pointers_.push_back(nullptr);
}

}  // namespace xo::cli
