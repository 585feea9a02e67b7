#include <gtest/gtest.h>

#include <cmath>

#include "formats/Ltp.h"
#include "support/ExpectedAbf.h"

// LTP ASCII sweep files with the keyword lines of the program's structure page
// ("File Structure for LTP 2.4 to WinLTP 2.320 ASCII Sweep Files"). The page
// does not show the block of samples; these files hold what the reader
// insists on: one row per sample, one blank-separated column per AD channel.

namespace convora {
namespace {

// Lines 1 to 10 are keywords and blanks; the rows start at line 11.
test::Bytes Make(const std::string& rows, int samples = 3, int rsSamples = 0) {
  return test::TextBytes(
      "\"LTP_ASF\"   \"2.18V\"\n\"DateFileSaved\"   20000611\n"
      "\"TimeFileStarted\"  \"15:49:50.1\"\n\n\"NumSamples\"  " +
      std::to_string(samples) + "\n\"SampleInterval_ms\"  0.1\n" + "\"Rs_NumSamples\"  " +
      std::to_string(rsSamples) +
      "\n\"AD_Chs\"  \"AD0\"  \"AD1\"  \"AD0_Rs\"  \"AD1_Rs\"\n"
      "\"AD_DataType\"  \"mV\"  \"pA\"\n\n" +
      rows);
}

TEST(Ltp, TwoChannelsReadBackWithinOneCount) {
  test::BenchFixture f;
  const std::vector<double> values = {1.5, -2, 0.25, 300, -7, 4.125};
  const auto file =
      test::Converted(f, ConvertLTP, "06110014.p0", Make("1.5\t-2\n 0.25  3e2\n-7 4.125\n\n"));
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nOperationMode), 3);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "AD1       ");
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "pA      ");
  EXPECT_EQ(h.Get(abf::lFileStartDate), 20000611);
  EXPECT_EQ(h.Get(abf::lFileStartTime), 56990);
  const auto counts = test::SamplesOf(file, values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double perCount = h.Get(abf::fADCRange) / h.Get(abf::lADCResolution) /
                            h.Get(abf::fInstrumentScaleFactor, i % 2);
    EXPECT_LE(std::abs(counts[i] * perCount - values[i]), perCount) << i;
  }
}

TEST(Ltp, RowsThatDisagreeWithTheHeaderAreRefusedByLine) {
  test::BenchFixture f;
  test::ExpectErrors(f, ConvertLTP, "rec.p0", {
      {Make("1 2\n3 4\n5 6\n", 4),
       "line 14: the rows end after 3 of the 4 "
       "that NumSamples (line 5) declares"},
      {Make("1 2\n3 4\n\n5 6\n", 2), "line 14: a row past the 2 that NumSamples (line 5)"},
      {Make("1 2\n3\n5 6\n"), "line 12: holds 1 values"},
      {Make("1 2\n3 4,5\n5 6\n"), "line 12: \"4,5\" is not a number"},
      {Make("1 2\n3 4\n5 6\n", 3, 3), "line 7: the file holds series-resistance samples"},
  });
}

}  // namespace
}  // namespace convora
