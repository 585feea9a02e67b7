#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/Abf2.h"
#include "support/ExpectedAbf.h"

// Small ABF 2 files laid out as the published ABF 2 header describes: a
// section map in the 512-byte file header, one section per 512-byte block.

namespace convora {
namespace {

struct Abf2 {
  std::int16_t mode = 5;
  std::int16_t dataFormat = 0;
  std::uint8_t compressed = 0;
  std::int32_t episodes = 2;
  std::vector<std::int16_t> counts = {1, -1, 2, -2, 3, -3, 4, -4, 5, -5, 6, -6};
  std::vector<float> floats;  // the samples instead, for data format 1
  std::int64_t dataEntries = 12;
};

test::Bytes Make(const Abf2& a) {
  test::ByteBuilder b;
  b.Text("ABF2").Raw({0, 0, 9, 2}).Int32LE(512).Int32LE(a.episodes);
  b.Int32LE(20240131).Int32LE((10 * 3600 + 5) * 1000).Int32LE(0).Int16LE(0).Int16LE(a.dataFormat);
  const auto section = [&](std::size_t at, std::int32_t block, std::int32_t bytes, std::int64_t n) {
    b.PadTo(at).Int32LE(block).Int32LE(bytes).Int32LE(static_cast<std::int32_t>(n)).Int32LE(0);
  };
  section(76, 1, 512, 1);             // protocol
  section(92, 2, 128, 2);             // ADC
  section(220, 3, 80, 5);             // strings: their bytes, their count
  section(236, 4, a.floats.empty() ? 2 : 4, a.dataEntries);  // data
  section(252, 5, 64, 1);             // tags
  // Protocol: mode, 50 us per channel, samples per episode 6, range 10, resolution 32768.
  b.PadTo(512).Int16LE(a.mode).FloatLE(50.0f).Raw({a.compressed}).PadTo(512 + 14).FloatLE(0.0f);
  b.PadTo(512 + 22).Int32LE(6).PadTo(512 + 110).FloatLE(10.0f).PadTo(512 + 118).Int32LE(32768);
  // ADC entries: gain 0.5 mV per count (scale factor 10 / 32768 / 0.5 with telegraph 2).
  for (std::int16_t k = 0; k < 2; ++k) {
    const std::size_t at = 1024 + 128 * static_cast<std::size_t>(k);
    b.PadTo(at).Int16LE(k).Int16LE(1).PadTo(at + 6).FloatLE(2.0f).PadTo(at + 28).FloatLE(1.0f);
    b.PadTo(at + 40).FloatLE(10.0f / 32768 / 0.5f / 2).FloatLE(0.0f).FloatLE(1.0f).FloatLE(0.0f);
    b.PadTo(at + 74).Int32LE(2 + 2 * k).Int32LE(3 + 2 * k);
  }
  b.PadTo(1536).Text("SSCH").PadTo(1536 + 44).Text("Clampex").Zeros(1).Text("Im").Zeros(1);
  b.Text("pA").Zeros(1).Text("Vm").Zeros(1).Text("V").Zeros(1);
  b.PadTo(2048);
  if (a.floats.empty()) {
    for (std::int16_t c : a.counts) b.Int16LE(c);
  }
  for (float v : a.floats) b.FloatLE(v);
  b.PadTo(2560).Int32LE(4).Text("drug on", 56, ' ').Int16LE(1).Int16LE(0);
  return b.Get();
}

struct Abf2Test : testing::Test {
  test::BenchFixture f;
  test::Bytes Convert(const Abf2& a) {
    f.Select("cell.abf", Make(a));
    ConvertAbf2(f.bench);
    return test::ReadFile(f.dir / "cell_abf1.ABF");
  }
};

TEST_F(Abf2Test, SweepsChannelsCountsStartAndTagsCarryOver) {
  const auto file = Convert({});
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nOperationMode), 5);
  EXPECT_EQ(h.Get(abf::lActualEpisodes), 2);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 25.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "Vm        ");
  // Volts become millivolts: 0.5 V per count is 500 mV per count.
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "mV      ");
  EXPECT_FLOAT_EQ(h.Get(abf::fInstrumentScaleFactor, 1), 10.0f / 32768 / 500);
  EXPECT_EQ(h.Get(abf::lFileStartDate), 20240131);
  EXPECT_EQ(h.Get(abf::lFileStartTime), 36005);
  EXPECT_EQ(test::SamplesOf(file, 12), Abf2().counts);
  const auto tagAt = static_cast<std::size_t>(h.Get(abf::lTagSectionPtr)) * 512;
  ASSERT_EQ(h.Get(abf::lNumTagEntries), 1);
  EXPECT_EQ(file[tagAt], 4);
  EXPECT_EQ(std::string(file.begin() + tagAt + 4, file.begin() + tagAt + 11), "drug on");
}

TEST_F(Abf2Test, FloatSamplesAreScaledToEachChannelsPeak) {
  // Channel 1 is in volts, stored as millivolts.
  const std::vector<float> values = {1.5f, -0.002f, -3.0f, 0.004f, 0.75f, 0.001f,
                                     0.0f, -0.003f, 2.25f, 0.0005f, -1.0f, 0.0f};
  const auto file = Convert({.dataFormat = 1, .floats = values});
  const AbfHeader h = test::HeaderOf(file);
  const auto counts = test::SamplesOf(file, 12);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::size_t c = i % 2;
    const double perCount = 10.0 / 32768 / h.Get(abf::fInstrumentScaleFactor, c);
    EXPECT_NEAR(counts[i] * perCount, values[i] * (c == 1 ? 1000.0 : 1.0), perCount / 2) << i;
  }
}

TEST_F(Abf2Test, WhatCannotBeReadIsRefusedByName) {
  // Not "cell.abf": where names ignore case, cell.ABF, checked for, is the source.
  test::ExpectErrors(f, ConvertAbf2, "cell.dat",
                     {{Make({.compressed = 1}), "compressed"},
                      {Make({.mode = 1}), "varying length"},
                      {Make({.dataFormat = 3}), "data format"},
                      {Make({.dataEntries = 1000}), "data section"}});
}

}  // namespace
}  // namespace convora
