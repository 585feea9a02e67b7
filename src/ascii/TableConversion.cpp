#include "ascii/TableConversion.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/ConvoraError.h"
#include "abf/LittleEndian.h"
#include "abf/Numbers.h"
#include "abf/SampleScaling.h"
#include "abf/SweepLayout.h"
#include "ascii/TextTable.h"

namespace convora {
namespace {

constexpr std::size_t kSamplesPerWrite = 1 << 15;
constexpr std::size_t kMaxChannels = 16;

using RowVisit = std::function<void(std::int64_t, const std::vector<std::string_view>&)>;

// Calls `visit` with the fields of every row: the lines from the first data
// line on that are not blank.
std::int64_t ForEachRow(SourceFile& source, const TableLayout& layout, const RowVisit& visit) {
  std::vector<std::string_view> fields;
  std::int64_t rows = 0;
  ForEachLine(source, [&](std::int64_t line, std::string_view text) {
    if (line < layout.firstDataLine || IsBlank(text)) return true;
    layout.split(text, fields);
    visit(line, fields);
    ++rows;
    return true;
  });
  return rows;
}

// The number in 0-based `column` of a row, times `factor`.
double ValueAt(const std::vector<std::string_view>& fields, std::size_t column, double factor,
               std::int64_t line) {
  const std::string where = "column " + std::to_string(column + 1);
  if (column >= fields.size()) {
    FailAtLine(line, where + " is missing (the line has " + std::to_string(fields.size()) +
                         (fields.size() == 1 ? " column)" : " columns)"));
  }
  const auto number = FieldNumber(fields[column]);
  if (!number) {
    FailAtLine(line, where + ": \"" + std::string(Unquoted(fields[column])) +
                         "\" is not a number");
  }
  const double value = *number * factor;
  if (!std::isfinite(value)) FailAtLine(line, where + ": the value is too large");
  return value;
}

struct TableScan {
  std::int64_t rows = 0;
  std::vector<std::optional<Extremes>> extremes;  // one per channel, over every sweep
  double firstTime = 0.0;
  double lastTime = 0.0;
};

TableScan ScanTable(SourceFile& source, const TableLayout& layout) {
  TableScan scan;
  scan.extremes.resize(layout.channels.size());
  scan.rows = ForEachRow(source, layout, [&](std::int64_t line, const auto& fields) {
    if (layout.timeColumn) {
      const double time = ValueAt(fields, *layout.timeColumn, 1.0, line);
      if (scan.rows == 0) scan.firstTime = time;
      scan.lastTime = time;
    }
    for (std::size_t c = 0; c < layout.channels.size(); ++c) {
      const TableChannel& channel = layout.channels[c];
      for (const std::size_t column : channel.columns) {
        const double value = ValueAt(fields, column, channel.factor, line);
        if (scan.extremes[c]) {
          scan.extremes[c]->Add(value);
        } else {
          scan.extremes[c].emplace(value);
        }
      }
    }
    ++scan.rows;
  });
  return scan;
}

double IntervalBetweenRows(const TableLayout& layout, const TableScan& scan) {
  if (!layout.timeColumn) return layout.rowInterval();
  if (scan.rows < 2) {
    throw ConvoraError("a single data row gives no sample interval from the time column");
  }
  // The mean step, so that times printed with few digits still give the true rate.
  const double interval = (scan.lastTime - scan.firstTime) / static_cast<double>(scan.rows - 1) *
                          layout.microsecondsPerTimeUnit;
  if (!(interval > 0.0) || !std::isfinite(interval)) {
    throw ConvoraError("the time column does not increase, so it gives no sample interval");
  }
  return interval;
}

// The channel's scale factor: its peak magnitude at half of full scale. A
// channel of zeros only is scaled as if its peak were 1.
float PeakScaleFactor(const Extremes& extremes, std::size_t channel) {
  const double low = extremes.MinimumMagnitude();
  const double high = extremes.MaximumMagnitude();
  const double peak = low > high ? low : high;
  const auto factor = HalfScaleFactor(peak > 0.0 ? peak : 1.0);
  // A factor that underflows to zero or a denormal could not be read back.
  if (!factor || !std::isnormal(*factor)) {
    throw ConvoraError("the values of channel " + std::to_string(channel + 1) +
                       " are too large or too small to give a scale factor");
  }
  return *factor;
}

void Write(DataSectionWriter& out, std::vector<std::int16_t>& counts) {
  out.WriteSamples(counts);
  counts.clear();
}

}  // namespace

void ConvertTable(Workbench& bench, SourceFile& source, const TableLayout& layout) {
  const std::size_t channels = layout.channels.size();
  if (channels == 0) throw ConvoraError("no column was chosen to convert");
  if (channels > kMaxChannels) {
    throw ConvoraError(std::to_string(channels) + " channels: an ABF 1.x file holds at most " +
                       std::to_string(kMaxChannels));
  }
  const std::size_t sweeps = layout.channels.front().columns.size();
  for (const TableChannel& channel : layout.channels) {
    if (channel.columns.size() != sweeps || sweeps == 0) {
      throw ConvoraError("every channel needs one column in every sweep");
    }
  }

  bench.Prompt().SetBusy(true);
  const TableScan scan = ScanTable(source, layout);
  if (scan.rows == 0) throw ConvoraError("the table holds no data rows");
  const double total = static_cast<double>(scan.rows) * static_cast<double>(channels * sweeps);
  if (total > std::numeric_limits<std::int32_t>::max()) {
    throw ConvoraError("the table holds more values than an ABF 1.x file can count (lActualAcqLength)");
  }
  const auto samples = static_cast<std::int32_t>(total);
  const auto perSweep = static_cast<std::int32_t>(scan.rows * static_cast<std::int64_t>(channels));
  const auto interval = NarrowToSingle(IntervalBetweenRows(layout, scan) / channels);
  if (!interval) throw ConvoraError("the sample interval is too large for fADCSampleInterval");

  AbfHeader h = StampedTemplate(bench);
  h.Set(abf::lActualAcqLength, samples);
  h.Set(abf::fADCSampleInterval, *interval);
  const auto seconds = SecondsPerRunOf(h);
  if (!seconds) throw ConvoraError("the recording is too long for fSecondsPerRun");
  h.Set(abf::fSecondsPerRun, *seconds);
  h.Set(abf::fADCRange, 10.24f);
  h.Set(abf::lADCResolution, 32768);
  h.Set(abf::nADCNumChannels, static_cast<std::int16_t>(channels));
  // Slots beyond the channels are marked unused, or readers would look for
  // channels an earlier conversion left in the sampling sequence.
  for (std::size_t k = channels; k < abf::nADCSamplingSeq.count; ++k) {
    h.Set(abf::nADCSamplingSeq, k, std::int16_t{-1});
  }
  std::vector<CountScaler> toCount;
  for (std::size_t c = 0; c < channels; ++c) {
    SetChannelFields(h, c, layout.channels[c].unit, PeakScaleFactor(*scan.extremes[c], c));
    toCount.emplace_back(h, c);
    RequireCountsFit(toCount.back(), *scan.extremes[c]);
  }

  const SweepLayout sweepLayout(h, static_cast<std::int32_t>(sweeps), perSweep);

  WriteAbfOutput(bench, h, [&](DataSectionWriter& out) {
    std::vector<std::int16_t> counts;
    counts.reserve(kSamplesPerWrite + channels);
    for (std::size_t s = 0; s < sweeps; ++s) {
      std::int64_t row = 0;
      const auto writeRow = [&](std::int64_t line, const std::vector<std::string_view>& fields) {
        // A row more than the first pass found would go beyond the header's length.
        if (++row > scan.rows) throw SourceChangedError();
        for (std::size_t c = 0; c < channels; ++c) {
          const TableChannel& channel = layout.channels[c];
          const auto count = toCount[c](ValueAt(fields, channel.columns[s], channel.factor, line));
          if (!count) throw SourceChangedError();
          counts.push_back(*count);
        }
        if (counts.size() >= kSamplesPerWrite) Write(out, counts);
      };
      const std::int64_t rows = ForEachRow(source, layout, writeRow);
      if (rows != scan.rows) throw SourceChangedError();
    }
    Write(out, counts);
    sweepLayout.WriteAfterSamples(out);
  });
  // The sweep layout belongs to this output only: a later conversion of the
  // run that does not set these fields must not point into a synch array its
  // file does not have.
  MarkGapFree(bench.TemplateHeader);
}

}  // namespace convora
