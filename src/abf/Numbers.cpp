#include "abf/Numbers.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <limits>
#include <string>

namespace convora {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The number that starts a text, in the form LeadingNumber accepts: its
// length (0 when there is none) and, when one correctly rounded product or
// quotient of two exact doubles gives its value, that value. That takes at
// most 19 digits whose integer is at most 2^53, and a power of ten up to 22
// either way; the result is then the correctly rounded value, as from_chars
// would give, at a fraction of the cost. Most numbers written by programs are
// of this kind, and text conversions read one per sample, so the scan is kept
// to one pass over the characters with no per-digit bookkeeping.
struct ScannedNumber {
  std::size_t length = 0;
  bool exact = false;  // whether `value` holds the number's value
  double value = 0.0;
};

inline ScannedNumber ScanNumber(std::string_view text) {
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const char* p = begin;
  const bool negative = p != end && *p == '-';
  p += p != end && (*p == '+' || *p == '-');
  // Digits beyond 19 may wrap the mantissa; such numbers are read slowly.
  std::uint64_t mantissa = 0;
  const auto takeDigits = [&] {
    const char* const first = p;
    for (; p != end && IsDigit(*p); ++p) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
    return p - first;
  };
  std::int64_t digits = takeDigits();
  std::int64_t exponent = 0;
  if (p != end && *p == '.') {
    ++p;
    const std::int64_t fraction = takeDigits();
    digits += fraction;
    exponent = -fraction;
  }
  if (digits == 0) return {};
  const char* numberEnd = p;
  if (p != end && (*p == 'e' || *p == 'E' || *p == 'd' || *p == 'D')) {
    const char* q = p + 1;
    const bool negativeExponent = q != end && *q == '-';
    if (q != end && (*q == '+' || *q == '-')) ++q;
    if (q != end && IsDigit(*q)) {
      std::int64_t written = 0;
      for (; q != end && IsDigit(*q); ++q) {
        if (written < 100000) written = written * 10 + (*q - '0');
      }
      numberEnd = q;
      exponent += negativeExponent ? -written : written;
    }
  }
  ScannedNumber scanned{static_cast<std::size_t>(numberEnd - begin)};
  if (digits > 19 || mantissa > (std::uint64_t{1} << 53)) return scanned;
  const bool beyondExactPowers =
      exponent < -kLargestExactPowerOfTen || exponent > kLargestExactPowerOfTen;
  if (mantissa != 0 && beyondExactPowers) return scanned;
  scanned.exact = true;
  scanned.value = ExactDecimal(mantissa, beyondExactPowers ? 0 : static_cast<int>(exponent), negative);
  return scanned;
}

// The number in from_chars' form: no '+' in front, 'e' as the exponent letter.
std::string Normalised(std::string_view number) {
  std::string text(number);
  if (text.front() == '+') text.erase(0, 1);
  const auto letter = text.find_first_of("eEdD");
  if (letter != std::string::npos) text[letter] = 'e';
  return text;
}

double ToDouble(const std::string& number) {
  double value = 0.0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    // Beyond the double range: keep the magnitude's sense rather than failing.
    const bool negative = number.front() == '-';
    const bool tiny = number.find("e-") != std::string::npos;
    if (tiny) return negative ? -0.0 : 0.0;
    return negative ? -std::numeric_limits<double>::infinity()
                    : std::numeric_limits<double>::infinity();
  }
  return value;
}

double ValueOf(std::string_view number, const ScannedNumber& scanned) {
  if (scanned.exact) return scanned.value;
  return ToDouble(Normalised(number.substr(0, scanned.length)));
}

}  // namespace

double LeadingNumber(std::string_view text) { return LeadingNumberIfAny(text).value_or(0.0); }

std::optional<double> LeadingNumberIfAny(std::string_view text) {
  std::size_t start = 0;
  while (start < text.size() && (text[start] == ' ' || text[start] == '\t')) ++start;
  const std::string_view rest = text.substr(start);
  const ScannedNumber scanned = ScanNumber(rest);
  if (scanned.length == 0) return std::nullopt;
  return ValueOf(rest, scanned);
}

std::optional<double> ParseWholeNumber(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return std::nullopt;
  const auto last = text.find_last_not_of(" \t");
  const std::string_view core = text.substr(first, last - first + 1);
  const ScannedNumber scanned = ScanNumber(core);
  if (scanned.length != core.size()) return std::nullopt;
  return ValueOf(core, scanned);
}

std::string FormatSingle(float value) {
  char text[32];
  const auto result = std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

}  // namespace convora
