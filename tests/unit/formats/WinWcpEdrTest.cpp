#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/WinEdr.h"
#include "formats/WinWcp.h"
#include "support/ExpectedAbf.h"

// Small WinWCP and WinEDR files laid out as the programs' file-structure
// notes describe them: a zero-padded text header of KEY=value lines, then
// int16 scans (for WinWCP, records of analysis and data blocks of 512 bytes).

namespace convora {
namespace {

test::ByteBuilder Header(const std::string& lines, std::size_t bytes) {
  test::ByteBuilder b;
  b.Text(lines).PadTo(bytes);
  return b;
}

TEST(WinEdr, ChannelsAtTheirPositionsKeepTheirCountsWithTheZeroLevelFolded) {
  test::BenchFixture f;
  // Two channels, the second stored first in each scan; a decimal comma.
  auto b = Header(
      "VER=6.1\r\nNBH=512\r\nNC=2\r\nNP=4\r\nAD=5\r\nADCMAX=2000\r\nDT=0,0001\r\n"
      "YN0=Im\r\nYU0=pA\r\nYCF0=0.001\r\nYAG0=1\r\nYZ0=10\r\nYO0=1\r\n"
      "YN1=Vm\r\nYU1=mV\r\nYCF1=0.01\r\nYAG1=2\r\nYZ1=0\r\nYO1=0\r\n",
      512);
  for (std::int16_t v : {7, 110, -7, 90}) b.Int16LE(v);
  const auto file = test::Converted(f, ConvertWinCDR, "rec.EDR", b.Get());
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 0), "Im        ");
  // 5 V / (2000 x 0.001 V/pA) = 2.5 pA per count.
  EXPECT_FLOAT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), 10.0f / 32768 / 2.5f);
  EXPECT_EQ(test::SamplesOf(file, 4), (std::vector<std::int16_t>{100, 7, 80, -7}));
}

// A WinWCP record: the analysis block (status, type, group, time, interval,
// VMax per channel) and the data block.
void Record(test::ByteBuilder& b, const char* status, float interval, std::vector<float> ranges,
            std::vector<std::int16_t> values) {
  const std::size_t at = b.Size();
  b.Text(status, 8).Text("TEST").FloatLE(1).FloatLE(0).FloatLE(interval);
  for (float range : ranges) b.FloatLE(range);
  b.PadTo(at + 512);
  for (std::int16_t v : values) b.Int16LE(v);
  b.PadTo(at + 1024);
}

// One channel, the header's numbers written with decimal commas.
const std::string kOneChannel =
    "VER=9\r\nRTIME=21/11/2014 14:18:28\r\nNBH=1024\r\nADCMAX=32767\r\nNC=1\r\n"
    "NBA=1\r\nNBD=1\r\nAD=10\r\nNP=3\r\nDT=0,001\r\nYN0=Im\r\nYU0=pA\r\n"
    "YG0=0,0005\r\nYZ0=0\r\n";

// Records 2 and 3 are REJECTED: converted and named, or left out on request.
// No interval in the records: the header's DT holds.
TEST(WinWcp, RecordsBecomeSweepsScaledByTheirRangeAndRejectedOnesAreNamed) {
  for (const bool skip : {false, true}) {
    test::BenchFixture f;
    f.bench.SkipRejected = skip;
    auto b = Header(kOneChannel + "NR=3\r\n", 1024);
    Record(b, "ACCEPTED", 0.0f, {10.0f}, {1, 2, 3});
    Record(b, "REJECTED", 0.0f, {10.0f}, {-1, -2, -3});
    Record(b, "REJECTED", 0.0f, {10.0f}, {7, 8, 9});
    const auto file = test::Converted(f, ConvertWinWCP, "cell.wcp", b.Get());
    const AbfHeader h = test::HeaderOf(file);
    EXPECT_EQ(h.Get(abf::lActualEpisodes), skip ? 1 : 3);
    EXPECT_EQ(h.Get(abf::lFileStartDate), 20141121);
    EXPECT_EQ(h.Get(abf::fADCSampleInterval), 1000.0f);
    // 10 V / (32767 x 0.0005 V/pA) per count.
    EXPECT_FLOAT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), 10.0f / 32768 / (10.0f / 32767 / 5e-4f));
    std::vector<std::int16_t> samples = {1, 2, 3, -1, -2, -3, 7, 8, 9};
    samples.resize(skip ? 3 : 9);
    EXPECT_EQ(test::SamplesOf(file, samples.size()), samples);
    EXPECT_EQ(f.prompter.Transcript().back(),
              test::Notice(f.bench.SelectedFilePath,
                           std::string("records 2, 3 are marked REJECTED") +
                               (skip ? " and left out"
                                     : "; all are converted (--skip-rejected, or \"Leave out "
                                       "rejected records\" in the window, leaves them out)")));
  }
}

