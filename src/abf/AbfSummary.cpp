#include "abf/AbfSummary.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace convora {
namespace {

// Units are blank-padded; a source that stored none leaves zero bytes.
std::string TrimBlanks(std::string text) {
  const auto end = text.find_last_not_of(std::string_view(" \0", 2));
  text.erase(end == std::string::npos ? 0 : end + 1);
  return text;
}

}  // namespace

std::string_view OperationModeName(std::int16_t mode) {
  switch (mode) {
    case 1: return "event-driven, variable length";
    case 2: return "oscilloscope, loss free";
    case 3: return "gap-free";
    case 4: return "oscilloscope, high speed";
    case 5: return "episodic stimulation";
    default: return "unknown";
  }
}

std::string StartText(std::int32_t date, std::int64_t seconds) {
  int year = date / 10000;
  if (date < 1000000) year += 2000;  // a two-digit year
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02lld:%02lld:%02lld", year, date / 100 % 100,
                date % 100, static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
  return text;
}

std::string SecondsText(std::int64_t microseconds) {
  const bool negative = microseconds < 0;
  const auto magnitude = static_cast<unsigned long long>(negative ? -microseconds : microseconds);
  char text[48];
  std::snprintf(text, sizeof text, "%s%llu.%06llu", negative ? "-" : "", magnitude / 1000000,
                magnitude % 1000000);
  std::string seconds = text;
  seconds.erase(seconds.find_last_not_of('0') + 1);
  if (seconds.back() == '.') seconds.pop_back();
  return seconds;
}

AbfSummary Summarize(const AbfHeader& header) {
  AbfSummary s;
  s.version = header.Get(abf::fFileVersionNumber);
  s.channels = header.Get(abf::nADCNumChannels);
  const int listed = std::clamp(s.channels, 0, static_cast<int>(abf::nADCSamplingSeq.count));
  for (int k = 0; k < listed; ++k) {
    // Units are kept per physical channel, the one sampled in slot k.
    const int physical = header.Get(abf::nADCSamplingSeq, static_cast<std::size_t>(k));
    const bool known = physical >= 0 && physical < static_cast<int>(abf::sADCUnits.count);
    const auto at = static_cast<std::size_t>(physical);
    s.units.push_back(known ? TrimBlanks(header.Get(abf::sADCUnits, at)) : std::string("?"));
    s.names.push_back(known ? TrimBlanks(header.Get(abf::sADCChannelName, at)) : std::string("?"));
  }
  s.sampleInterval = header.Get(abf::fADCSampleInterval);
  s.samples = header.Get(abf::lActualAcqLength);
  const int perScan = std::max(s.channels, 1);
  s.channelInterval = static_cast<double>(s.sampleInterval) * perScan;
  const double duration = static_cast<double>(s.samples / perScan) * s.channelInterval;
  s.durationUs = std::fabs(duration) < 9e18 ? std::llround(duration) : 0;
  s.operationMode = header.Get(abf::nOperationMode);
  s.operationModeName = OperationModeName(s.operationMode);
  if (s.operationMode != 3) {
    s.sweeps = header.Get(abf::lActualEpisodes);
    s.sweepSamples = header.Get(abf::lNumSamplesPerEpisode) / perScan;
  }
  s.start = StartText(header.Get(abf::lFileStartDate), header.Get(abf::lFileStartTime));
  s.dataBlock = header.Get(abf::lDataSectionPtr);
  s.dataByte = std::int64_t{s.dataBlock} * ABF_BLOCK_BYTES;
  return s;
}

}  // namespace convora
