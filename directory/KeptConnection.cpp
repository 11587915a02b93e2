#include "KeptConnection.h"

#include <atomic>

namespace xo::directory {
namespace {

std::atomic<uint32_t> opened{0};
std::atomic<uint32_t> kept{0};

}  // namespace

uint32_t ConnectionsOpened() { return opened.load(); }

uint32_t ConnectionsKept() { return kept.load(); }

void CountConnection(bool open) {
  if (open) {
    ++opened;
    ++kept;
  } else {
    --kept;
  }
}

}  // namespace xo::directory
