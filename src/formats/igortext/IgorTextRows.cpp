#include "formats/igortext/IgorTextRows.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string_view>

#include "abf/ConvoraError.h"
#include "abf/TextLines.h"
#include "formats/igortext/IgorTextPieces.h"
#include "formats/igortext/PieceCuts.h"
#include "formats/igortext/PieceNumberReader.h"

namespace convora {
namespace {

// Values written to the scratch file at a time: 256 KiB, few enough writes
// that their calls cost little.
constexpr std::size_t kValuesPerWrite = 1 << 15;

constexpr std::size_t kNone = ~std::size_t{0};

// Keeps the values of the lines that are rows, in order, and the place of
// the other lines.
class RowKeeper {
 public:
  explicit RowKeeper(ShareLines& lines) : lines_(lines), kept_(*lines.values) {
    values_.resize(kValuesPerWrite + kPieceSpanBytes);
  }

  // Room for `count` more values, the first of which is returned.
  double* Room(std::size_t count) {
    if (held_ + count > values_.size()) {
      Write();
      // Only a line of more fields than fit in a write needs more; GivesUp
      // bounds them.
      if (held_ + count > values_.size()) values_.resize(held_ + count);
    }
    held_ += count;
    return values_.data() + held_ - count;
  }

  // The usual text of a one-wave block: the `count` (at least one) fields
  // whose values the last Room holds each start a line, and follow a line of
  // one value in a run of such rows. They are then rows of the run, all of
  // them, the last from `lastOffset` in the file. False, with nothing taken,
  // where they are not.
  bool TakeOneValueRows(std::size_t count, std::int64_t lastOffset) {
    const std::size_t first = held_ - count;
    if (firstNaN_ == kNone) firstNaN_ = FirstNaN(first);
    if (columns_ != 1 || first - lineStart_ != 1 || firstNaN_ < held_) return false;
    if (rowsEnd_ != lineStart_) {  // lines that were not rows lie between: their values go
      std::copy(values_.begin() + static_cast<std::ptrdiff_t>(lineStart_),
                values_.begin() + static_cast<std::ptrdiff_t>(held_),
                values_.begin() + static_cast<std::ptrdiff_t>(rowsEnd_));
      held_ -= lineStart_ - rowsEnd_;
    }
    runRows_ += static_cast<std::int64_t>(count);
    rowsEnd_ = lineStart_ = held_ - 1;
    lineOffset_ = lastOffset;
    return true;
  }

  // The fields whose values the last Room holds, as the marked search found
  // them in the text from `textOffset`.
  void Take(std::span<const std::uint32_t> starts, std::int64_t textOffset) {
    const std::size_t first = held_ - starts.size();
    if (firstNaN_ == kNone) firstNaN_ = FirstNaN(first);
    for (std::size_t i = 0; i < starts.size(); ++i) {
      if ((starts[i] & kFirstOfLine) == 0) continue;
      EndLine(first + i);
      lineOffset_ = textOffset + (starts[i] & ~kFirstOfLine);
    }
  }

  // Whether the share cannot be read to its end: a line of more fields than
  // a line of kMaxLineChars characters holds, or too many runs or extremes
  // to keep.
  bool GivesUp() const {
    return held_ - lineStart_ > kMaxLineChars / 2 + 1 || lines_.runs.size() > kMostRunsPerShare ||
           lines_.extremes.size() > kMostRunsPerShare;
  }

  // Ends the last line and writes what is kept.
  void Finish() {
    EndLine(held_);
    EndRun();
    Write();
  }

 private:
  // Where the first NaN, the value of a field that is not a number, lies
  // from values_[from] on.
  std::size_t FirstNaN(std::size_t from) const {
    if (AllFinite(std::span<const double>(values_.data() + from, held_ - from))) return kNone;
    for (std::size_t i = from; i < held_; ++i) {
      if (std::isnan(values_[i])) return i;
    }
    return kNone;
  }

