#include "ascii/DataqAscii.h"

#include <gtest/gtest.h>

#include <string>

#include "unit/ascii/AsciiExpected.h"

namespace convora::test {
namespace {

// CH1 in volts (1, 2, -2 mV: peak 2) and CH2 in mV (4, -2, 1: peak 4):
// 1 -> 8191, 2 -> 16383, -2 -> -16385; 4 -> 16383, -2 -> -8193, 1 -> 4095.
// 5000 us a row (200 Hz), 2500 between interleaved samples; 6 x 2500 / 1e6 s.
Bytes Expected() {
  const AbfHeader h =
      GapFree(TableHeader(6, 2500.0f, 0.015f, {{"mV", kPeak2}, {"mV", kPeak4}}));
  return AbfImage(h, {8191, 16383, 16383, -8193, -16385, 4095});
}

const std::string kRows = "0,0.001,4\n0.005,0.002,-2\n0.01,-0.002,1\n";

TEST(DataqAscii, TimeColumnIsNoChannelAndVoltsBecomeMillivolts) {
  for (const std::string& text : {
           // The rate line decides; the printed times are not read.
           "\"C:\\\\data\\\\run.wdq\"\n\"Sample rate: 200.000 Hz\"\n"
           "\"Relative Time (s)\",\"CH1 (Volts)\",\"CH2 (mV)\"\n" + kRows,
           // Without one, the time column gives the interval: (0.01 - 0) / 2 s.
           "Time,CH1 (V),CH2 (mV)\n" + kRows}) {
    BenchFixture f;
    EXPECT_EQ(Converted(f, ConvertDataqAscii, "run.csv", TextBytes(text)), Expected()) << text;
    EXPECT_TRUE(f.prompter.Transcript().empty());
  }
}

TEST(DataqAscii, WithoutRateOrTitlesEveryColumnIsAChannelAndTheIntervalIsAsked) {
  BenchFixture f;
  f.prompter.AnswerInput("interval", "100");
  // Volts as mV: 1000, 2000 (peak 2000) and -2000, 4000 (peak 4000). Only
  // value / peak matters, to within the float rounding of the factors (a few
  // 1e-8 relative, far below half a count): 1000 -> 8192 - 1, 2000 -> 16384 - 1,
  // -2000 -> -8192 - 1, 4000 -> 16384 - 1. 100 us a row, 50 between samples.
  const float f1 = static_cast<float>(10.24 / 2000.0 / 2.0);
  const float f2 = static_cast<float>(10.24 / 4000.0 / 2.0);
  const AbfHeader h = GapFree(TableHeader(4, 50.0f, 2e-4f, {{"mV", f1}, {"mV", f2}}));
  EXPECT_EQ(Converted(f, ConvertDataqAscii, "bare.csv", TextBytes("1;-2\n2;4\n")),
            AbfImage(h, {8191, -8193, 16383, 16383}));
}

TEST(DataqAscii, RefusesARateThatIsNoNumber) {
  BenchFixture f;
  ExpectError(f, ConvertDataqAscii, "r.csv", TextBytes("Sample rate: fast\n1,2\n"),
              "line 1: the sample rate is not a positive number");
}

}  // namespace
}  // namespace convora::test
