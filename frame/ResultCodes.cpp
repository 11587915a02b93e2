#include "frame/ResultCodes.h"

#include <array>
#include <utility>

namespace xo::frame {

namespace {

// Store failures 0x80010064 upwards, indexed by their low byte minus 0x64.
// The irregular entries (-4 for an absent property, the -1 gaps, the jump to
// -122) are part of the interface that callers compare against.
constexpr std::array<int32_t, 0x23> kGeneralFailures = {
    -1,   -100, -4,   -101, -102, -103, -104, -105, -106, -107, -108, -109,
    -110, -111, -112, -113, -114, -115, -116, -117, -118, -119, -122, -1,
    -123, -124, -125, -1,   -1,   -126, -127, -128, -1,   -1,   -129};

constexpr uint32_t kFirstGeneral = 0x80010064u;
constexpr uint32_t kTransactionFailed = 0x80020001u;
constexpr uint32_t kInternalError = 0x80020002u;

}  // namespace

int32_t MapStoreResult(int32_t storeResult) {
  const auto value = static_cast<uint32_t>(storeResult);
  if (value == 0x00010000u) return XO_OK;
  if (value == kTransactionFailed) return -120;
  if (value == kInternalError) return -121;
  if (value >= kFirstGeneral && value - kFirstGeneral < kGeneralFailures.size()) {
    return kGeneralFailures[value - kFirstGeneral];
  }
  return XO_ERR_GENERAL;
}

}  // namespace xo::frame
