// The per-sample loops of SampleScaling.h, several lanes at a time. Each lane
// does exactly what the one-value forms do: the same comparisons, and the same
// products, quotient and rounding in double precision (the build allows no
// fused or reordered arithmetic). Only the order in which the lanes of the
// extremes are merged differs, which can change the sign of a zero extreme and
// nothing else.
//
// GCC and Clang vector extensions give the lanes, as wide as the processor's
// vectors: on x86-64 the AVX2 forms are chosen at run time when the processor
// has them, and SSE2's otherwise. Scaling to counts, the costliest step, also
// has an AVX-512 form written with intrinsics, since the compilers split
// 512-bit comparisons into single values. Without the extensions the scalar
// loops take every value.

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <type_traits>

#include "abf/ByteOrder.h"
#include "abf/Numbers.h"
#include "abf/SampleScaling.h"

#if defined(__GNUC__)
#define CONVORA_LANES 1
#else
#define CONVORA_LANES 0
#endif
#if CONVORA_LANES && defined(__x86_64__)
#define CONVORA_AVX2 1
#include <immintrin.h>
#else
#define CONVORA_AVX2 0
#endif

namespace convora {
namespace {

#if CONVORA_LANES
// `Bytes` bytes of T: one vector register of the target.
template <typename T, std::size_t Bytes>
using Lanes __attribute__((vector_size(Bytes))) = T;
#endif

constexpr std::size_t kNarrowBytes = 16;
constexpr std::size_t kWideBytes = 32;

template <typename Value, std::size_t Bytes>
[[gnu::always_inline]] inline void MergeExtremes(std::span<const Value> values, double& minimum,
                                                 double& maximum) {
  // Lanes start beyond every value, so a NaN in them never settles there.
  Value low = std::numeric_limits<Value>::infinity();
  Value high = -low;
  std::size_t i = 0;
#if CONVORA_LANES
  using Values = Lanes<Value, Bytes>;
  constexpr std::size_t kWidth = Bytes / sizeof(Value);
  Values lows = low - Values{};
  Values highs = high - Values{};
  for (; i + kWidth <= values.size(); i += kWidth) {
    Values x;
    std::memcpy(&x, &values[i], sizeof x);
    lows = x < lows ? x : lows;
    highs = x > highs ? x : highs;
  }
  for (std::size_t k = 0; k < kWidth; ++k) {
    if (lows[k] < low) low = lows[k];
    if (highs[k] > high) high = highs[k];
  }
#endif
  for (; i < values.size(); ++i) {
    const Value value = values[i];
    if (value < low) low = value;
    if (value > high) high = value;
  }
  if (low < minimum) minimum = low;
  if (high > maximum) maximum = high;
}

struct ScaleFactors {
  double resolution;
  double scaleFactor;
  double range;
  std::optional<double> unitFactor;  // applied first, rounded to the value's type
};

template <typename Value, std::size_t Bytes, bool kInUnit>
[[gnu::always_inline]] inline std::size_t ScaleToCounts(std::span<const Value> values,
                                                        std::span<std::int16_t> counts,
                                                        const ScaleFactors& f) {
  const double unitFactor = f.unitFactor.value_or(1.0);
  std::size_t misfits = 0;
  std::size_t i = 0;
#if CONVORA_LANES
  constexpr std::size_t kWidth = Bytes / sizeof(double);
  using Doubles = Lanes<double, Bytes>;
  using Masks = Lanes<std::int64_t, Bytes>;
  using Values = Lanes<Value, kWidth * sizeof(Value)>;
  using Int32s = Lanes<std::int32_t, kWidth * 4>;
  using Int16s = Lanes<std::int16_t, kWidth * 2>;
  // RoundTo's bounds and rounding, lane by lane.
  constexpr double kLowest = -32768.5;
  constexpr double kBeyond = 32767.5;
  constexpr double kShift = 0x1.8p52;
  Masks misfitLanes{};
  for (; i + kWidth <= values.size(); i += kWidth) {
    Values x;
    std::memcpy(&x, &values[i], sizeof x);
    if constexpr (kInUnit) {
      x = __builtin_convertvector(__builtin_convertvector(x, Doubles) * unitFactor, Values);
    }
    const Doubles scaled =
        __builtin_convertvector(x, Doubles) * f.resolution * f.scaleFactor / f.range - 1.0;
    const Masks fits = (scaled >= kLowest) & (scaled < kBeyond);
    const Doubles rounded = fits ? (scaled + kShift) - kShift : Doubles{};
    const Int16s lane = __builtin_convertvector(__builtin_convertvector(rounded, Int32s), Int16s);
    std::memcpy(&counts[i], &lane, sizeof lane);
    misfitLanes += ~fits & 1;
  }
  for (std::size_t k = 0; k < kWidth; ++k) misfits += static_cast<std::size_t>(misfitLanes[k]);
#endif
  for (; i < values.size(); ++i) {
    Value value = values[i];
    if constexpr (kInUnit) value = static_cast<Value>(value * unitFactor);
    const auto count = RoundToInt16(value * f.resolution * f.scaleFactor / f.range - 1.0);
    counts[i] = count.value_or(0);
    misfits += !count;
  }
  return misfits;
}

bool ShiftsOnly(const StoredScaling& f) {
  return f.scale == 1.0 && f.resolution == 1.0 && f.scaleFactor == 1.0 && f.range == 1.0;
}

// kShiftOnly where scale, resolution, factor and range are all 1, so that
// the products and the quotient would leave each value as it is: counts kept
// and shifted, which then skip the division.
template <std::size_t Bytes, bool kShiftOnly>
[[gnu::always_inline]] inline bool ScaleStored(std::span<const double> values,
                                               std::span<std::int16_t> counts,
                                               const StoredScaling& f) {
  bool inside = true;
  std::size_t i = 0;
#if CONVORA_LANES
  constexpr std::size_t kWidth = Bytes / sizeof(double);
  using Doubles = Lanes<double, Bytes>;
  using Masks = Lanes<std::int64_t, Bytes>;
  using Int32s = Lanes<std::int32_t, kWidth * 4>;
  using Int16s = Lanes<std::int16_t, kWidth * 2>;
  constexpr double kShift = 0x1.8p52;
  Masks outside{};
  for (; i + kWidth <= values.size(); i += kWidth) {
    Doubles x;
    std::memcpy(&x, &values[i], sizeof x);
    const Masks fits = (x >= f.low) & (x <= f.high);
    outside |= ~fits;
    x = fits ? x : f.low - Doubles{};
    Doubles scaled = x + f.offset;
    if constexpr (!kShiftOnly) {
      scaled = ((x * f.scale + f.offset) * f.resolution * f.scaleFactor) / f.range;
    }
    const Doubles rounded = (scaled + kShift) - kShift;
    const Int16s lane = __builtin_convertvector(__builtin_convertvector(rounded, Int32s), Int16s);
    std::memcpy(&counts[i], &lane, sizeof lane);
  }
  for (std::size_t k = 0; k < kWidth; ++k) inside &= outside[k] == 0;
#endif
  for (; i < values.size(); ++i) {
    const double value = values[i];
    const bool fits = (value >= f.low) & (value <= f.high);
    inside &= fits;
    const double x = fits ? value : f.low;
    const double scaled = kShiftOnly
                              ? x + f.offset
                              : ((x * f.scale + f.offset) * f.resolution * f.scaleFactor) / f.range;
    counts[i] = static_cast<std::int16_t>(RoundedToEven(scaled));
  }
  return inside;
}

#if CONVORA_LANES
// Whether any lane of a comparison's mask is set, tested as whole words.
template <typename Mask>
[[gnu::always_inline]] inline bool AnyLane(const Mask& mask) {
  std::uint64_t words[sizeof(Mask) / 8];
  std::memcpy(words, &mask, sizeof words);
  std::uint64_t any = 0;
  for (const std::uint64_t word : words) any |= word;
  return any != 0;
}
#endif

template <typename Value>
[[gnu::always_inline]] inline bool ProductOverflows(Value value, Value product) {
  constexpr Value kInfinity = std::numeric_limits<Value>::infinity();
  return std::fabs(product) == kInfinity && std::fabs(value) != kInfinity;
}

template <typename Value, std::size_t Bytes>
[[gnu::always_inline]] inline std::size_t Multiply(std::span<Value> values, double factor) {
  std::size_t i = 0;
#if CONVORA_LANES
  constexpr Value kInfinity = std::numeric_limits<Value>::infinity();
  constexpr std::size_t kWidth = Bytes / sizeof(double);
  using Doubles = Lanes<double, Bytes>;
  using Values = Lanes<Value, kWidth * sizeof(Value)>;
  for (; i + kWidth <= values.size(); i += kWidth) {
    Values x;
    std::memcpy(&x, &values[i], sizeof x);
    const Values product =
        __builtin_convertvector(__builtin_convertvector(x, Doubles) * factor, Values);
    const auto overflows = ((product == kInfinity) | (product == -kInfinity)) & (x != kInfinity) &
                           (x != -kInfinity);
    if (AnyLane(overflows)) break;  // the scalar loop below finds which
    std::memcpy(&values[i], &product, sizeof product);
  }
#endif
  for (; i < values.size(); ++i) {
    const auto product = static_cast<Value>(values[i] * factor);
    if (ProductOverflows(values[i], product)) return i;
    values[i] = product;
  }
  return values.size();
}

// A plain loop over integers of the value's width, which compilers turn into
// byte shuffles.
template <typename Value>
[[gnu::always_inline]] inline void ReverseEach(std::span<Value> values) {
  using Bits = std::conditional_t<sizeof(Value) == 4, std::uint32_t, std::uint64_t>;
  for (Value& value : values) {
    Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
#if defined(__GNUC__)
    if constexpr (sizeof(Bits) == 4) {
      bits = __builtin_bswap32(bits);
    } else {
      bits = __builtin_bswap64(bits);
    }
#else
    bits = ReverseBytes(bits);
#endif
    std::memcpy(&value, &bits, sizeof bits);
  }
}

// Told by their bits, in a loop the compiler can vectorise: as an unsigned
// integer a negative NaN lies above -infinity.
template <typename Value>
[[gnu::always_inline]] inline bool HasNegativeNaN(std::span<const Value> values) {
  using Bits = std::conditional_t<sizeof(Value) == 4, std::uint32_t, std::uint64_t>;
  constexpr auto kNegativeInfinity = std::bit_cast<Bits>(-std::numeric_limits<Value>::infinity());
  Bits found = 0;
  for (const Value value : values) found |= std::bit_cast<Bits>(value) > kNegativeInfinity;
  return found != 0;
}

// Told by their bits too: a value is finite unless its exponent bits are all set.
[[gnu::always_inline]] inline bool EveryFinite(std::span<const double> values) {
  constexpr std::uint64_t kExponent = 0x7FF0000000000000;
  std::uint64_t notFinite = 0;
  for (const double value : values) {
    notFinite |= (std::bit_cast<std::uint64_t>(value) & kExponent) == kExponent;
  }
  return notFinite == 0;
}

// On x86-64 each kernel is compiled a second time for AVX2's 32-byte vectors,
// and taken when the processor has them.
#if CONVORA_AVX2
KernelLanes laneLimit = KernelLanes::kWidest;

bool HasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2");
  return has && laneLimit != KernelLanes::kSse2;
}

bool HasAvx512() {
  static const bool has = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                          __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw");
  return has && laneLimit == KernelLanes::kWidest;
}

// ScaleToCounts with eight lanes, operation for operation. (GCC 12 warns
// about its own intrinsics' deliberately undefined inputs; nothing here is.)
#if !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
template <typename Value, bool kInUnit>
__attribute__((target("avx512f,avx512dq,avx512vl,avx512bw"))) std::size_t Avx512Counts(
    std::span<const Value> values, std::span<std::int16_t> counts, const ScaleFactors& f) {
  const __m512d unitFactor = _mm512_set1_pd(f.unitFactor.value_or(1.0));
  const __m512d resolution = _mm512_set1_pd(f.resolution);
  const __m512d scaleFactor = _mm512_set1_pd(f.scaleFactor);
  const __m512d range = _mm512_set1_pd(f.range);
  const __m512d one = _mm512_set1_pd(1.0);
  const __m512d lowest = _mm512_set1_pd(-32768.5);
  const __m512d beyond = _mm512_set1_pd(32767.5);
  const __m512d shift = _mm512_set1_pd(0x1.8p52);
  std::size_t misfits = 0;
  std::size_t i = 0;
  for (; i + 8 <= values.size(); i += 8) {
    const Value* const at = &values[i];
    __m512d x;
    if constexpr (std::is_same_v<Value, float>) {
      x = _mm512_cvtps_pd(_mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(at))));
      if constexpr (kInUnit) x = _mm512_cvtps_pd(_mm512_cvtpd_ps(_mm512_mul_pd(x, unitFactor)));
    } else {
      x = _mm512_castsi512_pd(_mm512_loadu_si512(at));
      if constexpr (kInUnit) x = _mm512_mul_pd(x, unitFactor);
    }
    const __m512d scaled = _mm512_sub_pd(
        _mm512_div_pd(_mm512_mul_pd(_mm512_mul_pd(x, resolution), scaleFactor), range), one);
    const __mmask8 fits = _mm512_cmp_pd_mask(scaled, lowest, _CMP_GE_OQ) &
                          _mm512_cmp_pd_mask(scaled, beyond, _CMP_LT_OQ);
    const __m512d rounded = _mm512_maskz_sub_pd(fits, _mm512_add_pd(scaled, shift), shift);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&counts[i]),
                     _mm256_cvtepi32_epi16(_mm512_cvttpd_epi32(rounded)));
    misfits += 8 - static_cast<std::size_t>(__builtin_popcount(fits));
  }
  return misfits +
         ScaleToCounts<Value, kNarrowBytes, kInUnit>(values.subspan(i), counts.subspan(i), f);
}
#if !defined(__clang__)
#pragma GCC diagnostic pop
#endif