  // The line whose values are values_[lineStart_, end) has ended.
  void EndLine(std::size_t end) {
    const std::size_t fields = end - lineStart_;
    const bool row = firstNaN_ >= end;
    if (row && fields == columns_ && rowsEnd_ == lineStart_) {
      ++runRows_;
      rowsEnd_ = end;
    } else if (fields != 0) {
      TakeOtherLine(end, row);
    }
    lineStart_ = end;
  }

  // A line that is not a row, or the first row of a run, or a row whose
  // values move to follow the rows before it.
  void TakeOtherLine(std::size_t end, bool row) {
    const std::size_t fields = end - lineStart_;
    if (!row) {
      EndRun();
      lines_.runs.push_back({lineOffset_, 0, fields, 0});
      firstNaN_ = FirstNaN(end);
      return;
    }
    if (rowsEnd_ != lineStart_) {
      std::copy(values_.begin() + static_cast<std::ptrdiff_t>(lineStart_),
                values_.begin() + static_cast<std::ptrdiff_t>(end),
                values_.begin() + static_cast<std::ptrdiff_t>(rowsEnd_));
    }
    if (fields != columns_) {
      EndRun();
      lines_.runs.push_back({lineOffset_, 0, fields, written_ + static_cast<std::int64_t>(rowsEnd_),
                             lines_.extremes.size()});
      for (std::size_t c = 0; c < fields; ++c) lines_.extremes.emplace_back(values_[rowsEnd_ + c]);
      columns_ = fields;
    }
    ++runRows_;
    rowsEnd_ += fields;
  }

  void EndRun() {
    if (columns_ != kNone) {
      AddToExtremes();
      lines_.runs.back().rows = runRows_;
    }
    columns_ = kNone;
    runRows_ = 0;
  }

  // Adds the rows' values not yet added to the extremes of the run they
  // belong to, the last one.
  void AddToExtremes() {
    if (columns_ == kNone || added_ == rowsEnd_) return;
    const LineRun& run = lines_.runs.back();
    Extremes* const extremes = lines_.extremes.data() + run.firstExtremes;
    const std::span<const double> rows(values_.data() + added_, rowsEnd_ - added_);
    if (columns_ == 1) {
      extremes->Add(rows);
    } else {
      auto column = static_cast<std::size_t>(
          (written_ + static_cast<std::int64_t>(added_) - run.firstValue) % static_cast<std::int64_t>(columns_));
      for (const double value : rows) {
        extremes[column].Add(value);
        if (++column == columns_) column = 0;
      }
    }
    added_ = rowsEnd_;
  }

  // Writes the rows' values taken so far; the values of the line not yet
  // ended move to the front.
  void Write() {
    AddToExtremes();
    kept_.WriteDoubles(written_, std::span<const double>(values_.data(), rowsEnd_));
    written_ += static_cast<std::int64_t>(rowsEnd_);
    std::copy(values_.begin() + static_cast<std::ptrdiff_t>(lineStart_),
              values_.begin() + static_cast<std::ptrdiff_t>(held_), values_.begin());
    if (firstNaN_ != kNone) firstNaN_ -= lineStart_;
    held_ -= lineStart_;
    lineStart_ = 0;
    rowsEnd_ = 0;
    added_ = 0;
  }

