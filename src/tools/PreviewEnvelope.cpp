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
  std::int64_t scans = 0;
};

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
  return layout;
}

// Folds the raw counts of scans [first, first + count) into the columns,
// column c covering scans [c x scans / columns, (c + 1) x scans / columns).
class ColumnFolder {
 public:
  ColumnFolder(const Layout& layout, std::size_t columns)
      : layout_(layout), columns_(columns),
        low_(columns * layout.channels, std::numeric_limits<std::int16_t>::max()),
        high_(columns * layout.channels, std::numeric_limits<std::int16_t>::min()) {}

  std::int64_t ColumnStart(std::size_t column) const {
    return static_cast<std::int64_t>(column) * layout_.scans / static_cast<std::int64_t>(columns_);
  }

  void Read(SourceFile& source, std::int64_t first, std::int64_t count) {
    const auto scanBytes = static_cast<std::int64_t>(layout_.channels) * 2;
    while (count > 0) {
      const std::int64_t scans = std::min(count, kChunkScans);
      buffer_.resize(static_cast<std::size_t>(scans * scanBytes));
      source.ReadPadded(layout_.dataStart + first * scanBytes, buffer_);
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

  void Fold(std::int64_t first, std::int64_t scans) {
    // floor(first x columns / scans) lies at most a step below the column
    // that holds `first`.
    auto column =
        static_cast<std::size_t>(first * static_cast<std::int64_t>(columns_) / layout_.scans);
    while (column + 1 < columns_ && ColumnStart(column + 1) <= first) ++column;
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
  std::size_t columns_;
  std::vector<std::int16_t> low_;
  std::vector<std::int16_t> high_;
  std::vector<std::uint8_t> buffer_;
};

}  // namespace

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
                                       std::int64_t fullReadBytes) {
  SourceFile source(abfFile);
  AbfHeader::Image image{};
  source.ReadPadded(0, image);
  const AbfHeader header(image);
  const Layout layout = LayoutOf(header, source.Length());

  PreviewEnvelope envelope;
  envelope.scans = layout.scans;
  const double interval = header.Get(abf::fADCSampleInterval);
  if (std::isfinite(interval) && interval > 0) {
    envelope.secondsPerScan = interval * layout.channels / 1e6;
  }
  const AbfSummary summary = Summarize(header);
  std::vector<ChannelCalibration> calibrations;
  for (int k = 0; k < layout.channels; ++k) {
    calibrations.push_back(CalibrationOf(header, static_cast<std::size_t>(k)));
    envelope.channels.push_back({summary.units[static_cast<std::size_t>(k)], {}, {}});
  }
  envelope.columns = static_cast<std::size_t>(
      std::min<std::int64_t>(static_cast<std::int64_t>(columns), layout.scans));
  if (envelope.columns == 0) return envelope;

  ColumnFolder folder(layout, envelope.columns);
  const std::int64_t scanBytes = std::int64_t{layout.channels} * 2;
  if (layout.scans * scanBytes <= fullReadBytes) {
    folder.Read(source, 0, layout.scans);
  } else {
    // One window at the start of every column; each column is at least one
    // scan long, so every column gets a value.
    envelope.sampled = true;
    const std::int64_t window = std::max<std::int64_t>(
        1, fullReadBytes / scanBytes / static_cast<std::int64_t>(envelope.columns));
    for (std::size_t c = 0; c < envelope.columns; ++c) {
      const std::int64_t start = folder.ColumnStart(c);
      folder.Read(source, start, std::min(window, folder.ColumnStart(c + 1) - start));
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
  return envelope;
}

}  // namespace convora
