#include "KeptConnection.h"

#include <atomic>

namespace xo::directory {
namespace {

std::atomic<uint64_t> opened{0};

}  // namespace

uint64_t ConnectionsOpened() { return opened.load(); }

void CountConnectionOpened() { ++opened; }

}  // namespace xo::directory