template <typename Value>
__attribute__((target("avx2"))) void WideExtremes(std::span<const Value> values, double& minimum,
                                                  double& maximum) {
  MergeExtremes<Value, kWideBytes>(values, minimum, maximum);
}

template <typename Value>
__attribute__((target("avx2"))) std::size_t WideCounts(std::span<const Value> values,
                                                       std::span<std::int16_t> counts,
                                                       const ScaleFactors& factors) {
  if (factors.unitFactor) return ScaleToCounts<Value, kWideBytes, true>(values, counts, factors);
  return ScaleToCounts<Value, kWideBytes, false>(values, counts, factors);
}

__attribute__((target("avx2"))) bool WideScaleStored(std::span<const double> values,
                                                      std::span<std::int16_t> counts,
                                                      const StoredScaling& scaling) {
  if (ShiftsOnly(scaling)) return ScaleStored<kWideBytes, true>(values, counts, scaling);
  return ScaleStored<kWideBytes, false>(values, counts, scaling);
}

template <typename Value>
__attribute__((target("avx2"))) std::size_t WideMultiply(std::span<Value> values, double factor) {
  return Multiply<Value, kWideBytes>(values, factor);
}

template <typename Value>
__attribute__((target("avx2"))) void WideReverse(std::span<Value> values) {
  ReverseEach(values);
}

