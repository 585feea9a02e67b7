#include "abf/ByteOrder.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>

namespace convora {
namespace {

TEST(ByteOrder, ReversesTheBytesOfEachWidthAndTwiceGivesBackTheSameBits) {
  EXPECT_EQ(static_cast<std::uint16_t>(SwapInt16(0x1234)), 0x3412);
  EXPECT_EQ(static_cast<std::uint32_t>(SwapInt32(0x01020304)), 0x04030201u);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(SwapSingle(1.0f)), 0x0000803fu);
  EXPECT_EQ(std::bit_cast<std::uint64_t>(SwapDouble(1.0)), 0x000000000000f03full);
  // A signalling NaN and a denormal must pass through as raw bits.
  for (std::uint32_t bits : {0x7fa00001u, 0xffc00000u, 0x00000001u, 0x12345678u}) {
    const float value = std::bit_cast<float>(bits);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(SwapSingle(SwapSingle(value))), bits);
  }
  const std::uint64_t nan = 0x7ff0000000000001ull;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(SwapDouble(SwapDouble(std::bit_cast<double>(nan)))), nan);
}

}  // namespace
}  // namespace convora
