#pragma once
// What a preview draws of an ABF file: per channel and per pixel column the
// smallest and largest value, in physical units. Read from the file in bounded
// chunks, so that a recording of any length draws in bounded memory and time.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "abf/AbfHeader.h"

namespace convora {

// Up to this many data bytes are read sample by sample; a longer recording is
// drawn from evenly spread windows of that many bytes in all.
inline constexpr std::int64_t kPreviewFullReadBytes = std::int64_t{64} << 20;

// count x multiplier + offset is the physical value of a count.
struct ChannelCalibration {
  double multiplier = 1;
  double offset = 0;
};

struct PreviewChannel {
  std::string unit;             // blanks trimmed
  std::vector<double> minimum;  // one entry per column
  std::vector<double> maximum;
};

struct PreviewEnvelope {
  std::int64_t scans = 0;                // samples per channel
  double secondsPerScan = 0;             // 0 when the header's interval is not a usable time
  bool sampled = false;                  // drawn from windows rather than from every sample
  std::size_t columns = 0;               // never more than the scans
  std::vector<PreviewChannel> channels;  // in sampling order
};

// The calibration of the channel sampled at `position` of the sampling
// sequence: count / (fADCProgrammableGain x fInstrumentScaleFactor x
// fSignalGain) x fADCRange / lADCResolution + fSignalOffset + fInstrumentOffset
// of its physical channel. Throws ConvoraError when the header cannot scale it.
ChannelCalibration CalibrationOf(const AbfHeader& header, std::size_t position);

// Reads `abfFile` into at most `columns` columns. Throws ConvoraError for a
// file that is not a 16-bit ABF file or whose header does not fit the file.
PreviewEnvelope ComputePreviewEnvelope(const std::filesystem::path& abfFile, std::size_t columns,
                                       std::int64_t fullReadBytes = kPreviewFullReadBytes);

}  // namespace convora
