#pragma once
// What a preview draws of an ABF file: per channel, per sweep and per pixel
// column the smallest and largest value, in physical units. Read from the file
// in bounded chunks, so that a recording of any length draws in bounded memory
// and time, and a zoomed view reads only its own stretch.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "abf/AbfHeader.h"

namespace convora {

// Up to this many data bytes are read sample by sample; a longer stretch is
// drawn from evenly spread windows of that many bytes in all.
inline constexpr std::int64_t kPreviewFullReadBytes = std::int64_t{64} << 20;
// At most this many columns (over all channels and sweeps) are kept: a file
// of thousands of sweeps draws an evenly spread selection of them.
inline constexpr std::int64_t kPreviewMaxTraceColumns = std::int64_t{1} << 19;

// count x multiplier + offset is the physical value of a count.
struct ChannelCalibration {
  double multiplier = 1;
  double offset = 0;
};

// The stretch of the time axis to read: scans [firstScan, firstScan +
// scanCount) of a gap-free recording, or of each sweep of an episodic one,
// where scan 0 is the sweep's start. Clipped to the axis; a scanCount of 0
// reads on to its end.
struct PreviewRange {
  std::int64_t firstScan = 0;
  std::int64_t scanCount = 0;
  std::int32_t sweep = -1;  // one sweep (from 0) of an episodic file, or -1 for all of them
};

struct PreviewChannel {
  std::string name;  // of its physical channel, blanks trimmed
  std::string unit;  // blanks trimmed
  // Column c of the t-th sweep drawn at t x columns + c.
  std::vector<double> minimum;
  std::vector<double> maximum;
};

struct PreviewEnvelope {
  std::int64_t scans = 0;      // samples per channel on the whole axis: recording or sweep
  std::int64_t firstScan = 0;  // the stretch the columns cover
  std::int64_t scanCount = 0;
  std::int32_t sweepCount = 0;           // sweeps in the file; 0 for a gap-free recording
  std::vector<std::int32_t> sweeps;      // those drawn, from 0; {0} for a gap-free recording
  double secondsPerScan = 0;             // 0 when the header's interval is not a usable time
  bool sampled = false;                  // drawn from windows rather than from every sample
  std::size_t columns = 0;               // never more than scanCount
  std::vector<PreviewChannel> channels;  // in sampling order

  bool Episodic() const { return sweepCount > 0; }
  // The columns of the t-th sweep drawn of `channel`.
  std::span<const double> Minimum(std::size_t channel, std::size_t t) const;
  std::span<const double> Maximum(std::size_t channel, std::size_t t) const;
  // The first scan of column c; ColumnStart(columns) is the stretch's end.
  std::int64_t ColumnStart(std::size_t column) const;
};

// The calibration of the channel sampled at `position` of the sampling
// sequence: count / (fADCProgrammableGain x fInstrumentScaleFactor x
// fSignalGain) x fADCRange / lADCResolution + fSignalOffset + fInstrumentOffset
// of its physical channel. Throws ConvoraError when the header cannot scale it.
ChannelCalibration CalibrationOf(const AbfHeader& header, std::size_t position);

// Reads `range` of `abfFile` into at most `columns` columns. Files in the
// fixed-length sweep modes (2, 4 and 5) are read sweep by sweep on one axis of
// a sweep's length; the others as one run. Throws ConvoraError for a file that
// is not a 16-bit ABF file, whose header does not fit the file, or for a sweep
// it does not hold, and when `stop` is requested before it is done.
PreviewEnvelope ComputePreviewEnvelope(const std::filesystem::path& abfFile, std::size_t columns,
                                       const PreviewRange& range = {},
                                       std::int64_t fullReadBytes = kPreviewFullReadBytes,
                                       std::stop_token stop = {});

}  // namespace convora
