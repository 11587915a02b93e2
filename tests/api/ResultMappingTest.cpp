// Store results reach the caller through one mapping table, value for value.
#include <cstring>
#include <utility>

#include "frame/ResultCodes.h"
#include "support/ApiTest.h"

namespace xo::test {
namespace {

using ResultMappingTest = ApiTest;

constexpr std::pair<uint32_t, int32_t> kTable[] = {
    {0x80010064, -1},   {0x80010065, -100}, {0x80010066, -4},   {0x80010067, -101},
    {0x80010068, -102}, {0x80010069, -103}, {0x8001006A, -104}, {0x8001006B, -105},
    {0x8001006C, -106}, {0x8001006D, -107}, {0x8001006E, -108}, {0x8001006F, -109},
    {0x80010070, -110}, {0x80010071, -111}, {0x80010072, -112}, {0x80010073, -113},
    {0x80010074, -114}, {0x80010075, -115}, {0x80010076, -116}, {0x80010077, -117},
    {0x80010078, -118}, {0x80010079, -119}, {0x8001007A, -122}, {0x8001007B, -1},
    {0x8001007C, -123}, {0x8001007D, -124}, {0x8001007E, -125}, {0x8001007F, -1},
    {0x80010080, -1},   {0x80010081, -126}, {0x80010082, -127}, {0x80010083, -128},
    {0x80010084, -1},   {0x80010085, -1},   {0x80010086, -129}, {0x80020001, -120},
    {0x80020002, -121}, {0x80020003, -1},   {0x80010063, -1},   {0x80010087, -1},
    {0x80030001, -1},   {0x80000000, -1},   {0xFFFFFFFF, -1},
};

TEST_F(ResultMappingTest, EveryStoreFailureReachesTheCallerAsTheTableSays) {
  DomainRecord record{};
  std::strcpy(record.name, "sales");
  for (const auto& [storeValue, apiCode] : kTable) {
    Faults().FailAt(StoreOp::Save, 1, static_cast<int32_t>(storeValue));
    EXPECT_EQ(Xo_PolicyApi_AddDomain(handle_, &record, 0), apiCode) << std::hex << storeValue;
  }
  // Any result that is not negative is success.
  Faults().FailAt(StoreOp::Save, 1, 0x00010001);
  EXPECT_EQ(Xo_PolicyApi_AddDomain(handle_, &record, 0), 0);
}

TEST(ResultMapping, OnlyTheStoresSuccessValueMapsToZero) {
  EXPECT_EQ(xo::frame::MapStoreResult(0x00010000), 0);
  EXPECT_EQ(xo::frame::MapStoreResult(0), -1);
  EXPECT_EQ(xo::frame::MapStoreResult(0x00010001), -1);
}

}  // namespace
}  // namespace xo::test
