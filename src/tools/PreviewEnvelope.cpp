#include "tools/PreviewEnvelope.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>

#include "abf/AbfSummary.h"
#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/LittleEndian.h"
#include "tools/ToolSteps.h"

namespace convora {
namespace {

constexpr std::int64_t kChunkScans = 4096;

struct Layout {
  int channels = 0;
  std::int64_t dataStart = 0;
  std::int64_t scans = 0;       // in the whole file
  std::int64_t sweepScans = 0;  // the time axis: one sweep, or the whole file
  std::int32_t sweepCount = 0;  // 0 when the file is one run
};

// Modes 2, 4 and 5 record sweeps of lNumSamplesPerEpisode samples, one after
// another; mode 1's sweeps differ in length and are drawn joined, like gap-free.
bool HasFixedSweeps(std::int16_t mode) { return mode == 2 || mode == 4 || mode == 5; }

// Checks every header value the preview relies on against the file.
Layout LayoutOf(const AbfHeader& header, std::int64_t fileLength) {
  if (!IsAbfFile(header)) throw ConvoraError("this is not an ABF file");
  if (header.Get(abf::nDataFormat) != 0) {
    throw ConvoraError("the samples are not 16-bit integers; the preview shows only those");
  }
  Layout layout;
  layout.channels = static_cast<int>(ChannelCountOf(header));
  const SampleSection samples = LocateSamples(header, fileLength);
  layout.dataStart = samples.offset;
  // A trailing partial scan has no place on a time axis.
  layout.scans = samples.count / layout.channels;
  layout.sweepScans = layout.scans;
  if (!HasFixedSweeps(header.Get(abf::nOperationMode))) return layout;

  const std::int32_t perSweep = header.Get(abf::lNumSamplesPerEpisode);
  if (perSweep <= 0 || perSweep % layout.channels != 0) {
    throw ConvoraError("lNumSamplesPerEpisode (" + std::to_string(perSweep) +
                       ") is not a whole number of scans of " + std::to_string(layout.channels) +
                       " channels");
  }
  layout.sweepScans = perSweep / layout.channels;
  // An acquisition stopped early leaves fewer sweeps than lActualEpisodes,
  // and its last one cut short; only whole sweeps are drawn.
  std::int64_t sweeps = layout.scans / layout.sweepScans;
  const std::int32_t recorded = header.Get(abf::lActualEpisodes);
  if (recorded > 0) sweeps = std::min<std::int64_t>(sweeps, recorded);
  if (sweeps == 0) throw ConvoraError("the file holds no whole sweep");
  layout.sweepCount = static_cast<std::int32_t>(sweeps);
  return layout;
}

// Folds the raw counts of a stretch of `count` scans from `first` into the
// columns of `envelope`; Read takes scans relative to the stretch.
class ColumnFolder {
 public:
  ColumnFolder(const Layout& layout, const PreviewEnvelope& envelope)
      : layout_(layout),
        envelope_(envelope),
        size_(envelope.columns * static_cast<std::size_t>(layout.channels)) {}

  // Starts over on the stretch of sweep `sweep` (0 for a file of one run).
  void Start(std::int32_t sweep) {
    stretchStart_ = std::int64_t{sweep} * layout_.sweepScans + envelope_.firstScan;
    low_.assign(size_, std::numeric_limits<std::int16_t>::max());
    high_.assign(size_, std::numeric_limits<std::int16_t>::min());
  }

  void Read(SourceFile& source, std::int64_t first, std::int64_t count, std::stop_token stop) {
    const auto scanBytes = static_cast<std::int64_t>(layout_.channels) * 2;
    while (count > 0) {
      if (stop.stop_requested()) throw ConvoraError("the preview was stopped");
      const std::int64_t scans = std::min(count, kChunkScans);
      buffer_.resize(static_cast<std::size_t>(scans * scanBytes));
      source.ReadPadded(layout_.dataStart + (stretchStart_ + first) * scanBytes, buffer_);
      Fold(first, scans);
      first += scans;
      count -= scans;
    }
  }

