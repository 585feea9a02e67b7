#pragma once
// What a person wants to know about an ABF file at a glance.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "abf/AbfHeader.h"

namespace convora {

struct AbfSummary {
  float version = 0;               // fFileVersionNumber (2.x for an ABF 2 file)
  int channels = 0;
  std::vector<std::string> units;  // per channel in sampling order, blanks trimmed
  std::vector<std::string> names;  // sADCChannelName, the same way
  float sampleInterval = 0;        // microseconds between samples of the interleaved stream
  double channelInterval = 0;      // microseconds between samples of one channel
  std::int32_t samples = 0;        // all channels together
  std::int64_t durationUs = 0;     // samples of one channel x its interval, to the microsecond
  std::int32_t sweeps = 1;         // episodes; 1 for a gap-free recording
  std::int32_t sweepSamples = 0;   // samples of one channel in a sweep (episodic files)
  std::string start;               // "YYYY-MM-DD HH:MM:SS" as the header records it
  std::int32_t dataBlock = 0;
  std::int64_t dataByte = 0;
  std::int16_t operationMode = 0;
  std::string_view operationModeName;
};

AbfSummary Summarize(const AbfHeader& header);

std::string_view OperationModeName(std::int16_t mode);

// The start as the two date and time fields give it: YYYYMMDD (or the two-digit
// year YYMMDD that stamps of this program have always written) and seconds
// since midnight.
std::string StartText(std::int32_t date, std::int64_t seconds);

// Microseconds as seconds, with no more digits than they need ("0.00225").
std::string SecondsText(std::int64_t microseconds);

}  // namespace convora
