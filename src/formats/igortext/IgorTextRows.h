#pragma once
// The lines of an Igor text file read in shares, one per core, since reading
// numbers, not the disk, bounds the speed of a large export. A share learns
// nothing of the file's layout: it keeps the values of every row (a line
// whose fields are all numbers) and the place of every other line, and the
// layout is read from those lines afterwards (IgorTextLayout.h).

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "abf/FileIo.h"
#include "abf/Parallel.h"
#include "abf/SampleScaling.h"
#include "abf/ScratchFile.h"

namespace convora {

// Below this a share is not worth a thread of its own.
inline constexpr std::int64_t kSmallestShareOfLines = 1 << 20;

// Lines of a share in a row: rows of as many values each, or one line that
// is not a row.
struct LineRun {
  std::int64_t offset = 0;      // the first field of the first line
  std::int64_t rows = 0;        // 0 for a line that is not a row
  std::size_t columns = 0;      // fields in each line
  std::int64_t firstValue = 0;  // of the rows, in the share's scratch file
  std::size_t firstExtremes = 0;  // of the rows' columns, in ShareLines::extremes
};

// Runs a share keeps at most, 10 MiB of them, and as many columns' extremes,
// 4 MiB: past that, a text whose number of fields changes from line to line
// is read line by line.
inline constexpr std::size_t kMostRunsPerShare = 1 << 18;

struct ShareLines {
  std::optional<ScratchFile> values;  // the rows' values, row after row
  std::vector<LineRun> runs;          // blank lines left out
  // The extremes of each run of rows, column by column: found while the
  // values are at hand, they spare the output a pass over them all.
  std::vector<Extremes> extremes;
  // The share was not read to its end, or not wholly: a line holds more
  // than kMaxLineChars characters, or the share more runs or extremes than
  // it keeps.
  bool unread = false;
};

// Reads the lines of `share`, which starts where a line starts and ends
// after a line end or at the end of the file.
ShareLines ReadShareLines(const SourceFile& text, Stretch share, const std::filesystem::path& folder);

// Bytes [from, end of the file) in up to one share per core, each cut after a
// line end; nothing when a cut would fall in a line longer than kMaxLineChars.
std::optional<std::vector<Stretch>> SharesOfLines(SourceFile& source, std::int64_t from);

}  // namespace convora
