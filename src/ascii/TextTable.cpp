#include "ascii/TextTable.h"

#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/SampleScaling.h"

namespace convora {
namespace {

constexpr std::int64_t kChunkBytes = 1 << 16;

bool IsBlankChar(char c) { return c == ' ' || c == '\t'; }

}  // namespace

void ForEachLine(SourceFile& source,
                 const std::function<bool(std::int64_t, std::string_view)>& visit) {
  std::vector<std::uint8_t> chunk(kChunkBytes);
  std::string line;
  std::int64_t number = 1;
  bool afterReturn = false;  // a CR ended the last line; an LF right after it belongs to it
  bool pending = false;      // characters (or an ending) seen since the last line went out
  for (std::int64_t offset = 0; offset < source.Length(); offset += kChunkBytes) {
    const std::size_t got = source.ReadPadded(offset, chunk);
    for (std::size_t i = 0; i < got; ++i) {
      const char c = static_cast<char>(chunk[i]);
      if (c == '\n' && afterReturn) {
        afterReturn = false;
        continue;
      }
      afterReturn = c == '\r';
      if (c == '\r' || c == '\n') {
        if (!visit(number, line)) return;
        ++number;
        line.clear();
        pending = false;
        continue;
      }
      if (line.size() == kMaxLineChars) {
        FailAtLine(number, "longer than " + std::to_string(kMaxLineChars) + " characters");
      }
      line += c;
      pending = true;
    }
  }
  if (pending) visit(number, line);
}

void FailAtLine(std::int64_t line, const std::string& why) {
  throw ConvoraError("line " + std::to_string(line) + ": " + why);
}

Separator DetectSeparator(std::string_view line) {
  if (line.find('\t') != std::string_view::npos) return Separator::Tab;
  if (line.find(';') != std::string_view::npos) return Separator::Semicolon;
  if (line.find(',') != std::string_view::npos) return Separator::Comma;
  return Separator::Space;
}

void SplitFields(std::string_view line, Separator separator,
                 std::vector<std::string_view>& fields) {
  fields.clear();
  if (separator == Separator::Space) {
    std::size_t i = 0;
    while (i < line.size()) {
      while (i < line.size() && IsBlankChar(line[i])) ++i;
      if (i == line.size()) break;
      const std::size_t start = i;
      while (i < line.size() && !IsBlankChar(line[i])) ++i;
      fields.push_back(line.substr(start, i - start));
    }
    return;
  }
  const char mark = separator == Separator::Tab     ? '\t'
                    : separator == Separator::Comma ? ','
                                                    : ';';
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = line.find(mark, start);
    if (end == std::string_view::npos) {
      fields.push_back(line.substr(start));
      return;
    }
    fields.push_back(line.substr(start, end - start));
    start = end + 1;
  }
}

std::string_view Unquoted(std::string_view field) {
  const auto first = field.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = field.find_last_not_of(" \t");
  field = field.substr(first, last - first + 1);
  if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
    field = field.substr(1, field.size() - 2);
  }
  return field;
}

bool IsBlank(std::string_view line) {
  return line.find_first_not_of(" \t") == std::string_view::npos;
}

std::optional<double> FieldNumber(std::string_view field) {
  return ParseWholeNumber(Unquoted(field));
}

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
