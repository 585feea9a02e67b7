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

namespace {

// Outputs per block of the interior pass: small enough for the accumulators
// to stay in the first-level cache.
constexpr std::int64_t kBlock = 256;

}  // namespace

bool GaussianKernel::ApplyNearEnds(std::span<const std::int16_t> window, std::int64_t windowStart,
                                   std::int64_t count, std::int64_t i, std::int16_t& out) const {
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
  out = *rounded;
  return true;
}

bool GaussianKernel::Apply(std::span<const std::int16_t> window, std::int64_t windowStart,
                           std::int64_t count, std::int64_t first,
                           std::span<std::int16_t> out) const {
  const std::int64_t end = first + static_cast<std::int64_t>(out.size());
  // Where the whole kernel fits, the taps are the same for every output, so a
  // block of outputs is summed tap by tap: each output still adds its products
  // from the leftmost tap to the rightmost, as the plain loop does, and the
  // results are identical to the bit; only the work is laid out for SIMD.
  const std::int64_t interiorFrom = std::clamp<std::int64_t>(nc_, first, end);
  std::int64_t interiorTo = std::clamp<std::int64_t>(count - nc_, interiorFrom, end);
  for (std::int64_t i = first; i < interiorFrom; ++i) {
    if (!ApplyNearEnds(window, windowStart, count, i, out[static_cast<std::size_t>(i - first)])) {
      return false;
    }
  }
  const int taps = 2 * nc_ + 1;
  float weights[2 * kMaxHalfWidth + 1];
  for (int t = 0; t < taps; ++t) weights[t] = a_[1 + std::abs(t - nc_)];
  // Whole blocks only: a fixed trip count lets the compiler vectorise the
  // inner loop; the few outputs left over take the plain loop below.
  float sums[kBlock];
  std::int64_t block = interiorFrom;
  for (; block + kBlock <= interiorTo; block += kBlock) {
    const std::int16_t* left = window.data() + (block - nc_ - windowStart);
    std::fill(sums, sums + kBlock, 0.0f);
    for (int t = 0; t < taps; ++t) {
      const float w = weights[t];
      const std::int16_t* in = left + t;
      for (std::int64_t k = 0; k < kBlock; ++k) sums[k] = sums[k] + static_cast<float>(in[k]) * w;
    }
    for (std::int64_t k = 0; k < kBlock; ++k) {
      const auto rounded = RoundToInt16(sums[k]);
      if (!rounded) return false;
      out[static_cast<std::size_t>(block - first + k)] = *rounded;
    }
  }
  interiorTo = block;
  for (std::int64_t i = interiorTo; i < end; ++i) {
    if (!ApplyNearEnds(window, windowStart, count, i, out[static_cast<std::size_t>(i - first)])) {
      return false;
    }
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
