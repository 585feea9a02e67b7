#include "abf/GaussianFilter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "abf/Numbers.h"

namespace convora {

std::optional<GaussianKernel> GaussianKernel::ForCutoff(float fc) {
  if (fc == 0.0f || !std::isfinite(fc)) return std::nullopt;
  const double sigma = 0.132505 / static_cast<double>(fc);
  GaussianKernel k;
  if (sigma < 0.62) {
    // Narrow: a three-point filter whose weights already sum to one.
    k.a_[2] = static_cast<float>(sigma * sigma / 2.0);
    k.a_[1] = 1.0f - 2.0f * k.a_[2];
    k.nc_ = 1;
    return k;
  }
  k.nc_ = static_cast<int>(std::min(std::floor(4.0 * sigma), double{kMaxHalfWidth}));
  const double b = -0.5 / (sigma * sigma);
  k.a_[1] = 1.0f;
  double sum = 0.5;  // the centre enters the sum once: 2 x 0.5
  for (int i = 1; i <= k.nc_; ++i) {
    const double t = std::exp(b * i * i);
    k.a_[i + 1] = static_cast<float>(t);
    sum += t;
  }
  sum *= 2.0;
  for (int i = 1; i <= k.nc_ + 1; ++i) k.a_[i] = static_cast<float>(k.a_[i] / sum);
  return k;
}

bool GaussianKernel::Apply(std::span<const std::int16_t> window, std::int64_t windowStart,
                           std::int64_t count, std::int64_t first,
                           std::span<std::int16_t> out) const {
  for (std::size_t o = 0; o < out.size(); ++o) {
    const std::int64_t i = first + static_cast<std::int64_t>(o);
    const std::int64_t from = std::max<std::int64_t>(i - nc_, 0);
    const std::int64_t to = std::min<std::int64_t>(i + nc_, count - 1);
    float s = 0.0f;
    for (std::int64_t j = from; j <= to; ++j) {
      const float product = static_cast<float>(window[static_cast<std::size_t>(j - windowStart)]) *
                            a_[1 + std::llabs(j - i)];
      s = s + product;
    }
    const auto rounded = RoundToInt16(s);
    if (!rounded) return false;
    out[o] = *rounded;
  }
  return true;
}

bool GaussianFilter(std::span<const std::int16_t> input, std::span<std::int16_t> output, float fc) {
  const auto kernel = GaussianKernel::ForCutoff(fc);
  if (!kernel) return false;
  return kernel->Apply(input, 0, static_cast<std::int64_t>(input.size()), 0,
                       output.first(input.size()));
}

}  // namespace convora