__attribute__((target("avx2"))) bool WideEveryFinite(std::span<const double> values) {
  return EveryFinite(values);
}

template <typename Value>
__attribute__((target("avx2"))) bool WideHasNegativeNaN(std::span<const Value> values) {
  return HasNegativeNaN(values);
}
#endif

template <typename Value>
bool AnyNegativeNaNOf(std::span<const Value> values) {
#if CONVORA_AVX2
  if (HasAvx2()) return WideHasNegativeNaN(values);
#endif
  return HasNegativeNaN(values);
}

template <typename Value>
void AddExtremes(std::span<const Value> values, double& minimum, double& maximum) {
#if CONVORA_AVX2
  if (HasAvx2()) return WideExtremes(values, minimum, maximum);
#endif
  MergeExtremes<Value, kNarrowBytes>(values, minimum, maximum);
}

template <typename Value>
std::size_t CountsOf(std::span<const Value> values, std::span<std::int16_t> counts,
                     const ScaleFactors& factors) {
#if CONVORA_AVX2
  if (HasAvx512()) {
    if (factors.unitFactor) return Avx512Counts<Value, true>(values, counts, factors);
    return Avx512Counts<Value, false>(values, counts, factors);
  }
  if (HasAvx2()) return WideCounts(values, counts, factors);
#endif
  if (factors.unitFactor) return ScaleToCounts<Value, kNarrowBytes, true>(values, counts, factors);
  return ScaleToCounts<Value, kNarrowBytes, false>(values, counts, factors);
}

