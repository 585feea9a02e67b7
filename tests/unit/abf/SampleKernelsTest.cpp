// The span forms of the scaling steps against their one-value forms, on data
// that reaches every lane and every edge: NaNs of both signs, infinities,
// zeros of both signs, exact halves between counts and the 16-bit bounds.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "abf/AbfHeader.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"
#include "abf/SampleScaling.h"

namespace convora {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// counts = value x 32768 x factor / 32768 - 1: with factor 1 a value's count
// is the value less one, so the special values 0.5, 1.5 and 2.5 below scale
// exactly to halves between counts, and -32767.5 and 32768.5 to the 16-bit
// bounds (-32768.5 fits, 32767.5 does not).
CountScaler ScalerWith(float factor) {
  AbfHeader h;
  h.Set(abf::lADCResolution, 32768);
  h.Set(abf::fADCRange, 32768.0f);
  h.Set(abf::fInstrumentScaleFactor, 0, factor);
  return CountScaler(h, 0);
}

template <typename Value>
std::vector<Value> Awkward(std::size_t n, double scale) {
  std::mt19937_64 random(n);
  std::normal_distribution<double> normal(0.0, scale);
  std::vector<Value> values(n);
  for (auto& v : values) v = static_cast<Value>(normal(random));
  const double special[] = {kNaN, -kNaN, kInf, -kInf, 0.0, -0.0, 0.5, 1.5, 2.5, -0.5,
                            -32767.5, -32767.25, 32768.5, 32768.25, 1e300, -1e300};
  for (std::size_t k = 0; k < std::size(special); ++k) {
    values[(k * 37 + 5) % n] = static_cast<Value>(special[k]);
  }
  return values;
}

// With a multiplier, the fused form against multiplying each value in its own
// type first, then scaling it.
template <typename Value>
void ExpectCountsMatchOneByOne(std::span<const Value> values, const CountScaler& toCount,
                               std::optional<double> multiplier = std::nullopt) {
  std::vector<std::int16_t> counts(values.size(), 12345);
  const std::size_t misfits = multiplier ? toCount.ToCounts(values, *multiplier, counts)
                                         : toCount.ToCounts(values, counts);
  std::size_t expectedMisfits = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::optional<std::int16_t> one =
        toCount(multiplier ? static_cast<Value>(values[i] * *multiplier) : values[i]);
    expectedMisfits += !one;
    ASSERT_EQ(counts[i], one.value_or(0)) << "value " << values[i] << " at " << i;
  }
  EXPECT_EQ(misfits, expectedMisfits);
}

// Extremes may differ in the sign of a zero only; a NaN one stays NaN.
bool Same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

template <typename Value>
void ExpectSameExtremes(std::span<const Value> values) {
  Extremes oneByOne(values.front());
  for (const Value v : values) oneByOne.Add(v);
  Extremes lanes(values.front());
  lanes.Add(values);
  EXPECT_PRED2(Same, lanes.MinimumMagnitude(), oneByOne.MinimumMagnitude());
  EXPECT_PRED2(Same, lanes.MaximumMagnitude(), oneByOne.MaximumMagnitude());
}

// Runs `check` with every set of vector instructions the kernels may use, so
// that one machine checks the forms other processors take.
template <typename Check>
void ForEveryLaneSet(Check check) {
  for (const auto lanes : {KernelLanes::kWidest, KernelLanes::kAvx2, KernelLanes::kSse2}) {
    SCOPED_TRACE("lane set " + std::to_string(static_cast<int>(lanes)));
    LimitKernelLanes(lanes);
    check();
  }
  LimitKernelLanes(KernelLanes::kWidest);
}

template <typename Value>
class SampleKernels : public testing::Test {};
using ValueTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(SampleKernels, ValueTypes);

TYPED_TEST(SampleKernels, CountsEqualTheOneValueScalingAtEveryLengthAlignmentAndUnit) {
  ForEveryLaneSet([&] {
    const auto values = Awkward<TypeParam>(1031, 20000.0);
    for (const float factor : {1.0f, 0.37f, 1e-30f}) {
      const CountScaler toCount = ScalerWith(factor);
      for (const std::size_t start : {0, 1, 3}) {
        for (const std::size_t length : {0, 1, 7, 8, 9, 33, 1000}) {
          ExpectCountsMatchOneByOne(std::span<const TypeParam>(values).subspan(start, length),
                                    toCount);
        }
      }
    }
    // In another unit: the same as multiplying first.
    auto small = Awkward<TypeParam>(1031, 3e-9);
    small[500] = TypeParam(3.5e26);  // its product overflows a float, and then does not fit
    ExpectCountsMatchOneByOne<TypeParam>(small, ScalerWith(1e-3f), 1e12);
  });
}

