#include "ascii/AxonText.h"

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "ascii/TableConversion.h"
#include "ascii/TextTable.h"

// An Axon Text File: "ATF" and the version on line 1; on line 2 the number of
// optional header records and the number of data columns; the records, one a
// line ("Key=value" in quotes); a line of column titles such as "Time (s)",
// "Trace #1 (pA)"; then one row of numbers a line, separated by tabs (or
// commas). Several "Trace #k" columns of one signal are the sweeps of an
// episodic recording: the j-th column of every trace is channel j.

namespace convora {
namespace {

// Column counts beyond this are refused before anything is allocated for them.
constexpr double kMaxColumns = 1 << 16;

struct AtfHeading {
  std::int64_t titleLine = 0;
  std::vector<std::string> titles;
  Separator separator = Separator::Tab;
};

std::size_t WholeCount(std::string_view field, double most, std::int64_t line,
                       const std::string& what) {
  const auto number = FieldNumber(field);
  if (!number || *number < 0 || *number > most || std::floor(*number) != *number) {
    FailAtLine(line, what + " \"" + std::string(Unquoted(field)) + "\" is not a usable count");
  }
  return static_cast<std::size_t>(*number);
}

AtfHeading ReadHeading(SourceFile& source) {
  AtfHeading heading;
  std::size_t columns = 0;
  std::vector<std::string_view> fields;
  ForEachLine(source, [&](std::int64_t line, std::string_view text) {
    if (line == 1) {
      if (Unquoted(text).substr(0, 3) != "ATF") {
        FailAtLine(1, "not an Axon Text File: it does not start with \"ATF\"");
      }
      return true;
    }
    if (line == 2) {
      SplitFields(text, Separator::Space, fields);
      if (fields.size() < 2) {
        FailAtLine(2, "the counts of header records and of data columns are missing");
      }
      const std::size_t records = WholeCount(fields[0], 1e15, 2, "the header record count");
      columns = WholeCount(fields[1], kMaxColumns, 2, "the column count");
      if (columns == 0) FailAtLine(2, "the file announces no data columns");
      heading.titleLine = 3 + static_cast<std::int64_t>(records);
      return true;
    }
    if (line < heading.titleLine) return true;
    heading.separator = DetectSeparator(text) == Separator::Comma ? Separator::Comma
                                                                   : Separator::Tab;
    SplitFields(text, heading.separator, fields);
    if (fields.size() != columns) {
      FailAtLine(line, std::to_string(fields.size()) + " column titles, but line 2 announces " +
                           std::to_string(columns) + " columns");
    }
    for (const auto field : fields) heading.titles.emplace_back(Unquoted(field));
    return false;
  });
  if (heading.titles.empty()) {
    throw ConvoraError("the file ends before its column titles");
  }
  return heading;
}

double MicrosecondsPer(const std::string& unit, std::int64_t line) {
  if (unit == "s") return 1e6;
  if (unit == "ms") return 1e3;
  if (unit == "us" || unit == "\xb5s" || unit == "\xc2\xb5s") return 1.0;
  FailAtLine(line, "the time unit \"" + unit + "\" is not one of s, ms, us");
}

// The k of a "Trace #k" title, or nothing.
std::optional<long> TraceNumber(const std::string& name) {
  constexpr std::string_view kTrace = "trace #";
  const std::string lower = LowerCase(name);
  if (lower.compare(0, kTrace.size(), kTrace) != 0) return std::nullopt;
  const auto number = ParseWholeNumber(std::string_view(lower).substr(kTrace.size()));
  if (!number || *number < 1 || *number > kMaxColumns || std::floor(*number) != *number) {
    return std::nullopt;
  }
  return static_cast<long>(*number);
}

TableChannel ChannelOf(std::size_t column, const ColumnTitle& title) {
  const StoredUnit stored = StoredUnitFor(title.unit);
  return {{column}, stored.unit, stored.factor};
}

// The channels of the signal columns: one a column, or, where several traces
// are present, the j-th column of every trace as the sweeps of channel j.
std::vector<TableChannel> ChannelsOf(const std::vector<ColumnTitle>& titles,
                                     const std::vector<std::size_t>& signalColumns,
                                     std::int64_t line) {
  std::map<long, std::vector<std::size_t>> traces;
  for (const std::size_t column : signalColumns) {
    if (const auto trace = TraceNumber(titles[column].name)) traces[*trace].push_back(column);
  }
  std::vector<TableChannel> channels;
  if (traces.size() < 2) {
    for (const std::size_t column : signalColumns) {
      channels.push_back(ChannelOf(column, titles[column]));
    }
    return channels;
  }
  std::size_t traceColumns = 0;
  for (const auto& [trace, columns] : traces) traceColumns += columns.size();
  if (traceColumns != signalColumns.size()) {
    FailAtLine(line, "columns of sweeps (\"Trace #k\") are mixed with other signal columns");
  }
  const std::vector<std::size_t>& first = traces.begin()->second;
  for (std::size_t j = 0; j < first.size(); ++j) {
    channels.push_back(ChannelOf(first[j], titles[first[j]]));
    channels.back().columns.clear();
  }
  for (const auto& [trace, columns] : traces) {
    if (columns.size() != first.size()) {
      FailAtLine(line, "trace #" + std::to_string(trace) + " has " +
                           std::to_string(columns.size()) + " columns, the first trace has " +
                           std::to_string(first.size()));
    }
    for (std::size_t j = 0; j < columns.size(); ++j) {
      if (titles[columns[j]].unit != titles[first[j]].unit) {
        FailAtLine(line, "the unit of \"" + titles[columns[j]].name + "\" column " +
                             std::to_string(columns[j] + 1) + " differs from the first trace's");
      }
      channels[j].columns.push_back(columns[j]);
    }
  }
  return channels;
}

}  // namespace

void ConvertAxonText(Workbench& bench) {
  SourceFile source(bench.SelectedFilePath);
  const AtfHeading heading = ReadHeading(source);

  TableLayout layout;
  layout.firstDataLine = heading.titleLine + 1;
  layout.split = [separator = heading.separator](std::string_view line,
                                                 std::vector<std::string_view>& fields) {
    SplitFields(line, separator, fields);
  };
  std::vector<ColumnTitle> titles;
  std::vector<std::size_t> signalColumns;
  for (std::size_t column = 0; column < heading.titles.size(); ++column) {
    titles.push_back(ParseColumnTitle(heading.titles[column]));
    if (LowerCase(titles.back().name).compare(0, 4, "time") != 0) {
      signalColumns.push_back(column);
    } else if (!layout.timeColumn) {
      // Further time columns (one per sweep in some exports) repeat the first.
      layout.timeColumn = column;
      layout.microsecondsPerTimeUnit = MicrosecondsPer(titles.back().unit, heading.titleLine);
    }
  }
  if (signalColumns.empty()) FailAtLine(heading.titleLine, "no signal column besides the time");
  layout.channels = ChannelsOf(titles, signalColumns, heading.titleLine);
  layout.rowInterval = [&bench] { return AskSampleInterval(bench, IntervalRule::kPositive); };
  ConvertTable(bench, source, layout);
}

}  // namespace convora