template <typename Value>
std::size_t MultiplyAll(std::span<Value> values, double factor) {
#if CONVORA_AVX2
  if (HasAvx2()) return WideMultiply(values, factor);
#endif
  return Multiply<Value, kNarrowBytes>(values, factor);
}

template <typename Value>
void ReverseAll(std::span<Value> values) {
#if CONVORA_AVX2
  if (HasAvx2()) return WideReverse(values);
#endif
  ReverseEach(values);
}

}  // namespace

void LimitKernelLanes(KernelLanes limit) {
#if CONVORA_AVX2
  laneLimit = limit;
#else
  (void)limit;
#endif
}

void Extremes::Add(std::span<const float> values) { AddExtremes(values, minimum_, maximum_); }
void Extremes::Add(std::span<const double> values) { AddExtremes(values, minimum_, maximum_); }

std::size_t CountScaler::ToCounts(std::span<const float> values,
                                  std::span<std::int16_t> counts) const {
  return CountsOf(values, counts, {resolution_, scaleFactor_, range_, std::nullopt});
}

std::size_t CountScaler::ToCounts(std::span<const double> values,
                                  std::span<std::int16_t> counts) const {
  return CountsOf(values, counts, {resolution_, scaleFactor_, range_, std::nullopt});
}

std::size_t CountScaler::ToCounts(std::span<const float> values, double unitFactor,
                                  std::span<std::int16_t> counts) const {
  return CountsOf(values, counts, {resolution_, scaleFactor_, range_, unitFactor});
}

