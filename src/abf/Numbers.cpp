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

// The powers of ten a double holds exactly.
constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The number that starts a text, in the form LeadingNumber accepts: its
// length (0 when there is none) and, when one correctly rounded product or
// quotient of two exact doubles gives its value, that value. That takes at
// most 2^53 as an integer mantissa and a power of ten up to 22 either way;
// the result is then the correctly rounded value, as from_chars would give,
// at a fraction of the cost. Most numbers written by programs are of this kind.
struct ScannedNumber {
  std::size_t length = 0;
  std::optional<double> exactValue;
};

ScannedNumber ScanNumber(std::string_view text) {
  std::size_t i = 0;
  const bool negative = !text.empty() && text[0] == '-';
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  std::uint64_t mantissa = 0;
  int mantissaDigits = 0;
  int significantDigits = 0;
  int exponent = 0;
  const auto takeDigits = [&](bool afterPoint) {
    for (; i < text.size() && IsDigit(text[i]); ++i) {
      ++mantissaDigits;
      if (afterPoint) --exponent;
      if (mantissa == 0 && text[i] == '0') continue;
      // Past 19 digits the mantissa no longer fits; such a number is read slowly.
      if (++significantDigits <= 19) mantissa = mantissa * 10 + static_cast<std::uint64_t>(text[i] - '0');
    }
  };
  takeDigits(false);
  if (i < text.size() && text[i] == '.') {
    ++i;
    takeDigits(true);
  }
  if (mantissaDigits == 0) return {};
  std::size_t end = i;
  int written = 0;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
    std::size_t j = i + 1;
    const bool negativeExponent = j < text.size() && text[j] == '-';
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    if (j < text.size() && IsDigit(text[j])) {
      for (; j < text.size() && IsDigit(text[j]); ++j) {
        if (written < 100000) written = written * 10 + (text[j] - '0');
      }
      end = j;
      exponent += negativeExponent ? -written : written;
    }
  }
  ScannedNumber scanned{end, std::nullopt};
  if (significantDigits > 19 || mantissa > (std::uint64_t{1} << 53)) return scanned;
  double value = static_cast<double>(mantissa);
  if (mantissa != 0) {
    if (exponent < -22 || exponent > 22) return scanned;
    value = exponent < 0 ? value / kExactPowersOfTen[-exponent] : value * kExactPowersOfTen[exponent];
  }
  scanned.exactValue = negative ? -value : value;
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
  if (scanned.exactValue) return *scanned.exactValue;
  return ToDouble(Normalised(number.substr(0, scanned.length)));
}

}  // namespace

double LeadingNumber(std::string_view text) {
  std::size_t start = 0;
  while (start < text.size() && (text[start] == ' ' || text[start] == '\t')) ++start;
  const std::string_view rest = text.substr(start);
  const ScannedNumber scanned = ScanNumber(rest);
  if (scanned.length == 0) return 0.0;
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
