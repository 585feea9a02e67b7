#pragma once
#include <cstdint>
#include <span>

namespace convora {

// Gaussian low-pass of 16-bit samples with a truncated, normalised kernel.
// `fc` is the cut-off as a fraction of the sampling rate. Products and running
// sums are single precision, added from the left edge of the window to the
// right, and each output is rounded half to even. At the ends the kernel is cut
// off, not mirrored or renormalised, so the first and last half-width outputs
// are attenuated. Writes output[0 .. input.size()-1]; returns false when an
// arithmetic failure (fc of 0, an output beyond 16 bits) stopped it early, the
// outputs written so far kept.
bool GaussianFilter(std::span<const std::int16_t> input, std::span<std::int16_t> output, float fc);

}  // namespace convora
