#pragma once
// The one way the format converters write what they read: a converter
// describes the recording (its channels, timing and sweeps) and hands over a
// reader of its stored values; this step chooses how each channel is stored
// in 16 bits, fills the header and writes the ABF file beside the source.
//
// How values are stored:
// - Whole counts (int8 and int16 sources) are kept as they are, their gain in
//   the channel's fInstrumentScaleFactor and any offset folded into the
//   counts when it is a whole number of counts and they still fit.
// - Everything else is scaled so that the channel's larger extreme magnitude
//   lands at half of full scale (an all-zero channel keeps a factor of 1).
// Every channel shares fADCRange 10 and lADCResolution 32768, and readers get
// back each value to within one count. Amperes are stored as pA and volts as
// mV; units and names are stored in ASCII.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/FileIo.h"
#include "abf/SampleScaling.h"
#include "abf/StartDateTime.h"
#include "workbench/Workbench.h"

namespace convora {

// ABF 1.x has room for this many channels.
inline constexpr std::size_t kMaxAbfChannels = 16;

struct RecordedChannel {
  std::string name;
  std::string unit;
  // value = stored x scale + offset, in `unit`.
  double scale = 1.0;
  double offset = 0.0;
  // The stored values are whole numbers within 16 bits (counts of a
  // converter), and are kept so where they can be.
  bool wholeCounts = false;
};

// A comment at a time, as ABF files keep them.
struct RecordingTag {
  std::int64_t sample;  // where, in samples of the interleaved stream
  std::string comment;
  std::int16_t type = 1;
};

struct Recording {
  // In the source's order. Past the 16 that fit, channels are named in a
  // notice and left out.
  std::vector<RecordedChannel> channels;
  // Microseconds between two samples of one channel.
  double channelIntervalUs = 0.0;
  // One sweep is a gap-free recording; more are episodes of equal length.
  std::int64_t sweeps = 1;
  // Samples of each channel in one sweep.
  std::int64_t scansPerSweep = 0;
  // The episodic mode the source names (2 or 4 for oscilloscope sweeps);
  // otherwise 5 for several sweeps, 3 for one.
  std::optional<std::int16_t> episodicMode;
  // When the recording started, where the source says.
  std::optional<LocalDateTime> start;
  std::vector<RecordingTag> tags;
  // What the source says of the recording, for sFileComment; the template's
  // comment stays where this is empty.
  std::string comment;
};

// Reads a recording's stored values a stretch at a time.
class ScanReader {
 public:
  virtual ~ScanReader() = default;
  // Fills every value of `out` with scans [first, first + out.size() /
  // channels) of `sweep`, one value per channel of the recording (all of
  // them, the ones left out included) in channel order. Throws ConvoraError where the source cannot
  // give them.
  virtual void ReadScans(std::int64_t sweep, std::int64_t first, std::span<double> out) = 0;

  // Whether every channel is stored as 16-bit little-endian counts that
  // ReadCounts can hand over without a detour through doubles: a recording
  // whose counts are all kept as they are is then copied count for count.
  virtual bool ReadsCounts() const { return false; }
  // The same scans as ReadScans, as the stored counts; only where ReadsCounts.
  virtual void ReadCounts(std::int64_t sweep, std::int64_t first, std::span<std::int16_t> out);
  // Where ReadsCounts: copies the first `scans` scans of `sweep` to `out` as
  // bytes if the source holds them exactly as an ABF file stores them (the
  // channels in order, scan after scan); false, with nothing written, if not.
  // The answer is the same for every sweep.
  virtual bool CopySweep(std::int64_t sweep, std::int64_t scans, DataSectionWriter& out);

  // The extremes of a channel's stored values over every sweep, all of them
  // finite, where the reader knows them without reading the values: the pass
  // that finds them is then left out. Nothing (the default) where it does not.
  virtual std::optional<Extremes> KnownExtremes(std::size_t /*channel*/) const { return std::nullopt; }

  // A copy of this reader for another thread, reading the source opened
  // again, so that the stretches of a large recording are read at once;
  // nothing (the default) where reading must stay on one thread.
  virtual std::unique_ptr<ScanReader> ForAnotherThread() const { return nullptr; }

 protected:
  ScanReader() = default;
  // A copy starts without a source of its own: see CopyReading.
  ScanReader(const ScanReader&) {}
  ScanReader& operator=(const ScanReader&) = delete;

  // For ForAnotherThread: a copy of `reader` whose member `source` points to
  // the source opened again, which the copy keeps.
  template <typename Reader>
  static std::unique_ptr<ScanReader> CopyReading(const Reader& reader, SourceFile* Reader::*source) {
    auto copy = std::make_unique<Reader>(reader);
    copy->reopened_ = std::make_unique<SourceFile>((reader.*source)->Reopened());
    (*copy).*source = copy->reopened_.get();
    return copy;
  }

 private:
  std::unique_ptr<SourceFile> reopened_;
};

// Writes `recording` to the selected file's output (bench.OutputPathFor:
// the source path up to its first "." plus `ending`) through the output
// procedure, reading the values twice (extremes, then counts) or, where the
// reader knows the extremes, once. Throws
// ConvoraError, with nothing written, for a recording that ABF 1.x cannot
// hold or whose values cannot be stored.
std::filesystem::path WriteRecording(Workbench& bench, const Recording& recording,
                                     ScanReader& reader, std::string_view ending = ".ABF");

}  // namespace convora
