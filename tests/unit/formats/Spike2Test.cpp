#include <gtest/gtest.h>

#include "formats/Spike2.h"
#include "support/ExpectedAbf.h"

// Small Spike2 files laid out as CED's SON filing-system notes describe
// revision 6: a 512-byte file header, 140-byte channel headers from byte 512,
// then data blocks of a 20-byte header and their items.

namespace convora {
namespace {

struct Son {
  std::int16_t revision = 6;
  std::int32_t secondBlockStart = 30;  // 30 continues the first block's 3 samples at 10 ticks
  std::int16_t blockChannel = 1;       // as stored: the channel number + 1
  std::uint16_t items = 3;
  std::int16_t blocks = 2;        // in channel 1's chain
  std::int32_t afterSecond = -1;  // where channel 1's second block points on
  std::int32_t floatTicks = 0;    // channel 2: a float waveform at this interval, or events
};

test::Bytes Make(const Son& s) {
  test::ByteBuilder b;
  b.Int16LE(s.revision).Text("(C) CED 87").PadTo(20).Int16LE(1).Int16LE(1);  // 1 us per tick
  b.PadTo(30).Int16LE(2).PadTo(44).DoubleLE(1e-6);
  b.Raw({0, 5, 4, 3, 9, 7}).Int16LE(2024);  // 03:04:05 on 9 July 2024
  const std::int32_t first = 512 + 280, second = first + 20 + 6, third = second + 20 + 4;
  // Channel 1: int16 waveform "Vm", 1 mV per count, 10 ticks between samples.
  b.PadTo(512 + 6).Int32LE(first).PadTo(512 + 14).Int16LE(s.blocks).PadTo(512 + 102).Int32LE(10);
  b.PadTo(512 + 108).Raw({2, 'V', 'm'}).PadTo(512 + 122).Raw({1, 0}).FloatLE(6553.6f).FloatLE(0);
  b.Raw({2, 'm', 'V'});
  // Channel 2: events, or a float waveform "I" in pA.
  b.PadTo(652 + 6).Int32LE(s.floatTicks ? third : -1).PadTo(652 + 14).Int16LE(1);
  b.PadTo(652 + 102).Int32LE(s.floatTicks).PadTo(652 + 108);
  if (s.floatTicks) {
    b.Raw({1, 'I'}).PadTo(652 + 122).Raw({9}).PadTo(652 + 132).Raw({2, 'p', 'A'});
  } else {
    b.Raw({4, 'S', 't', 'i', 'm'}).PadTo(652 + 122).Raw({3});
  }
  b.PadTo(first).Int32LE(-1).Int32LE(second).Int32LE(0).Int32LE(20);
  b.Int16LE(s.blockChannel).Int16LE(static_cast<std::int16_t>(s.items));
  b.Int16LE(1).Int16LE(-2).Int16LE(3);
  b.Int32LE(first).Int32LE(s.afterSecond).Int32LE(s.secondBlockStart);
  b.Int32LE(s.secondBlockStart + 10).Int16LE(1).Int16LE(2).Int16LE(-4).Int16LE(5);
  b.Int32LE(-1).Int32LE(-1).Int32LE(0).Int32LE(40).Int16LE(2).Int16LE(5);
  for (const float v : {0.5f, 1.0f, -1.0f, 2.0f, 0.25f}) b.FloatLE(v);
  return b.Get();
}

// Channel 2 holds events, then a float waveform at channel 1's rate, then one
// at another rate. Counts are kept and floats scaled, their largest magnitude
// at half of full scale; a channel that cannot share the scans is named.
TEST(Spike2, WaveformsOfOneRateShareTheScansAndOtherChannelsAreNamed) {
  test::BenchFixture f;
  const auto file = test::Converted(f, ConvertSpike2, "rec.smr", Make({}));
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 10.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 0), "Vm        ");
  EXPECT_EQ(h.Get(abf::lFileStartDate), 20240709);
  EXPECT_EQ(h.Get(abf::lFileStartTime), 3 * 3600 + 4 * 60 + 5);
  EXPECT_EQ(test::SamplesOf(file, 5), (std::vector<std::int16_t>{1, -2, 3, -4, 5}));
  EXPECT_EQ(f.prompter.Transcript().back(),
            test::Notice(f.bench.SelectedFilePath, "not converted: channel 2 (Stim)"));
  const auto floats = test::Converted(f, ConvertSpike2, "rec.smr", Make({.floatTicks = 10}));
  EXPECT_EQ(test::HeaderOf(floats).Get(abf::sADCUnits, 1), "pA      ");
  EXPECT_EQ(test::SamplesOf(floats, 10),
            (std::vector<std::int16_t>{1, 4096, -2, 8192, 3, -8192, -4, 16384, 5, 2048}));
  const auto slower = test::Converted(f, ConvertSpike2, "rec.smr", Make({.floatTicks = 20}));
  EXPECT_EQ(test::HeaderOf(slower).Get(abf::nADCNumChannels), 1);
  EXPECT_EQ(f.prompter.Transcript().back(),
            test::Notice(f.bench.SelectedFilePath, "not converted: channel 2 (I, another rate)"));
}

// A block starting at tick 56 is placed at sample 6, the nearest: the pause
// holds three zeros and the samples after it keep their times.
TEST(Spike2, APauseIsFilledWithZerosAndSaid) {
  test::BenchFixture f;
  const auto file = test::Converted(f, ConvertSpike2, "rec.smr", Make({.secondBlockStart = 56}));
  EXPECT_EQ(test::HeaderOf(file).Get(abf::lActualAcqLength), 8);
  EXPECT_EQ(test::SamplesOf(file, 8), (std::vector<std::int16_t>{1, -2, 3, 0, 0, 0, -4, 5}));
  EXPECT_NE(f.prompter.Transcript().back().find(
                "a pause in sampling, filled with zeros so that later samples keep their times: "
                "0.00003 s from 0.00003 s (rounded to whole sample intervals)"),
            std::string::npos);
}

TEST(Spike2, WhatCannotBeReadIsRefusedByName) {
  test::BenchFixture f;
  test::ExpectErrors(
      f, ConvertSpike2, "rec.smr",
      {{Make({.revision = 10}), "revision 10"},
       {Make({.blockChannel = 2}), "belongs to channel 2"},
       {Make({.items = 900}), "the items of a data block"},
       {Make({.secondBlockStart = 10}), "overlap in time"},
       {Make({.secondBlockStart = 20'000'000}), "more than 16 times as long"},
       {Make({.blocks = 5, .afterSecond = 512 + 280}), "overlap in time"},  // a chain on itself
       {Make({.blocks = 3, .afterSecond = 1 << 20}), "a data block of channel 1"}});
}

}  // namespace
}  // namespace convora
