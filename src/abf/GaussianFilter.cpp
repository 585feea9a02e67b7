#include "abf/GaussianFilter.h"

#include <array>
#include <cmath>
#include <cstdlib>

#include "abf/Numbers.h"

namespace convora {
namespace {

constexpr int kMaxHalfWidth = 53;

// Coefficients a[1] (centre) .. a[nc + 1]; a[0] is never used.
struct Kernel {
  std::array<float, kMaxHalfWidth + 2> a{};
  int nc = 0;
};

Kernel MakeKernel(double sigma) {
  Kernel k;
  if (sigma < 0.62) {
    // Narrow: a three-point filter whose weights already sum to one.
    k.a[2] = static_cast<float>(sigma * sigma / 2.0);
    k.a[1] = 1.0f - 2.0f * k.a[2];
    k.nc = 1;
    return k;
  }
  k.nc = std::min(static_cast<int>(std::floor(4.0 * sigma)), kMaxHalfWidth);
  const double b = -0.5 / (sigma * sigma);
  k.a[1] = 1.0f;
  double sum = 0.5;  // the centre enters the sum once: 2 x 0.5
  for (int i = 1; i <= k.nc; ++i) {
    const double t = std::exp(b * i * i);
    k.a[i + 1] = static_cast<float>(t);
    sum += t;
  }
  sum *= 2.0;
  for (int i = 1; i <= k.nc + 1; ++i) k.a[i] = static_cast<float>(k.a[i] / sum);
  return k;
}

}  // namespace

bool GaussianFilter(std::span<const std::int16_t> input, std::span<std::int16_t> output, float fc) {
  if (fc == 0.0f) return false;
  const double sigma = 0.132505 / static_cast<double>(fc);
  const Kernel kernel = MakeKernel(sigma);
  const auto count = static_cast<std::int64_t>(input.size());
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t first = std::max<std::int64_t>(i - kernel.nc, 0);
    const std::int64_t last = std::min<std::int64_t>(i + kernel.nc, count - 1);
    float s = 0.0f;
    for (std::int64_t j = first; j <= last; ++j) {
      const float product = static_cast<float>(input[static_cast<std::size_t>(j)]) *
                            kernel.a[static_cast<std::size_t>(1 + std::llabs(j - i))];
      s = s + product;
    }
    const auto rounded = RoundToInt16(s);
    if (!rounded) return false;
    output[static_cast<std::size_t>(i)] = *rounded;
  }
  return true;
}

}  // namespace convora
