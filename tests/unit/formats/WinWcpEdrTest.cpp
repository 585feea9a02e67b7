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
  f.Select("rec.EDR", b.Get());
  ConvertWinCDR(f.bench);
  const auto file = test::ReadFile(f.dir / "rec.ABF");
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
void Record(test::ByteBuilder& b, const char* status, float interval, float range,
            std::vector<std::int16_t> values) {
  const std::size_t at = b.Size();
  b.Text(status, 8).Text("TEST").FloatLE(1).FloatLE(0).FloatLE(interval).FloatLE(range);
  b.PadTo(at + 512);
  for (std::int16_t v : values) b.Int16LE(v);
  b.PadTo(at + 1024);
}

TEST(WinWcp, RecordsBecomeSweepsScaledByTheirRange) {
  test::BenchFixture f;
  auto b = Header(
      "VER=9\r\nRTIME=21/11/2014 14:18:28\r\nNBH=1024\r\nADCMAX=32767\r\nNC=1\r\n"
      "NBA=1\r\nNBD=1\r\nAD=10\r\nNR=2\r\nNP=3\r\nDT=0.001\r\nYN0=Im\r\nYU0=pA\r\n"
      "YG0=0.0005\r\nYZ0=0\r\n",
      1024);
  Record(b, "ACCEPTED", 0.001f, 10.0f, {1, 2, 3});
  Record(b, "REJECTED", 0.001f, 10.0f, {-1, -2, -3});
  f.Select("cell.wcp", b.Get());
  ConvertWinWCP(f.bench);
  const auto file = test::ReadFile(f.dir / "cell.ABF");
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::lActualEpisodes), 2);
  EXPECT_EQ(h.Get(abf::lFileStartDate), 20141121);
  EXPECT_EQ(test::SamplesOf(file, 6), (std::vector<std::int16_t>{1, 2, 3, -1, -2, -3}));
  EXPECT_EQ(f.prompter.Transcript().back(),
            "notice: " + f.bench.SelectedFilePath.string() +
                ": 1 of 2 records are marked REJECTED; all are converted");
}

TEST(WinWcp, WhatCannotBeReadIsRefusedByName) {
  const std::string head =
      "VER=9\r\nNBH=1024\r\nADCMAX=32767\r\nNC=1\r\nNBA=1\r\nNBD=1\r\nYG0=1\r\n";
  const std::vector<std::pair<std::string, std::string>> refused = {
      {head + "NR=0\r\n", "no records"},
      {head + "NR=3\r\n", "records of the header (NR)"},
      {head + "NR=1\r\nNP=600\r\n", "do not fit their data blocks"},
      {"VER=9\r\nNBH=1024\r\nNR=1\r\n", "NC is missing"},
  };
  test::BenchFixture f;
  for (const auto& [lines, why] : refused) {
    auto b = Header(lines, 1024);
    Record(b, "ACCEPTED", 0.001f, 10.0f, {1});
    test::ExpectError(f, ConvertWinWCP, "cell.wcp", b.Get(), why);
  }
}

}  // namespace
}  // namespace convora