  std::int16_t Low(std::size_t column, int channel) const { return low_[Index(column, channel)]; }
  std::int16_t High(std::size_t column, int channel) const { return high_[Index(column, channel)]; }

 private:
  std::size_t Index(std::size_t column, int channel) const {
    return column * static_cast<std::size_t>(layout_.channels) + static_cast<std::size_t>(channel);
  }

  std::int64_t ColumnStart(std::size_t column) const {
    return envelope_.ColumnStart(column) - envelope_.firstScan;
  }

  void Fold(std::int64_t first, std::int64_t scans) {
    // floor(first x columns / count) lies at most a step below the column
    // that holds `first`.
    const auto columns = static_cast<std::int64_t>(envelope_.columns);
    auto column = static_cast<std::size_t>(first * columns / envelope_.scanCount);
    while (column + 1 < envelope_.columns && ColumnStart(column + 1) <= first) ++column;
    std::int64_t columnEnd = ColumnStart(column + 1);
    const std::uint8_t* bytes = buffer_.data();
    for (std::int64_t scan = first; scan < first + scans; ++scan) {
      while (scan >= columnEnd) columnEnd = ColumnStart(++column + 1);
      for (int k = 0; k < layout_.channels; ++k, bytes += 2) {
        const auto count = LoadLittleEndian<std::int16_t>(bytes);
        const std::size_t at = Index(column, k);
        low_[at] = std::min(low_[at], count);
        high_[at] = std::max(high_[at], count);
      }
    }
  }

