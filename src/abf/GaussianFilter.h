#pragma once
#include <cstdint>
#include <optional>
#include <span>

namespace convora {

// A Gaussian low-pass of 16-bit samples with a truncated, normalised kernel.
// Products and running sums are single precision, added from the left edge of
// the window to the right, and each output is rounded half to even. At the ends
// of the recording the kernel is cut off, not mirrored or renormalised, so the
// first and last half-width outputs are attenuated.
class GaussianKernel {
 public:
  static constexpr int kMaxHalfWidth = 53;

  // The kernel for the cut-off `fc`, a fraction of the sampling rate; nothing
  // for a cut-off of 0 or one that is not a number.
  static std::optional<GaussianKernel> ForCutoff(float fc);

  int HalfWidth() const { return nc_; }

  // Filters outputs first .. first + out.size() - 1 of a recording of `count`
  // samples. `window` holds input samples from `windowStart` on and must reach
  // HalfWidth() samples beyond the outputs on both sides (or the recording's
  // end). Returns false, the outputs written so far kept, when an output does
  // not fit 16 bits.
  bool Apply(std::span<const std::int16_t> window, std::int64_t windowStart, std::int64_t count,
             std::int64_t first, std::span<std::int16_t> out) const;

 private:
  GaussianKernel() = default;
  // One output by the plain loop, with the kernel cut off at the recording's ends.
  bool ApplyNearEnds(std::span<const std::int16_t> window, std::int64_t windowStart,
                     std::int64_t count, std::int64_t i, std::int16_t& out) const;

  // a_[1] is the centre weight, a_[1 + d] the weight at distance d; a_[0] is
  // never used.
  float a_[kMaxHalfWidth + 2] = {};
  int nc_ = 0;
};

// Filters a whole recording held in memory: writes output[0 .. input.size()-1];
// returns false when an arithmetic failure (fc of 0, an output beyond 16
// bits) stopped it early, the outputs written so far kept.
bool GaussianFilter(std::span<const std::int16_t> input, std::span<std::int16_t> output, float fc);

}  // namespace convora
