#include "abf/GaussianFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace convora {
namespace {

std::vector<std::int16_t> Filter(const std::vector<std::int16_t>& input, float fc) {
  std::vector<std::int16_t> output(input.size(), 7777);
  EXPECT_TRUE(GaussianFilter(input, output, fc));
  return output;
}

TEST(GaussianFilter, NarrowKernelHasExactlyThreeTapsTruncatedAtTheEnds) {
  // fc 0.5: sigma = 0.132505 / 0.5 = 0.26501 < 0.62, so a(2) = sigma^2 / 2 =
  // 0.0351151 and a(1) = 1 - 2 a(2) = 0.929770. An impulse of 10000 spreads
  // to 351.15 and 9297.70 and no further.
  std::vector<std::int16_t> impulse(7, 0);
  impulse[3] = 10000;
  EXPECT_EQ(Filter(impulse, 0.5f), (std::vector<std::int16_t>{0, 0, 351, 9298, 351, 0, 0}));
  // A constant stays inside; the first output lacks the left weight, 1000 x (1 - a(2)) = 964.88.
  const auto flat = Filter(std::vector<std::int16_t>(40, 1000), 0.5f);
  EXPECT_EQ(flat.front(), 965);
  EXPECT_EQ(flat.back(), 965);
  EXPECT_EQ(flat[20], 1000);
}

TEST(GaussianFilter, ZeroCutOffStopsWithoutTouchingTheOutput) {
  const std::vector<std::int16_t> input(5, 100);
  std::vector<std::int16_t> output(5, 7);
  EXPECT_FALSE(GaussianFilter(input, output, 0.0f));
  EXPECT_EQ(output, std::vector<std::int16_t>(5, 7));
}

// The filter as first written: kernel, then one plain loop per output. Its
// wide kernel stops at 53 taps each side, so the longer inputs below also
// check that cap.
std::vector<std::int16_t> PlainFilter(const std::vector<std::int16_t>& input, float fc) {
  const double sigma = 0.132505 / fc;
  float a[55] = {};
  int nc = 1;
  if (sigma < 0.62) {
    a[2] = static_cast<float>(sigma * sigma / 2);
    a[1] = 1.0f - 2.0f * a[2];
  } else {
    nc = std::min(static_cast<int>(4 * sigma), 53);
    double sum = 0.5;
    a[1] = 1.0f;
    for (int i = 1; i <= nc; ++i) {
      a[i + 1] = static_cast<float>(std::exp(-0.5 / (sigma * sigma) * i * i));
      sum += std::exp(-0.5 / (sigma * sigma) * i * i);
    }
    for (int i = 1; i <= nc + 1; ++i) a[i] = static_cast<float>(a[i] / (2 * sum));
  }
  const int n = static_cast<int>(input.size());
  std::vector<std::int16_t> out(input.size());
  for (int i = 0; i < n; ++i) {
    float s = 0.0f;
    for (int j = std::max(i - nc, 0); j <= std::min(i + nc, n - 1); ++j) {
      s = s + static_cast<float>(input[j]) * a[1 + std::abs(j - i)];
    }
    out[i] = static_cast<std::int16_t>(std::nearbyint(s));
  }
  return out;
}

TEST(GaussianFilter, BlockedSumsAreBitIdenticalToThePlainLoop) {
  std::mt19937 random(11);
  for (const float fc : {0.5f, 0.1f, 0.03f, 0.0001f}) {  // 3 taps, 11, 35, 107
    for (const std::size_t length : {1u, 20u, 107u, 108u, 5000u}) {
      std::vector<std::int16_t> input(length);
      for (auto& v : input) v = static_cast<std::int16_t>(random() % 65536 - 32768);
      EXPECT_EQ(Filter(input, fc), PlainFilter(input, fc)) << "fc " << fc << ", " << length;
    }
  }
}

}  // namespace
}  // namespace convora
