#pragma once
// What a person wants to know about an ABF file at a glance.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "abf/AbfHeader.h"

namespace convora {

struct AbfSummary {
  int channels = 0;
  std::vector<std::string> units;  // per channel in sampling order, blanks trimmed
  float sampleInterval = 0;        // microseconds between samples of the interleaved stream
  std::int32_t samples = 0;        // all channels together
  double durationSeconds = 0;
  std::int32_t dataBlock = 0;
  std::int64_t dataByte = 0;
  std::int16_t operationMode = 0;
  std::string_view operationModeName;
};

AbfSummary Summarize(const AbfHeader& header);

}  // namespace convora
