#include "ascii/AnyAscii.h"

#include <gtest/gtest.h>

#include <string>

#include "abf/TextLines.h"
#include "unit/ascii/AsciiExpected.h"

namespace convora::test {
namespace {

// The table of every case below: A = 1, 2, -1 (peak 2) and B = -4, 3, 0 (peak
// 4), one row every millisecond.
//   A: 1 -> 8190.99982 -> 8191; 2 -> 16382.99963 -> 16383; -1 -> -8193
//   B: -4 -> -16384.99963 -> -16385; 3 -> 12286.99973 -> 12287; 0 -> -1
// Interleaved: 8191, -16385, 16383, 12287, -8193, -1. Interval 1000 us a row,
// 500 between the interleaved samples; 6 x 500 / 1e6 = 0.003 s.
Bytes ExpectedTwoChannels() {
  const AbfHeader h = GapFree(
      TableHeader(6, 500.0f, 0.003f, {{"mV", kPeak2}, {"mV", kPeak4}}));
  return AbfImage(h, {8191, -16385, 16383, 12287, -8193, -1});
}

TEST(AnyAscii, TwoColumnsBecomeTwoInterleavedChannelsWhateverTheSeparator) {
  struct Variant {
    const char* name;
    std::string text;
    AsciiSeparator separator;
    bool matlab;
  };
  // clang-format off
  for (const Variant& v : {
    Variant{"tab", "Time\tA\tB\n0\t1\t-4\n0.001\t2\t3\n0.002\t-1\t0\n", AsciiSeparator::Detect, false},
    Variant{"comma", "Time,A,B\r\n0,1,-4\r\n0.001,2,3\r\n\r\n0.002,-1,0\r\n", AsciiSeparator::Detect, false},
    Variant{"semicolon", "t;A;B\n0;1;-4\n0.001;2;3\n0.002;-1;0", AsciiSeparator::Semicolon, false},
    Variant{"space", "t A B\r0  1  -4\r0.001 2 3\r0.002 -1 0\r", AsciiSeparator::Detect, false},
    Variant{"matlab", "% header\n   0.0000000e+00   1.0000000e+00  -4.0000000e+00\n"
                      "   1.0000000e-03   2.0000000e+00   3.0000000e+00\n"
                      "   2.0000000e-03  -1.0000000e+00   0.0000000e+00\n",
            AsciiSeparator::Comma, true}}) {
    // clang-format on
    BenchFixture f;
    AsciiSettings settings;
    settings.columns = "2-3";
    settings.headerLines = "1";
    settings.timeColumn = "1";
    settings.unit = "mV";
    settings.separator = v.separator;
    settings.matlab = v.matlab;
    f.Select("table.txt", TextBytes(v.text));
    ConvertAnyAscii(f.bench, settings);
    EXPECT_EQ(ReadFile(f.dir / "table.ABF"), ExpectedTwoChannels()) << v.name;
  }
}

// An earlier conversion's slot, episodic mode and synch array in the record
// must not carry into this one's header.
TEST(AnyAscii, TypedIntervalAndFactorWithoutATimeColumnOnALeftoverRecord) {
  BenchFixture f;
  f.bench.TemplateHeader.Set(abf::nADCSamplingSeq, 3, std::int16_t{3});
  f.bench.TemplateHeader.Set(abf::nOperationMode, std::int16_t{5});
  f.bench.TemplateHeader.Set(abf::lSynchArraySize, 7);
  AsciiSettings settings;  // column 1, no header, no time column
  settings.factor = "1e12";
  settings.sampleInterval = "25";
  // 2e-12, -1e-12, 5e-13 A times 1e12: 2, -1, 0.5 pA (peak 2):
  // 16383, -8193, 0.5 x 8191.99982 - 1 = 4094.99991 -> 4095. 3 x 25 / 1e6 s.
  f.Select("cell.dat", TextBytes("2e-12\n-1e-12\n5e-13\n"));
  ConvertAnyAscii(f.bench, settings);
  const AbfHeader h = GapFree(TableHeader(3, 25.0f, 7.5e-5f, {{"pA", kPeak2}}));
  EXPECT_EQ(ReadFile(f.dir / "cell.ABF"), AbfImage(h, {16383, -8193, 4095}));
}

TEST(AnyAscii, RefusalsEndWithAReasonAndWriteNothing) {
  struct Refusal {
    const char* name;
    std::string text;
    std::string columns;
    std::string interval;
    std::string reason;
    std::string timeColumn = "0";
  };
  // clang-format off
  for (const Refusal& r : {
    Refusal{"not_a_number", "1\t2\n3\t4\n5\tx5\n", "1,2", "10", "line 3: column 2: \"x5\" is not a number"},
    Refusal{"short_line", "1\t2\n\n3\n", "1,2", "10", "line 3: column 2 is missing (the line has 1 column)"},
    Refusal{"heading_not_skipped", "Time\tI\n0\t1\n", "2", "10", "line 1: column 2: \"I\" is not a number"},
    Refusal{"overflow", "1e999\n", "1", "10", "line 1: column 1: the value is too large"},
    Refusal{"no_scale", "1e300\n", "1", "10", "channel 1 are too large or too small"},
    Refusal{"empty", "\n  \n", "1", "10", "no data rows"},
    Refusal{"long_line", "1\n" + std::string(kMaxLineChars + 1, '1'), "1", "10",
            "line 2: longer than"},
    Refusal{"no_interval", "1\n", "1", "0", "sample interval \"0\" is not a positive number"},
    Refusal{"seventeen", "1\n", "1-17", "10", "17 channels"},
    Refusal{"column_list", "1\n", "one", "10", "the column list \"one\""},
    Refusal{"time_stands_still", "5,1\n5,2\n", "2", "10", "the time column does not increase", "1"}}) {
    // clang-format on
    SCOPED_TRACE(r.name);
    BenchFixture f;
    AsciiSettings settings;
    settings.columns = r.columns;
    settings.sampleInterval = r.interval;
    settings.timeColumn = r.timeColumn;
    ExpectError(
        f, [&](Workbench& bench) { ConvertAnyAscii(bench, settings); }, "bad.txt",
        TextBytes(r.text), r.reason);
  }
}

}  // namespace
}  // namespace convora::test
