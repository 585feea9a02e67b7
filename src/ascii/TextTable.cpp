#include "ascii/TextTable.h"

#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/SampleScaling.h"

namespace convora {
ColumnTitle ParseColumnTitle(std::string_view title) {
  title = Unquoted(title);
  const auto open = title.find_last_of("([");
  const char closeMark = open != std::string_view::npos && title[open] == '[' ? ']' : ')';
  const auto close = open == std::string_view::npos ? open : title.find(closeMark, open);
  if (close == std::string_view::npos) return {std::string(Unquoted(title)), {}};
  return {std::string(Unquoted(title.substr(0, open))),
          std::string(Unquoted(title.substr(open + 1, close - open - 1)))};
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::optional<double> FirstNumberIn(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto isDigit = [&](std::size_t k) {
      return k < text.size() && text[k] >= '0' && text[k] <= '9';
    };
    const bool starts = isDigit(i) || (text[i] == '.' && isDigit(i + 1)) ||
                        ((text[i] == '-' || text[i] == '+') &&
                         (isDigit(i + 1) || (i + 2 < text.size() && text[i + 1] == '.' &&
                                             isDigit(i + 2))));
    if (starts) return LeadingNumber(text.substr(i));
  }
  return std::nullopt;
}

StoredUnit StoredUnitFor(std::string_view unit) {
  const std::string lower = LowerCase(unit);
  if (unit == "A" || lower == "amps" || lower == "amperes") {
    return {kAmperesAsPicoamperes.unit, kAmperesAsPicoamperes.factor};
  }
  if (unit == "V" || lower == "volts" || lower == "volt") {
    return {kVoltsAsMillivolts.unit, kVoltsAsMillivolts.factor};
  }
  return {std::string(unit), 1.0};
}

}  // namespace convora