std::size_t CountScaler::ToCounts(std::span<const double> values, double unitFactor,
                                  std::span<std::int16_t> counts) const {
  return CountsOf(values, counts, {resolution_, scaleFactor_, range_, unitFactor});
}

bool StoreScaled(std::span<const double> values, const StoredScaling& scaling,
                 std::span<std::int16_t> counts) {
#if CONVORA_AVX2
  if (HasAvx2()) return WideScaleStored(values, counts, scaling);
#endif
  if (ShiftsOnly(scaling)) return ScaleStored<kNarrowBytes, true>(values, counts, scaling);
  return ScaleStored<kNarrowBytes, false>(values, counts, scaling);
}

std::size_t MultiplyWithinRange(std::span<float> values, double factor) {
  return MultiplyAll(values, factor);
}
std::size_t MultiplyWithinRange(std::span<double> values, double factor) {
  return MultiplyAll(values, factor);
}
bool AllFinite(std::span<const double> values) {
#if CONVORA_AVX2
  if (HasAvx2()) return WideEveryFinite(values);
#endif
  return EveryFinite(values);
}
bool AnyNegativeNaN(std::span<const float> values) { return AnyNegativeNaNOf(values); }
bool AnyNegativeNaN(std::span<const double> values) { return AnyNegativeNaNOf(values); }
void ReverseBytesOfEach(std::span<float> values) { ReverseAll(values); }
void ReverseBytesOfEach(std::span<double> values) { ReverseAll(values); }

}  // namespace convora