TEST(WinWcp, ARangeThatChangesBetweenRecordsIsRescaledToOneScale) {
  test::BenchFixture f;
  auto b = Header(
      "VER=9\r\nNBH=1024\r\nADCMAX=2047\r\nNC=1\r\nNBA=1\r\nNBD=1\r\nNR=3\r\nNP=3\r\n"
      "DT=0.001\r\nYU0=mV\r\nYG0=0.001\r\nYZ0=7\r\n",
      1024);
  const std::vector<float> ranges = {10.0f, 2.5f, 0.3f};
  const std::vector<std::int16_t> counts = {2047, -2048, 15};
  for (float range : ranges) Record(b, "ACCEPTED", 0.001f, {range}, counts);
  const auto file = test::Converted(f, ConvertWinWCP, "cell.wcp", b.Get());
  const AbfHeader h = test::HeaderOf(file);
  const double perCount = 10.0 / 32768 / h.Get(abf::fInstrumentScaleFactor, 0);
  const auto samples = test::SamplesOf(file, 9);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double value = (counts[i % 3] - 7) * ranges[i / 3] / (2047 * 0.001);
    EXPECT_NEAR(samples[i] * perCount, value, perCount) << i;
  }
}

TEST(WinWcp, SixteenChannelsAreScaledByTheirOwnRanges) {
  std::string lines =
      "VER=9\r\nADCMAX=32767\r\nNC=16\r\nNBA=1\r\nNBD=1\r\nNR=1\r\nNP=1\r\nDT=0.001\r\n";
  std::vector<float> ranges;
  std::vector<std::int16_t> counts;
  for (int c = 0; c < 16; ++c) {
    lines += "YU" + std::to_string(c) + "=pA\r\nYG" + std::to_string(c) + "=1\r\n";
    ranges.push_back(static_cast<float>(c + 1));
    counts.push_back(static_cast<std::int16_t>(100 * c));
  }
  test::BenchFixture f;
  auto b = Header(lines, 2048);  // without NBH, 1024 bytes per 8 channels
  Record(b, "ACCEPTED", 0.001f, ranges, counts);
  const auto file = test::Converted(f, ConvertWinWCP, "cell.wcp", b.Get());
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 16);
  for (std::size_t c : {0u, 15u}) {
    EXPECT_FLOAT_EQ(h.Get(abf::fInstrumentScaleFactor, c), 10.0f / 32768 / (ranges[c] / 32767));
  }
  EXPECT_EQ(test::SamplesOf(file, 16), counts);
}

TEST(WinWcp, WhatCannotBeReadIsRefusedByName) {
  const std::string head =
      "VER=9\r\nNBH=1024\r\nADCMAX=32767\r\nNC=1\r\nNBA=1\r\nNBD=1\r\nYG0=1\r\n";
  struct Case {
    std::string lines;
    std::size_t cut;  // bytes cut off the end of the file
    std::string why;
  };
  const std::vector<Case> refused = {
      {head + "NR=0\r\n", 0, "no records"},
      {head + "NR=3\r\n", 0, "records of the header (NR)"},
      {head + "NR=1\r\n", 100, "records of the header (NR)"},  // a truncated data block
      {head + "NR=1\r\nNP=600\r\n", 0, "do not fit their data blocks"},
      {"VER=9\r\nNBH=1024\r\nNR=1\r\n", 0, "NC is missing"},
      {"VER=9\r\nNBH=1024\r\nNR=1\r\nNC=123\r\nNBA=1\r\nNBD=1\r\nADCMAX=1\r\n", 0,
       "ranges (VMax) of the header's 123 channels do not fit"},
      // A WinEDR recording named .wcp, which the WinCDR row converts.
      {"VER=6.1\r\nNBH=1024\r\nNC=1\r\nNP=512\r\nAD=5\r\n", 0, "a continuous WinCDR recording"},
  };
  test::BenchFixture f;
  for (const auto& [lines, cut, why] : refused) {
    auto b = Header(lines, 1024);
    Record(b, "ACCEPTED", 0.001f, {10.0f}, {1});
    auto bytes = b.Get();
    bytes.resize(bytes.size() - cut);
    test::ExpectError(f, ConvertWinWCP, "cell.wcp", bytes, why);
  }
  auto b = Header(head + "NR=1\r\n", 1024);
  Record(b, "REJECTED", 0.001f, {10.0f}, {1});
  f.bench.SkipRejected = true;
  test::ExpectError(f, ConvertWinWCP, "cell.wcp", b.Get(), "every record is marked REJECTED");
}

}  // namespace
}  // namespace convora