  ShareLines& lines_;
  ScratchFile& kept_;
  std::vector<double> values_;
  std::size_t rowsEnd_ = 0;    // values_[0, rowsEnd_): rows' values not yet written
  std::size_t added_ = 0;      // values_[0, added_): those added to their run's extremes
  std::size_t lineStart_ = 0;  // values_[lineStart_, held_): the values of the line not yet ended
  std::size_t held_ = 0;
  std::size_t firstNaN_ = kNone;  // from lineStart_ on
  std::int64_t lineOffset_ = 0;   // of the first field of the line not yet ended
  std::size_t columns_ = kNone;   // of the run of rows being read, if any
  std::int64_t runRows_ = 0;
  std::int64_t written_ = 0;
};

// Where the line that holds byte `at` ends, past its line end; the file's
// length when the file ends first; nothing when the line is longer than
// kMaxLineChars.
std::optional<std::int64_t> AfterLineEnd(SourceFile& source, std::int64_t at) {
  std::vector<std::uint8_t> chunk(1 << 16);
  for (const std::int64_t limit = at + static_cast<std::int64_t>(kMaxLineChars) + 1; at < limit;) {
    const std::size_t got = source.ReadPadded(at, chunk);
    if (got == 0) return source.Length();
    const auto* const bytes = reinterpret_cast<const char*>(chunk.data());
    const char* const end = std::find_if(bytes, bytes + got, [](char c) { return c == '\r' || c == '\n'; });
    at += end - bytes;
    if (end != bytes + got) return at + 1;
  }
  return std::nullopt;
}

}  // namespace

ShareLines ReadShareLines(const SourceFile& text, Stretch share, const std::filesystem::path& folder) {
  SourceFile source = text.Reopened();  // a stream of its own: shares are read at once
  ShareLines lines;
  lines.values.emplace(folder);
  RowKeeper keeper(lines);
  std::vector<std::uint32_t> offsets(kPieceSpanBytes);
  std::vector<std::uint32_t> marked(kPieceSpanBytes);
  PieceNumberReader reader(PieceReading::kWholeField);
  const FieldStartsSearch fieldStarts = FastestUnmarkedFieldStarts();
  const FieldStartsSearch markedFieldStarts = FastestFieldStarts();
  FieldSearchState state;  // a share starts where a line does
  std::int64_t windowStart = share.from;  // where state.lastLineEnd is counted from
  ForEachSpan(source, share, [&](const TextSpan& span) {
    state.lastLineEnd -= span.windowStart - windowStart;
    windowStart = span.windowStart;
    FieldSearchState before = state;
    const std::size_t found = fieldStarts(span.text.data(), span.from, span.length, state, offsets.data());
    reader.Read(span.text, std::span<const std::uint32_t>(offsets.data(), found), kMaxNumberText,
                std::span<double>(keeper.Room(found), found));
    const bool valueALine = found != 0 && state.linesStarted - before.linesStarted == static_cast<std::int64_t>(found);
    if (!valueALine || !keeper.TakeOneValueRows(found, windowStart + offsets[found - 1])) {
      // Which fields start lines: searched again, with the marks.
      markedFieldStarts(span.text.data(), span.from, span.length, before, marked.data());
      keeper.Take(std::span<const std::uint32_t>(marked.data(), found), windowStart);
    }
    lines.unread = keeper.GivesUp();
    return !lines.unread;
  });
  if (lines.unread) return lines;
  keeper.Finish();
  const std::int64_t lastLine = share.to - windowStart - state.lastLineEnd - 1;  // a last line without its end
  lines.unread = std::max(state.longestLine, lastLine) > static_cast<std::int64_t>(kMaxLineChars);
  return lines;
}

std::optional<std::vector<Stretch>> SharesOfLines(SourceFile& source, std::int64_t from) {
  const std::int64_t length = source.Length();
  const std::vector<Stretch> even = SplitEvenly(length - from, PartsFor(length - from, kSmallestShareOfLines));
  std::vector<Stretch> shares;
  for (std::size_t k = 1; k < even.size(); ++k) {
    const std::int64_t start = shares.empty() ? from : shares.back().to;
    // The cut goes after the first line end from the byte before the even cut on.
    const auto cut = AfterLineEnd(source, std::max(start, from + even[k].from - 1));
    if (!cut) return std::nullopt;
    shares.push_back({start, *cut});
  }
  shares.push_back({shares.empty() ? from : shares.back().to, length});
  return shares;
}

}  // namespace convora