  const Layout& layout_;
  const PreviewEnvelope& envelope_;
  std::size_t size_;
  std::int64_t stretchStart_ = 0;  // scans from the start of the data
  std::vector<std::int16_t> low_;
  std::vector<std::int16_t> high_;
  std::vector<std::uint8_t> buffer_;
};

// The sweeps to draw: the one asked for, or all of them, thinned evenly when
// their columns would exceed the budget.
std::vector<std::int32_t> SweepsToDraw(const Layout& layout, const PreviewRange& range,
                                       std::size_t columns) {
  if (layout.sweepCount == 0) return {0};
  if (range.sweep >= 0) {
    if (range.sweep >= layout.sweepCount) {
      throw ConvoraError("there is no sweep " + std::to_string(range.sweep + 1) + " of " +
                         std::to_string(layout.sweepCount));
    }
    return {range.sweep};
  }
  const auto perSweep =
      std::max<std::int64_t>(1, static_cast<std::int64_t>(columns) * layout.channels);
  const std::int64_t drawn =
      std::clamp<std::int64_t>(kPreviewMaxTraceColumns / perSweep, 1, layout.sweepCount);
  std::vector<std::int32_t> sweeps;
  for (std::int64_t i = 0; i < drawn; ++i) {
    sweeps.push_back(static_cast<std::int32_t>(i * layout.sweepCount / drawn));
  }
  return sweeps;
}

}  // namespace

std::span<const double> PreviewEnvelope::Minimum(std::size_t channel, std::size_t t) const {
  return std::span(channels.at(channel).minimum).subspan(t * columns, columns);
}

std::span<const double> PreviewEnvelope::Maximum(std::size_t channel, std::size_t t) const {
  return std::span(channels.at(channel).maximum).subspan(t * columns, columns);
}

std::int64_t PreviewEnvelope::ColumnStart(std::size_t column) const {
  return firstScan +
         static_cast<std::int64_t>(column) * scanCount / static_cast<std::int64_t>(columns);
}

ChannelCalibration CalibrationOf(const AbfHeader& header, std::size_t position) {
  const std::size_t s = PhysicalChannelAt(header, position);
  const double gain = double{header.Get(abf::fADCProgrammableGain, s)} *
                      header.Get(abf::fInstrumentScaleFactor, s) * header.Get(abf::fSignalGain, s);
  const double range = header.Get(abf::fADCRange);
  const double resolution = header.Get(abf::lADCResolution);
  ChannelCalibration calibration;
  calibration.multiplier = 1.0 / gain * range / resolution;
  calibration.offset =
      double{header.Get(abf::fSignalOffset, s)} + header.Get(abf::fInstrumentOffset, s);
  if (calibration.multiplier == 0 || !std::isfinite(calibration.multiplier) ||
      !std::isfinite(calibration.offset)) {
    throw ConvoraError("channel " + std::to_string(position + 1) +
                       " cannot be scaled: its gain, range or resolution is zero or not a "
                       "number");
  }
  return calibration;
}

PreviewEnvelope ComputePreviewEnvelope(const std::filesystem::path& abfFile, std::size_t columns,
                                       const PreviewRange& range, std::int64_t fullReadBytes,
                                       std::stop_token stop) {
  SourceFile source(abfFile);
  AbfHeader::Image image{};
  source.ReadPadded(0, image);
  const AbfHeader header(image);
  const Layout layout = LayoutOf(header, source.Length());

  PreviewEnvelope envelope;
  envelope.scans = layout.sweepScans;
  envelope.sweepCount = layout.sweepCount;
  envelope.firstScan = std::clamp<std::int64_t>(range.firstScan, 0, layout.sweepScans);
  const std::int64_t rest = layout.sweepScans - envelope.firstScan;
  envelope.scanCount = range.scanCount > 0 ? std::min(range.scanCount, rest) : rest;
  const double interval = header.Get(abf::fADCSampleInterval);
  if (std::isfinite(interval) && interval > 0) {
    envelope.secondsPerScan = interval * layout.channels / 1e6;
  }
  envelope.columns = static_cast<std::size_t>(
      std::min<std::int64_t>(static_cast<std::int64_t>(columns), envelope.scanCount));
  envelope.sweeps = SweepsToDraw(layout, range, envelope.columns);
  const AbfSummary summary = Summarize(header);
  std::vector<ChannelCalibration> calibrations;
  for (int k = 0; k < layout.channels; ++k) {
    const auto at = static_cast<std::size_t>(k);
    calibrations.push_back(CalibrationOf(header, at));
    envelope.channels.push_back({summary.names[at], summary.units[at], {}, {}});
    envelope.channels.back().minimum.reserve(envelope.columns * envelope.sweeps.size());
    envelope.channels.back().maximum.reserve(envelope.columns * envelope.sweeps.size());
  }
  if (envelope.columns == 0) return envelope;

  const std::int64_t scanBytes = std::int64_t{layout.channels} * 2;
  const auto sweepsDrawn = static_cast<std::int64_t>(envelope.sweeps.size());
  envelope.sampled = envelope.scanCount * scanBytes * sweepsDrawn > fullReadBytes;
  // One window at the start of every column; each column is at least one
  // scan long, so every column gets a value.
  const std::int64_t window = std::max<std::int64_t>(
      1, fullReadBytes / scanBytes / static_cast<std::int64_t>(envelope.columns) / sweepsDrawn);
  ColumnFolder folder(layout, envelope);
  for (const std::int32_t sweep : envelope.sweeps) {
    folder.Start(sweep);
    if (!envelope.sampled) {
      folder.Read(source, 0, envelope.scanCount, stop);
    } else {
      for (std::size_t c = 0; c < envelope.columns; ++c) {
        const std::int64_t start = envelope.ColumnStart(c) - envelope.firstScan;
        const std::int64_t end = envelope.ColumnStart(c + 1) - envelope.firstScan;
        folder.Read(source, start, std::min(window, end - start), stop);
      }
    }
    for (int k = 0; k < layout.channels; ++k) {
      const ChannelCalibration& cal = calibrations[static_cast<std::size_t>(k)];
      PreviewChannel& channel = envelope.channels[static_cast<std::size_t>(k)];
      for (std::size_t c = 0; c < envelope.columns; ++c) {
        // A negative gain turns the smallest count into the largest value.
        const double a = folder.Low(c, k) * cal.multiplier + cal.offset;
        const double b = folder.High(c, k) * cal.multiplier + cal.offset;
        channel.minimum.push_back(std::min(a, b));
        channel.maximum.push_back(std::max(a, b));
      }
    }
  }
  return envelope;
}

}  // namespace convora
