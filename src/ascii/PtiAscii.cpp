#include "ascii/PtiAscii.h"

#include <limits>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/TextSearch.h"
#include "ascii/TableConversion.h"
#include "ascii/TextTable.h"

// A PTI fluorescence export: a few free heading lines, a line of trace titles,
// then rows of tab-separated (time, value) pairs, one pair per trace: the
// ratio trace(s) and the intensity at each excitation wavelength. Every trace
// has its own time column; the traces are sampled together, so the first
// pair's times give the interval and the other time columns are not read.

namespace convora {
namespace {

// Field n (0-based) of a tab-separated line: the text between the n-th and the
// (n+1)-th tab, found with InStrNth.
void CutAtTabs(std::string_view line, std::vector<std::string_view>& fields) {
  fields.clear();
  std::size_t start = 0;  // 0-based start of the current field
  for (std::int32_t n = 1;; ++n) {
    if (n > std::numeric_limits<std::int16_t>::max()) {
      throw ConvoraError("a line holds more columns than a PTI export can have");
    }
    const std::int32_t tab = InStrNth(line, "\t", static_cast<std::int16_t>(n));
    if (tab == 0) {
      fields.push_back(line.substr(start));
      return;
    }
    const auto end = static_cast<std::size_t>(tab) - 1;
    fields.push_back(line.substr(start, end - start));
    start = end + 1;
  }
}

struct PtiHeading {
  std::int64_t firstDataLine = 0;
  std::vector<std::string> titles;  // the line before the data, when there is one
  std::size_t columns = 0;
};

// The data start at the first line whose first field is a number.
PtiHeading ReadHeading(SourceFile& source) {
  PtiHeading heading;
  std::string previous;
  std::vector<std::string_view> fields;
  ForEachLine(source, [&](std::int64_t line, std::string_view text) {
    if (IsBlank(text)) return true;
    CutAtTabs(text, fields);
    if (!FieldNumber(fields.front())) {
      previous.assign(text);
      return true;
    }
    heading.firstDataLine = line;
    heading.columns = fields.size();
    if (heading.columns < 2 || heading.columns % 2 != 0) {
      FailAtLine(line, "a PTI export holds tab-separated pairs of time and value columns, "
                       "this line has " + std::to_string(heading.columns) + " columns");
    }
    if (!previous.empty()) {
      CutAtTabs(previous, fields);
      for (const auto field : fields) heading.titles.emplace_back(Unquoted(field));
    }
    return false;
  });
  if (heading.firstDataLine == 0) {
    throw ConvoraError("the file holds no data rows: no line starts with a number and a tab");
  }
  return heading;
}

bool IsRatioTitle(const std::string& title) {
  const std::string lower = LowerCase(title);
  return lower.find("ratio") != std::string::npos || lower.find('/') != std::string::npos;
}

}  // namespace

void ConvertPtiAscii(Workbench& bench, PtiTraces traces) {
  SourceFile source(bench.SelectedFilePath);
  const PtiHeading heading = ReadHeading(source);

  TableLayout layout;
  layout.split = CutAtTabs;
  layout.firstDataLine = heading.firstDataLine;
  layout.timeColumn = 0;
  layout.microsecondsPerTimeUnit = 1e6;  // PTI software writes times in seconds
  for (std::size_t column = 1; column < heading.columns; column += 2) {
    const bool ratio = column < heading.titles.size() && IsRatioTitle(heading.titles[column]);
    const bool wanted = traces == PtiTraces::All ||
                        (traces == PtiTraces::Ratio) == ratio;
    // Ratios and photon counts carry no physical unit.
    if (wanted) layout.channels.push_back({{column}, "", 1.0});
  }
  if (layout.channels.empty()) {
    throw ConvoraError(traces == PtiTraces::Ratio
                           ? "no ratio trace: no trace title names a ratio"
                           : "no intensity trace: every trace title names a ratio");
  }
  ConvertTable(bench, source, layout);
}

std::optional<PtiTraces> PtiTracesNamed(std::string_view name) {
  const std::string lower = LowerCase(name);
  if (lower == "all") return PtiTraces::All;
  if (lower == "ratio") return PtiTraces::Ratio;
  if (lower == "intensity") return PtiTraces::Intensity;
  return std::nullopt;
}

}  // namespace convora