TEST(SampleKernels, StoredCountsEqualTheOneValueFormulaAndTakeOutsidersAsTheLow) {
  ForEveryLaneSet([] {
    auto values = Awkward<double>(1031, 20000.0);
    // Values whose tenths are halves between counts, and their neighbours: the
    // product by a tenth can round to another count than the quotient does.
    for (std::size_t k = 0; k < 40; ++k) {
      const double half = 10.0 * (150.0 * static_cast<double>(k) - 3000.0) + 5.0;
      values[100 + 3 * k] = half;
      values[101 + 3 * k] = std::nextafter(half, 1e9);
      values[102 + 3 * k] = std::nextafter(half, -1e9);
    }
    // Counts equal to the values, so that halves round to even; those values
    // in tenths; and a scaling with an offset that lands the extremes near
    // full scale.
    for (const StoredScaling scaling : {StoredScaling{1, 0, 1, 1, 1, -30000, 30000},
                                        StoredScaling{1, 0, 1, 1, 10, -3e5, 3e5},
                                        StoredScaling{3e-3, -1.25, 32768, 0.37, 10, -2e3, 2e3}}) {
      for (const std::size_t start : {0, 1, 3}) {
        const auto some = std::span<const double>(values).subspan(start, 1000);
        std::vector<std::int16_t> counts(some.size());
        bool inside = true;
        for (const double v : some) inside &= v >= scaling.low && v <= scaling.high;
        EXPECT_EQ(StoreScaled(some, scaling, counts), inside);
        for (std::size_t i = 0; i < some.size(); ++i) {
          const double x = some[i] >= scaling.low && some[i] <= scaling.high ? some[i] : scaling.low;
          const double exact = ((x * scaling.scale + scaling.offset) * scaling.resolution *
                                scaling.scaleFactor) / scaling.range;
          ASSERT_EQ(counts[i], RoundToInt16(exact).value()) << some[i] << " at " << i;
        }
      }
    }
  });
}

TYPED_TEST(SampleKernels, ExtremesEqualAddingOneByOne) {
  ForEveryLaneSet([&] {
    const auto values = Awkward<TypeParam>(1031, 3.0);
    for (const std::size_t length : {1, 8, 17, 1031}) {
      ExpectSameExtremes(std::span<const TypeParam>(values).first(length));
    }
    // A NaN first value holds both extremes at NaN; a NaN later moves nothing.
    std::vector<TypeParam> nanFirst(40, TypeParam{2});
    nanFirst[0] = TypeParam(kNaN);
    ExpectSameExtremes<TypeParam>(nanFirst);
    std::vector<TypeParam> nanLater(40, TypeParam{-2});
    nanLater[21] = TypeParam(kNaN);
    nanLater[22] = TypeParam(7);
    Extremes extremes(nanLater.front());
    extremes.Add(std::span<const TypeParam>(nanLater));
    EXPECT_EQ(extremes.Minimum(), -2.0);
    EXPECT_EQ(extremes.Maximum(), 7.0);
  });
}

// Runs scanned at once and joined give the extremes of one scan of the whole,
// wherever NaNs fall: at the very start (all NaN), or at the start of a later
// run, just before that run's extremes.
TYPED_TEST(SampleKernels, ExtremesOfRunsJoinedEqualOneScan) {
  for (const std::size_t first : {0, 332, 333, 498, 499, 500}) {
    std::vector<TypeParam> values(997, TypeParam(1));
    for (std::size_t k = first; k < first + 4; ++k) values[k] = TypeParam(kNaN);
    values[first + 4] = TypeParam(-1000);
    values[first + 5] = TypeParam(1000);
    for (const std::size_t parts : {1, 2, 3, 6}) {
      Extremes whole(values.front());
      whole.Add(std::span<const TypeParam>(values));
      const std::vector<Stretch> runs = SplitEvenly(static_cast<std::int64_t>(values.size()), parts);
      std::vector<RunExtremes> extremes = ExtremesOfRuns(runs.size());
      for (std::size_t k = 0; k < runs.size(); ++k) {
        const auto run = std::span<const TypeParam>(values).subspan(
            static_cast<std::size_t>(runs[k].from), static_cast<std::size_t>(runs[k].Length()));
        extremes[k].Add(run.first(run.size() / 2));
        extremes[k].Add(run.subspan(run.size() / 2));
      }
      const std::optional<Extremes> joined = RunExtremes::Join(extremes);
      ASSERT_TRUE(joined.has_value());
      EXPECT_PRED2(Same, joined->Minimum(), whole.Minimum()) << first << " " << parts;
      EXPECT_PRED2(Same, joined->Maximum(), whole.Maximum()) << first << " " << parts;
    }
  }
}

