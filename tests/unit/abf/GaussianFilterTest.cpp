#include "abf/GaussianFilter.h"

#include <gtest/gtest.h>

#include <vector>

namespace convora {
namespace {

std::vector<std::int16_t> Filter(const std::vector<std::int16_t>& input, float fc) {
  std::vector<std::int16_t> output(input.size(), 7777);
  EXPECT_TRUE(GaussianFilter(input, output, fc));
  return output;
}

TEST(GaussianFilter, NarrowKernelHasExactlyThreeTaps) {
  // fc 0.5: sigma = 0.132505 / 0.5 = 0.26501 < 0.62, so a(2) = sigma^2 / 2 =
  // 0.0351151 and a(1) = 1 - 2 a(2) = 0.929770. An impulse of 10000 spreads
  // to 351.15 and 9297.70 and no further.
  std::vector<std::int16_t> impulse(7, 0);
  impulse[3] = 10000;
  EXPECT_EQ(Filter(impulse, 0.5f), (std::vector<std::int16_t>{0, 0, 351, 9298, 351, 0, 0}));
}

TEST(GaussianFilter, WideKernelStopsAtFiftyThreeSamplesEachSide) {
  // fc 0.0001: sigma = 1325, so 4 sigma is capped at 53; the 107 weights are
  // all close to 1/107 and an impulse of 10700 gives about 100 across them.
  std::vector<std::int16_t> impulse(301, 0);
  impulse[150] = 10700;
  const auto out = Filter(impulse, 0.0001f);
  EXPECT_EQ(out[150], 100);
  EXPECT_EQ(out[150 - 53], 100);
  EXPECT_EQ(out[150 + 53], 100);
  EXPECT_EQ(out[150 - 54], 0);
  EXPECT_EQ(out[150 + 54], 0);
}

TEST(GaussianFilter, ConstantStaysInsideAndIsAttenuatedAtTheTruncatedEnds) {
  const std::vector<std::int16_t> flat(40, 1000);
  // Narrow kernel: the first output lacks the left weight, 1000 x (1 - a(2)) = 964.88.
  auto narrow = Filter(flat, 0.5f);
  EXPECT_EQ(narrow.front(), 965);
  EXPECT_EQ(narrow.back(), 965);
  EXPECT_EQ(narrow[20], 1000);
  // fc 0.05: sigma = 2.65, nc = 10; the ends lose almost half of the kernel.
  auto wide = Filter(flat, 0.05f);
  EXPECT_EQ(wide[20], 1000);
  EXPECT_LT(wide[0], 600);
  EXPECT_GT(wide[0], 400);
  EXPECT_LT(wide[5], 1000);  // still misses the weights 6..10 samples away
  EXPECT_EQ(wide[0], wide[39]);
}

TEST(GaussianFilter, ZeroCutOffStopsWithoutTouchingTheOutput) {
  const std::vector<std::int16_t> input(5, 100);
  std::vector<std::int16_t> output(5, 7);
  EXPECT_FALSE(GaussianFilter(input, output, 0.0f));
  EXPECT_EQ(output, std::vector<std::int16_t>(5, 7));
}

}  // namespace
}  // namespace convora
