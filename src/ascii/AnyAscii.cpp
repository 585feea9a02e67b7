#include "ascii/AnyAscii.h"

#include <cmath>
#include <limits>
#include <string>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "ascii/TableConversion.h"
#include "ascii/TextTable.h"

namespace convora {
namespace {

// A table wider than this is not a recording anyone exports as text.
constexpr double kMaxColumn = 1 << 20;

[[noreturn]] void BadColumnList(std::string_view text) {
  throw ConvoraError("the column list \"" + std::string(text) +
                     "\" is not a list of column numbers counted from 1 (\"2\", \"2,3\", "
                     "\"2-4\")");
}

std::size_t ColumnNumber(std::string_view piece, std::string_view list) {
  const auto number = ParseWholeNumber(piece);
  if (!number || *number < 1 || *number > kMaxColumn || std::floor(*number) != *number) {
    BadColumnList(list);
  }
  return static_cast<std::size_t>(*number) - 1;
}

double MicrosecondsPer(const std::string& timeUnit) {
  const std::string unit = LowerCase(Unquoted(timeUnit));
  if (unit == "s" || unit == "sec") return 1e6;
  if (unit == "ms") return 1e3;
  if (unit == "us") return 1.0;
  throw ConvoraError("the time unit \"" + timeUnit + "\" is not one of s, ms, us");
}

Separator SeparatorOf(const AsciiSettings& settings, SourceFile& source,
                      std::int64_t firstDataLine) {
  if (settings.matlab) return Separator::Space;
  switch (settings.separator) {
    case AsciiSeparator::Tab: return Separator::Tab;
    case AsciiSeparator::Comma: return Separator::Comma;
    case AsciiSeparator::Semicolon: return Separator::Semicolon;
    case AsciiSeparator::Space: return Separator::Space;
    case AsciiSeparator::Detect: break;
  }
  Separator found = Separator::Space;
  ForEachLine(source, [&](std::int64_t line, std::string_view text) {
    if (line < firstDataLine || IsBlank(text)) return true;
    found = DetectSeparator(text);
    return false;
  });
  return found;
}

}  // namespace

std::vector<std::size_t> ParseColumnList(std::string_view text) {
  std::vector<std::size_t> columns;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find_first_of(", ", start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view piece = text.substr(start, end - start);
    start = end + 1;
    if (piece.empty()) continue;
    const auto dash = piece.find('-', 1);
    if (dash == std::string_view::npos) {
      columns.push_back(ColumnNumber(piece, text));
      continue;
    }
    const std::size_t first = ColumnNumber(piece.substr(0, dash), text);
    const std::size_t last = ColumnNumber(piece.substr(dash + 1), text);
    if (last < first) BadColumnList(text);
    for (std::size_t c = first; c <= last && columns.size() <= 16; ++c) columns.push_back(c);
  }
  if (columns.empty()) BadColumnList(text);
  return columns;
}

void ConvertAnyAscii(Workbench& bench, const AsciiSettings& settings) {
  const std::vector<std::size_t> columns = ParseColumnList(settings.columns);
  SourceFile source(bench.SelectedFilePath);

  TableLayout layout;
  const double skipped = std::floor(LeadingNumber(settings.headerLines));
  layout.firstDataLine =
      skipped > 0 ? 1 + static_cast<std::int64_t>(std::fmin(skipped, 1e15)) : 1;
  const Separator separator = SeparatorOf(settings, source, layout.firstDataLine);
  layout.split = [separator](std::string_view line, std::vector<std::string_view>& fields) {
    SplitFields(line, separator, fields);
  };
  const double timeColumn = std::floor(LeadingNumber(settings.timeColumn));
  if (timeColumn >= 1 && timeColumn <= kMaxColumn) {
    layout.timeColumn = static_cast<std::size_t>(timeColumn) - 1;
    layout.microsecondsPerTimeUnit = MicrosecondsPer(settings.timeUnit);
  }
  const double interval = LeadingNumber(settings.sampleInterval);
  layout.rowInterval = [&] {
    if (!(interval > 0.0) || !std::isfinite(interval)) {
      throw ConvoraError("the sample interval \"" + settings.sampleInterval +
                         "\" is not a positive number");
    }
    return interval;
  };
  const double factor = LeadingNumber(settings.factor);
  for (const std::size_t column : columns) {
    layout.channels.push_back({{column}, settings.unit, factor});
  }
  ConvertTable(bench, source, layout);
}

}  // namespace convora
