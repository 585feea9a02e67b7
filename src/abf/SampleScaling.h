#pragma once
// Scaling of floating-point sources to 16-bit counts, shared by the converters
// that take a range from the data's extremes.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "abf/AbfHeader.h"
#include "abf/Numbers.h"

namespace convora {

// Running extremes: both start at the first value; a later value replaces one
// only when strictly beyond it (so a NaN never moves them).
class Extremes {
 public:
  explicit Extremes(double first) : minimum_(first), maximum_(first) {}

  void Add(double value) {
    if (value < minimum_) minimum_ = value;
    if (value > maximum_) maximum_ = value;
  }
  // The extremes of values that come after these ones, as if added one by one.
  void Add(const Extremes& later) {
    Add(later.minimum_);
    Add(later.maximum_);
  }
  // The same as adding the values one by one, several lanes at a time. A zero
  // extreme may come out with the other sign of zero; only its magnitude and
  // its scaled count are ever used, and both are the same for 0 and -0.
  void Add(std::span<const float> values);
  void Add(std::span<const double> values);

  double Minimum() const { return minimum_; }
  double Maximum() const { return maximum_; }
  double MinimumMagnitude() const { return std::fabs(minimum_); }
  double MaximumMagnitude() const { return std::fabs(maximum_); }

 private:
  double minimum_;
  double maximum_;
};

// Adds `later`, the extremes of values that come after those of `joined`, to
// them; `joined` takes them as they are while it holds none, and nothing
// changes when `later` holds none.
inline void JoinExtremes(std::optional<Extremes>& joined, const std::optional<Extremes>& later) {
  if (!later) return;
  if (joined) {
    joined->Add(*later);
  } else {
    joined = later;
  }
}

// The extremes of one run of values, when a recording is scanned in runs at
// once (ValueStream.h). Joined in run order they are the extremes the whole
// recording gives value by value: the first run starts at its first value as
// it stands, so that a NaN there still leaves them NaN; a later run starts at
// its first value that is not NaN, since a NaN that a single scan would have
// passed over must not hide the values after it. Every run holds a value.
class RunExtremes {
 public:
  explicit RunExtremes(bool firstRun) : firstRun_(firstRun) {}

  template <typename Value>
  void Add(std::span<const Value> values) {
    std::size_t start = 0;
    if (!extremes_) {
      if (!firstRun_) {
        while (start < values.size() && std::isnan(values[start])) ++start;
      }
      if (start == values.size()) return;
      extremes_.emplace(values[start]);
    }
    extremes_->Add(values.subspan(start));
  }

  // Nothing when no run held a value that could start them.
  static std::optional<Extremes> Join(const std::vector<RunExtremes>& runs);

 private:
  bool firstRun_;
  std::optional<Extremes> extremes_;
};

// One RunExtremes for each of `runs` runs, the first of them first.
std::vector<RunExtremes> ExtremesOfRuns(std::size_t runs);

// Unit conversion in place: values[i] x factor, rounded to the values' own
// type, from the first value on and up to the first finite one whose product
// the type cannot hold (it would become infinite). Returns how many values
// were converted: values.size() when every product fits. The values from
// there on are left as they were, for the converter to handle in its own way.
std::size_t MultiplyWithinRange(std::span<float> values, double factor);
std::size_t MultiplyWithinRange(std::span<double> values, double factor);

// Whether every value is a finite number: no NaN and no infinity.
bool AllFinite(std::span<const double> values);

// Whether any value is a NaN with its sign bit set.
bool AnyNegativeNaN(std::span<const float> values);
bool AnyNegativeNaN(std::span<const double> values);

// The extremes of values multiplied by `factor` (0 or more) and rounded to
// their type, found from the extremes of the values as stored: multiplying
// and rounding keep order, so the products of the extremes are the extremes
// of the products, and the largest magnitudes leave the type's range first.
// Nothing when an extreme is infinite or NaN, or its product leaves the
// range: the values must then be taken product by product.
template <typename Value>
std::optional<Extremes> ExtremesOfProducts(const Extremes& stored, double factor);

// Which vector instructions the span forms above may use: by default the
// widest the processor has. Tests limit them to check every form on one
// machine; the results are the same whichever is used.
enum class KernelLanes { kWidest, kAvx2, kSse2 };
void LimitKernelLanes(KernelLanes limit);

// Which magnitude the sources that keep it so take as their range: the
// smaller of |minimum| and |maximum| (|minimum| when |maximum| is larger).
// The larger side may then exceed full scale; files converted so far were
// made this way and must stay comparable.
inline double SmallerMagnitude(const Extremes& extremes) {
  const double low = extremes.MinimumMagnitude();
  const double high = extremes.MaximumMagnitude();
  return high > low ? low : high;
}

// SI units stored in the units ABF readers expect.
struct UnitConversion {
  const char* unit;
  double factor;
};
inline constexpr UnitConversion kAmperesAsPicoamperes{"pA", 1e12};
inline constexpr UnitConversion kVoltsAsMillivolts{"mV", 1000.0};

// The scale factor that maps `range` to half of full scale, (10.24 / range) / 2,
// as stored in a float field; nothing when the division fails (a zero range)
// or the result does not fit a float.
std::optional<float> HalfScaleFactor(double range);

// value x lADCResolution x fInstrumentScaleFactor[channel] / fADCRange - 1.0 in
// double precision, rounded half to even; nothing when it does not fit 16 bits.
// The one count taken off every sample is part of how these files are written.
// The header's factors are read once, when the scaler is made.
class CountScaler {
 public:
  CountScaler(const AbfHeader& header, std::size_t channel);
  std::optional<std::int16_t> operator()(double value) const {
    return RoundToInt16(value * resolution_ * scaleFactor_ / range_ - 1.0);
  }
  // counts[i] = (*this)(values[i]), with 0 for a value that does not fit;
  // returns how many did not fit. Computed several lanes at a time with the
  // same operations in the same order, so every count is the same.
  std::size_t ToCounts(std::span<const float> values, std::span<std::int16_t> counts) const;
  std::size_t ToCounts(std::span<const double> values, std::span<std::int16_t> counts) const;
  // The same for values in another unit: each is first multiplied by
  // `unitFactor` and rounded to its own type, as MultiplyWithinRange does; a
  // product beyond the type's range becomes infinite and does not fit.
  std::size_t ToCounts(std::span<const float> values, double unitFactor,
                       std::span<std::int16_t> counts) const;
  std::size_t ToCounts(std::span<const double> values, double unitFactor,
                       std::span<std::int16_t> counts) const;

 private:
  double resolution_;
  double scaleFactor_;
  double range_;
};

// Counts of values scaled to a channel's factor, as the format converters
// store them: count = round half to even of
// ((value x scale + offset) x resolution x scaleFactor) / range, operation by
// operation in double precision, where a value outside [low, high] is taken
// as `low`. The factors must keep every value in that range within 16 bits.
struct StoredScaling {
  double scale;
  double offset;
  double resolution;
  double scaleFactor;
  double range;
  double low;
  double high;
};
// counts[i] = the count of values[i]; returns whether every value lay within
// [low, high]. Several lanes at a time, each the same as one value alone.
bool StoreScaled(std::span<const double> values, const StoredScaling& scaling,
                 std::span<std::int16_t> counts);

// For converters that stop on a count beyond 16 bits: throws ConvoraError when
// the extremes do not scale into 16 bits. The scaling is monotonic, so every
// value between them fits too, and the check can run before the output opens.
void RequireCountsFit(const CountScaler& toCount, const Extremes& extremes);

}  // namespace convora
