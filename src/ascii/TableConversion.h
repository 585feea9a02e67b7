#pragma once
// The conversion all text tables share once their layout is known: chosen
// columns become channels (or, several columns of one signal, the sweeps of an
// episodic file), scaled so that each channel's peak lies at half of full
// scale, and written through the common output procedure.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "abf/FileIo.h"
#include "workbench/Workbench.h"

namespace convora {

struct TableChannel {
  std::vector<std::size_t> columns;  // 0-based, one per sweep
  std::string unit;                  // stored as it is, cut to 8 characters
  double factor = 1.0;               // every value is multiplied by it before scaling
};

using FieldSplitter = std::function<void(std::string_view, std::vector<std::string_view>&)>;

struct TableLayout {
  FieldSplitter split;
  std::int64_t firstDataLine = 1;  // 1-based; the lines before it are headings
  std::optional<std::size_t> timeColumn;  // 0-based; gives the interval between rows
  double microsecondsPerTimeUnit = 1e6;   // the time column's unit in microseconds
  // Asked, once the table has been read, when there is no time column: the
  // interval between rows in microseconds.
  std::function<double()> rowInterval;
  std::vector<TableChannel> channels;
};

// Reads the table twice (extremes, then samples; once per sweep when there are
// several) and writes the ABF file beside the source. Blank lines are skipped;
// any other line from the first data line on must hold a number in every
// column the layout uses. Every check runs before the output is opened.
void ConvertTable(Workbench& bench, SourceFile& source, const TableLayout& layout);

}  // namespace convora
