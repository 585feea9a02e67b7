#pragma once
// The headers the table conversions must write, built field by field for the
// byte-for-byte tests of the ASCII converters.

#include <cstdint>
#include <string>
#include <vector>

#include "support/ExpectedAbf.h"

namespace convora::test {

struct ExpectedChannel {
  std::string unit;
  float scale;
};

// The stamped template with the fields every table conversion sets: 10.24 V in
// 32768 counts, one slot per channel and the rest unused.
inline AbfHeader TableHeader(std::int32_t samples, float interval, float seconds,
                             const std::vector<ExpectedChannel>& channels) {
  AbfHeader h = StampedTemplate();
  DescribeRecording(h, samples, interval, seconds);
  h.Set(abf::nADCNumChannels, static_cast<std::int16_t>(channels.size()));
  for (std::size_t k = 0; k < 16; ++k) h.Set(abf::nADCSamplingSeq, k, std::int16_t{-1});
  for (std::size_t k = 0; k < channels.size(); ++k) {
    DescribeChannel(h, k, channels[k].unit, channels[k].scale);
  }
  return h;
}

inline AbfHeader GapFree(AbfHeader h) {
  h.Set(abf::nOperationMode, std::int16_t{3});
  h.Set(abf::lActualEpisodes, 1);
  h.Set(abf::lSynchArrayPtr, 0);
  h.Set(abf::lSynchArraySize, 0);
  return h;
}

// Scale factors of the peaks used in these tests: (10.24 / peak) / 2 as floats.
// With them a value v is stored as v x 32768 x factor / 10.24 - 1, rounded:
//   peak 1: 5.12f = 5.11999988556, so v x 16383.99963 - 1
//   peak 2: 2.56f = 2.55999994278, so v x 8191.99982 - 1
//   peak 4: 1.28f = 1.27999997139, so v x 4095.99991 - 1
inline constexpr float kPeak1 = 5.12f;
inline constexpr float kPeak2 = 2.56f;
inline constexpr float kPeak4 = 1.28f;

}  // namespace convora::test
