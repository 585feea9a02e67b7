#include "ascii/PtiAscii.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "unit/ascii/AsciiExpected.h"

namespace convora::test {
namespace {

// A ratio trace (1, 0.5, -0.25: peak 1) and two intensities (2, 1, -1: peak
// 2; 4, -2, 3: peak 4), each with its own time column, rows 0.5 s apart.
const std::string kExport =
    "PTI export of cell 3\r\n"
    "\r\n"
    "Time\tRatio 340/380\tTime\tD1 340 nm\tTime\tD2 380 nm\r\n"
    "0.5\t1\t0.5\t2\t0.52\t4\r\n"
    "1.0\t0.5\t1.0\t1\t1.02\t-2\r\n"
    "1.5\t-0.25\t1.5\t-1\t1.52\t3\r\n";

// Ratio: 1 -> 16383, 0.5 -> 8190.99982 -> 8191, -0.25 -> -4096.99991 -> -4097.
const std::vector<std::int16_t> kRatio{16383, 8191, -4097};
// Intensities: 2 -> 16383, 1 -> 8191, -1 -> -8193; 4 -> 16383, -2 -> -8193, 3 -> 12287.
const std::vector<std::int16_t> kD1{16383, 8191, -8193};
const std::vector<std::int16_t> kD2{16383, -8193, 12287};

struct Selection {
  const char* name;
  PtiTraces traces;
  std::vector<std::vector<std::int16_t>> channels;
  std::vector<float> scales;
};

class PtiSelections : public testing::TestWithParam<Selection> {};

TEST_P(PtiSelections, ChosenTracesBecomeInterleavedChannels) {
  const Selection& s = GetParam();
  BenchFixture f;
  f.Select("ratio.txt", TextBytes(kExport));
  ConvertPtiAscii(f.bench, s.traces);
  std::vector<ExpectedChannel> channels;
  for (const float scale : s.scales) channels.push_back({"", scale});
  std::vector<std::int16_t> samples;
  for (std::size_t row = 0; row < 3; ++row) {
    for (const auto& channel : s.channels) samples.push_back(channel[row]);
  }
  // 500000 us a row (mean of the first time column) over the channel count.
  const auto n = static_cast<double>(s.channels.size());
  const AbfHeader h = GapFree(TableHeader(static_cast<std::int32_t>(3 * n),
                                          static_cast<float>(500000.0 / n), 1.5f, channels));
  EXPECT_EQ(ReadFile(f.dir / "ratio.ABF"), AbfImage(h, samples));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Traces, PtiSelections, testing::Values(
    Selection{"all", PtiTraces::All, {kRatio, kD1, kD2}, {kPeak1, kPeak2, kPeak4}},
    Selection{"ratio", PtiTraces::Ratio, {kRatio}, {kPeak1}},
    Selection{"intensity", PtiTraces::Intensity, {kD1, kD2}, {kPeak2, kPeak4}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

TEST(PtiAscii, RefusesAnOddColumnCountAndAMissingRatio) {
  BenchFixture f;
  const auto all = [](Workbench& b) { ConvertPtiAscii(b, PtiTraces::All); };
  ExpectErrors(f, all, "bad.txt",
               {{TextBytes("t\tv\tt\n0\t1\t0\n"), "line 2: a PTI export holds tab-separated pairs"},
                {TextBytes("0,1\n"), "no line starts with a number and a tab"}});
  ExpectError(f, [](Workbench& b) { ConvertPtiAscii(b, PtiTraces::Ratio); }, "d.txt",
              TextBytes("Time\tD1\n0\t1\n1\t2\n"), "no ratio trace");
}

}  // namespace
}  // namespace convora::test
