#include "ascii/DataqAscii.h"

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "ascii/TableConversion.h"
#include "ascii/TextTable.h"

// A spreadsheet-style text export of a Dataq recorder: heading lines (the
// source file, its date, a "Sample rate: 240 Hz" line), a line of column
// titles, then one row a sample time, separated by commas (or tabs,
// semicolons, blanks). A first column titled as time ("Time", "Relative Time",
// "Sec") holds the time of each row and is not a channel; every other column
// is one channel, in volts unless its title names a unit ("CH1 (mV)").

namespace convora {
namespace {

struct DataqHeading {
  std::int64_t firstDataLine = 0;
  Separator separator = Separator::Comma;
  std::size_t columns = 0;
  std::vector<std::string> titles;  // empty when the line before the data is no title line
  std::optional<double> sampleRate;  // Hz, from a heading line
  std::int64_t rateLine = 0;
};

DataqHeading ReadHeading(SourceFile& source) {
  DataqHeading heading;
  std::string previous;
  std::vector<std::string_view> fields;
  ForEachLine(source, [&](std::int64_t line, std::string_view text) {
    if (IsBlank(text)) return true;
    const Separator separator = DetectSeparator(text);
    SplitFields(text, separator, fields);
    if (!FieldNumber(fields.front())) {
      const std::string lower = LowerCase(text);
      const auto rate = lower.find("sample rate");
      if (rate != std::string::npos && !heading.sampleRate) {
        heading.sampleRate = FirstNumberIn(std::string_view(text).substr(rate));
        heading.rateLine = line;
        if (!heading.sampleRate || !(*heading.sampleRate > 0.0) ||
            !std::isfinite(*heading.sampleRate)) {
          FailAtLine(line, "the sample rate is not a positive number");
        }
      }
      previous.assign(text);
      return true;
    }
    heading.firstDataLine = line;
    heading.separator = separator;
    heading.columns = fields.size();
    SplitFields(previous, separator, fields);
    if (fields.size() == heading.columns) {
      for (const auto field : fields) heading.titles.emplace_back(Unquoted(field));
    }
    return false;
  });
  if (heading.firstDataLine == 0) throw ConvoraError("the file holds no data rows");
  return heading;
}

bool IsTimeTitle(const std::string& title) {
  const std::string lower = LowerCase(title);
  return lower.compare(0, 4, "time") == 0 || lower.compare(0, 3, "sec") == 0 ||
         lower.compare(0, 13, "relative time") == 0;
}

}  // namespace

void ConvertDataqAscii(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const DataqHeading heading = ReadHeading(source);

  TableLayout layout;
  layout.firstDataLine = heading.firstDataLine;
  layout.split = [separator = heading.separator](std::string_view line,
                                                 std::vector<std::string_view>& fields) {
    SplitFields(line, separator, fields);
  };
  std::size_t firstChannel = 0;
  if (!heading.titles.empty() && IsTimeTitle(ParseColumnTitle(heading.titles[0]).name)) {
    firstChannel = 1;
    // The rate line, when there is one, is exact; printed times are rounded.
    if (!heading.sampleRate) layout.timeColumn = 0;
  }
  if (heading.sampleRate) {
    const double interval = 1e6 / *heading.sampleRate;
    layout.rowInterval = [interval] { return interval; };
  } else {
    layout.rowInterval = [&bench] { return AskSampleInterval(bench, IntervalRule::kPositive); };
  }
  for (std::size_t column = firstChannel; column < heading.columns; ++column) {
    const std::string unit =
        column < heading.titles.size() ? ParseColumnTitle(heading.titles[column]).unit : "";
    // Recorders export volts unless a channel was calibrated in its own unit.
    const StoredUnit stored = StoredUnitFor(unit.empty() ? "V" : unit);
    layout.channels.push_back({{column}, stored.unit, stored.factor});
  }
  if (layout.channels.empty()) {
    FailAtLine(heading.firstDataLine, "no channel column besides the time");
  }
  ConvertTable(bench, source, layout);
}

}  // namespace convora
