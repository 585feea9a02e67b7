#pragma once
// How numbers typed by users and stored in headers are read and narrowed.
// Every narrowing rounds halves to the even neighbour and reports, instead of
// wrapping, a value that does not fit.

#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace convora {

// The powers of ten a double holds exactly.
inline constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                               1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                               1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr int kLargestExactPowerOfTen = 22;

// (-1 when `negative`) x mantissa x 10^exponent, correctly rounded, as
// from_chars gives it, for a mantissa of at most 2^53 and an exponent within
// +-kLargestExactPowerOfTen: both operands are then exact doubles, and of the
// quotient and product taken one is by 1, so the value is rounded once. Text
// readers call it once per sample. The sign goes on without a branch: signs
// change from value to value in a recording, and the mispredicted branch would
// cost more than the rest of the reading.
inline double ExactDecimal(std::uint64_t mantissa, int exponent, bool negative) {
  const int down = exponent < 0 ? -exponent : 0;
  const double value =
      static_cast<double>(mantissa) / kExactPowersOfTen[down] * kExactPowersOfTen[exponent + down];
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(value) |
                               (std::uint64_t{negative} << 63));
}

// The leading number of a text ("12.5 ms" gives 12.5, "abc" gives 0): blanks
// and tabs before it are skipped; a sign, digits, a decimal point and an
// exponent (e, E, d or D) are taken as far as they go.
double LeadingNumber(std::string_view text);
// The same, or nothing when the text does not start with a number.
std::optional<double> LeadingNumberIfAny(std::string_view text);

// The whole text as a number, blanks around it allowed; nothing when the text
// is empty or holds anything else.
std::optional<double> ParseWholeNumber(std::string_view text);

// The nearest integer, halves to even, exactly as nearbyint gives it for any
// magnitude below 2^51, without a library call: adding and removing 1.5 x 2^52
// leaves no fraction bits, so the sum itself does the rounding.
inline double RoundedToEven(double value) {
  constexpr double kShift = 0x1.8p52;
  return (value + kShift) - kShift;
}

// Nearest integer, halves to even; nothing when out of range or not a number.
// Inline and free of library calls: converters call it once per sample.
template <typename Int>
std::optional<Int> RoundTo(double value) {
  constexpr double kLowest = static_cast<double>(std::numeric_limits<Int>::min()) - 0.5;
  constexpr double kBeyond = static_cast<double>(std::numeric_limits<Int>::max()) + 0.5;
  // A half below the lowest value rounds up to it (to even); a half above the
  // highest rounds out of range. NaN fails both tests.
  if (!(value >= kLowest && value < kBeyond)) return std::nullopt;
  return static_cast<Int>(RoundedToEven(value));
}
inline std::optional<std::int16_t> RoundToInt16(double value) { return RoundTo<std::int16_t>(value); }
inline std::optional<std::int32_t> RoundToInt32(double value) { return RoundTo<std::int32_t>(value); }

// A double stored into a 32-bit float field: nothing when a finite value lies
// beyond the float range.
inline std::optional<float> NarrowToSingle(double value) {
  // Halfway between the largest float and 2^128: from here on, rounding to
  // float gives infinity, which a float field cannot take from a finite value.
  constexpr double kFirstOverflow = 0x1.ffffffp127;
  if ((value >= kFirstOverflow || value <= -kFirstOverflow) && value - value == 0.0) {
    return std::nullopt;
  }
  return static_cast<float>(value);
}

// A float shown as the shortest text that reads back as the same float, so
// that accepting a shown default stores the very value it came from.
std::string FormatSingle(float value);

}  // namespace convora
