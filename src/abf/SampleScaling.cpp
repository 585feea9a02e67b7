#include "abf/SampleScaling.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"

namespace convora {

std::optional<float> HalfScaleFactor(double range) {
  if (range == 0.0) return std::nullopt;
  return NarrowToSingle(10.24 / range / 2.0);
}

CountScaler::CountScaler(const AbfHeader& header, std::size_t channel)
    : resolution_(header.Get(abf::lADCResolution)),
      scaleFactor_(header.Get(abf::fInstrumentScaleFactor, channel)),
      range_(header.Get(abf::fADCRange)) {}

std::optional<Extremes> RunExtremes::Join(const std::vector<RunExtremes>& runs) {
  std::optional<Extremes> joined;
  for (const RunExtremes& run : runs) JoinExtremes(joined, run.extremes_);
  return joined;
}

std::vector<RunExtremes> ExtremesOfRuns(std::size_t runs) {
  std::vector<RunExtremes> extremes;
  for (std::size_t k = 0; k < runs; ++k) extremes.emplace_back(k == 0);
  return extremes;
}

template <typename Value>
std::optional<Extremes> ExtremesOfProducts(const Extremes& stored, double factor) {
  if (!std::isfinite(stored.Minimum()) || !std::isfinite(stored.Maximum())) return std::nullopt;
  std::array<Value, 2> ends{static_cast<Value>(stored.Minimum()),
                            static_cast<Value>(stored.Maximum())};
  if (MultiplyWithinRange(std::span<Value>(ends), factor) != ends.size()) return std::nullopt;
  Extremes products(ends[0]);
  products.Add(ends[1]);
  return products;
}

template std::optional<Extremes> ExtremesOfProducts<float>(const Extremes&, double);
template std::optional<Extremes> ExtremesOfProducts<double>(const Extremes&, double);

void RequireCountsFit(const CountScaler& toCount, const Extremes& extremes) {
  for (const double value : {extremes.Minimum(), extremes.Maximum()}) {
    if (!toCount(value)) {
      char text[32];
      std::snprintf(text, sizeof text, "%.9g", value);
      throw ConvoraError(std::string("the value ") + text +
                         " does not fit a 16-bit sample at this scale");
    }
  }
}

}  // namespace convora
