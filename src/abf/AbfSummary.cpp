#include "abf/AbfSummary.h"

#include <algorithm>

namespace convora {
namespace {

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

// Units are blank-padded; a source that stored none leaves zero bytes.
std::string TrimBlanks(std::string text) {
  const auto end = text.find_last_not_of(std::string_view(" \0", 2));
  text.erase(end == std::string::npos ? 0 : end + 1);
  return text;
}

}  // namespace

AbfSummary Summarize(const AbfHeader& header) {
  AbfSummary s;
  s.channels = header.Get(abf::nADCNumChannels);
  const int listed = std::clamp(s.channels, 0, static_cast<int>(abf::nADCSamplingSeq.count));
  for (int k = 0; k < listed; ++k) {
    // Units are kept per physical channel, the one sampled in slot k.
    const int physical = header.Get(abf::nADCSamplingSeq, static_cast<std::size_t>(k));
    const bool known = physical >= 0 && physical < static_cast<int>(abf::sADCUnits.count);
    s.units.push_back(known ? TrimBlanks(header.Get(abf::sADCUnits, static_cast<std::size_t>(physical)))
                            : std::string("?"));
  }
  s.sampleInterval = header.Get(abf::fADCSampleInterval);
  s.samples = header.Get(abf::lActualAcqLength);
  s.durationSeconds = static_cast<double>(s.samples) * s.sampleInterval / 1e6;
  s.dataBlock = header.Get(abf::lDataSectionPtr);
  s.dataByte = std::int64_t{s.dataBlock} * ABF_BLOCK_BYTES;
  s.operationMode = header.Get(abf::nOperationMode);
  s.operationModeName = OperationModeName(s.operationMode);
  return s;
}

}  // namespace convora
