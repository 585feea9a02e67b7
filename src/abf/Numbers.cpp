#include "abf/Numbers.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace convora {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Length of the number that starts `text`, in the form LeadingNumber accepts;
// the exponent letter is copied to `normalised` as 'e' so from_chars reads it.
std::size_t ScanNumber(std::string_view text, std::string& normalised) {
  std::size_t i = 0;
  std::size_t mantissaDigits = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  while (i < text.size() && IsDigit(text[i])) ++i, ++mantissaDigits;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) ++i, ++mantissaDigits;
  }
  if (mantissaDigits == 0) return 0;
  std::size_t end = i;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
    std::size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    if (j < text.size() && IsDigit(text[j])) {
      while (j < text.size() && IsDigit(text[j])) ++j;
      end = j;
    }
  }
  normalised.assign(text.substr(0, end));
  if (normalised.front() == '+') normalised.erase(0, 1);
  if (end > i) normalised[normalised.size() - (end - i)] = 'e';
  return end;
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

}  // namespace

double LeadingNumber(std::string_view text) {
  std::size_t start = 0;
  while (start < text.size() && (text[start] == ' ' || text[start] == '\t')) ++start;
  std::string normalised;
  if (ScanNumber(text.substr(start), normalised) == 0) return 0.0;
  return ToDouble(normalised);
}

std::optional<double> ParseWholeNumber(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return std::nullopt;
  const auto last = text.find_last_not_of(" \t");
  const std::string_view core = text.substr(first, last - first + 1);
  std::string normalised;
  if (ScanNumber(core, normalised) != core.size()) return std::nullopt;
  return ToDouble(normalised);
}

std::string FormatSingle(float value) {
  char text[32];
  const auto result = std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

}  // namespace convora