// `spots` must find nothing in `others` repeated to any length, and find any
// one of `marks` put at any place among them.
template <typename Value, typename Spots>
void ExpectSpottedAtEveryPlace(Spots spots, const std::vector<Value>& others,
                               std::initializer_list<Value> marks) {
  ForEveryLaneSet([&] {
    for (const std::size_t n : {1u, 7u, 8u, 33u, 70u}) {
      std::vector<Value> values(n);
      for (std::size_t i = 0; i < n; ++i) values[i] = others[i % others.size()];
      EXPECT_FALSE(spots(std::span<const Value>(values))) << n;
      for (std::size_t at = 0; at < n; ++at) {
        for (const Value mark : marks) {
          std::vector<Value> marked = values;
          marked[at] = mark;
          EXPECT_TRUE(spots(std::span<const Value>(marked))) << mark << " at " << at << " of " << n;
        }
      }
    }
  });
}

TYPED_TEST(SampleKernels, ANegativeNaNIsFoundAtAnyPlaceAndNothingElseCounts) {
  using Value = TypeParam;
  using Limits = std::numeric_limits<Value>;
  // Everything but a negative NaN: the sign bit alone, the largest bits below
  // a NaN's, and NaNs without a sign.
  ExpectSpottedAtEveryPlace<Value>(
      [](std::span<const Value> values) { return AnyNegativeNaN(values); },
      {Value(-0.0), -Limits::infinity(), -Limits::max(), Limits::quiet_NaN(),
       Limits::signaling_NaN(), Value(1.5)},
      {-Limits::quiet_NaN()});
}

TEST(SampleKernels, EveryNaNAndInfinityIsFoundAtAnyPlaceAndNoFiniteValue) {
  using Limits = std::numeric_limits<double>;
  ExpectSpottedAtEveryPlace<double>(
      [](std::span<const double> values) { return !AllFinite(values); },
      {-0.0, Limits::max(), -Limits::max(), Limits::denorm_min(), 1.5}, {kNaN, -kNaN, kInf, -kInf});
}

TEST(SampleKernels, MultiplyingRoundsToTheTypeAndStopsAtTheFirstFiniteProductThatOverflows) {
  ForEveryLaneSet([&] {
    std::vector<float> singles(21, 1.0f);
    singles[13] = std::numeric_limits<float>::infinity();  // already infinite: not an overflow
    singles[14] = std::numeric_limits<float>::quiet_NaN();
    singles[18] = 3.5e26f;  // x 1e12 passes the float range
    singles[20] = 3.5e26f;
    EXPECT_EQ(MultiplyWithinRange(singles, 1e12), 18u);
    EXPECT_EQ(singles[17], 1e12f);
    EXPECT_EQ(singles[13], std::numeric_limits<float>::infinity());
    EXPECT_EQ(singles[18], 3.5e26f);  // left for the caller
    EXPECT_EQ(singles[19], 1.0f);

    std::vector<double> doubles(9, 1.0);
    doubles[8] = 1e300;
    EXPECT_EQ(MultiplyWithinRange(std::span(doubles).first(8), 1e12), 8u);
    EXPECT_EQ(MultiplyWithinRange(std::span(doubles).last(1), 1e12), 0u);

    // Every product is rounded to the values' type.
    const auto values = Awkward<float>(257, 1e-9);
    std::vector<float> multiplied = values;
    ASSERT_EQ(MultiplyWithinRange(multiplied, 1e12), multiplied.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double expected = NarrowToSingle(static_cast<double>(values[i]) * 1e12).value();
      EXPECT_PRED2(Same, multiplied[i], expected) << i;
    }
  });
}

TEST(SampleKernels, ExtremesOfProductsComeFromTheStoredExtremesOnlyWhenTheyTell) {
  std::vector<float> values{2.5e-12f, -7.25e-11f, 3.0e-11f, -1.0e-13f};
  Extremes stored(values.front());
  stored.Add(std::span<const float>(values));
  MultiplyWithinRange(values, 1e12);
  Extremes products(values.front());
  products.Add(std::span<const float>(values));
  const auto fromStored = ExtremesOfProducts<float>(stored, 1e12);
  ASSERT_TRUE(fromStored.has_value());
  EXPECT_EQ(fromStored->Minimum(), products.Minimum());
  EXPECT_EQ(fromStored->Maximum(), products.Maximum());

  Extremes overflowing(3.5e26);
  EXPECT_FALSE(ExtremesOfProducts<float>(overflowing, 1e12).has_value());
  EXPECT_TRUE(ExtremesOfProducts<double>(overflowing, 1e12).has_value());
  Extremes infinite(1.0);
  infinite.Add(kInf);
  EXPECT_FALSE(ExtremesOfProducts<float>(infinite, 1e12).has_value());
  EXPECT_FALSE(ExtremesOfProducts<float>(Extremes(kNaN), 1e12).has_value());
}

}  // namespace
}  // namespace convora
