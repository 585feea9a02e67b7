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
  std::int16_t secondBlockStart = 30;  // 30 continues the first block's 3 samples at 10 ticks
  std::int16_t blockChannel = 1;       // as stored: the channel number + 1
  std::uint16_t items = 3;
};

test::Bytes Make(const Son& s) {
  test::ByteBuilder b;
  b.Int16LE(s.revision).Text("(C) CED 87").PadTo(20).Int16LE(1).Int16LE(1);  // 1 us per tick
  b.PadTo(30).Int16LE(2).PadTo(44).DoubleLE(1e-6);
  b.Raw({0, 5, 4, 3, 9, 7}).Int16LE(2024);  // 03:04:05 on 9 July 2024
  const std::int32_t first = 512 + 280, second = first + 20 + 6;
  // Channel 1: int16 waveform "Vm", 1 mV per count, 10 ticks between samples.
  b.PadTo(512 + 6).Int32LE(first).PadTo(512 + 14).Int16LE(2).PadTo(512 + 102).Int32LE(10);
  b.PadTo(512 + 108).Raw({2, 'V', 'm'}).PadTo(512 + 122).Raw({1, 0}).FloatLE(6553.6f).FloatLE(0);
  b.Raw({2, 'm', 'V'});
  // Channel 2: events.
  b.PadTo(652 + 6).Int32LE(-1).PadTo(652 + 14).Int16LE(1).PadTo(652 + 108).Raw(
      {4, 'S', 't', 'i', 'm'});
  b.PadTo(652 + 122).Raw({3});
  b.PadTo(first).Int32LE(-1).Int32LE(second).Int32LE(0).Int32LE(20);
  b.Int16LE(s.blockChannel).Int16LE(static_cast<std::int16_t>(s.items));
  b.Int16LE(1).Int16LE(-2).Int16LE(3);
  b.Int32LE(first).Int32LE(-1).Int32LE(s.secondBlockStart).Int32LE(s.secondBlockStart + 10);
  b.Int16LE(1).Int16LE(2).Int16LE(-4).Int16LE(5);
  return b.Get();
}

TEST(Spike2, WaveformCountsAreKeptAndEventChannelsNamed) {
  test::BenchFixture f;
  const auto file = test::Converted(f, ConvertSpike2, "rec.smr", Make({}));
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 10.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 0), "Vm        ");
  EXPECT_EQ(h.Get(abf::lFileStartDate), 20240709);
  EXPECT_EQ(h.Get(abf::lFileStartTime), 3 * 3600 + 4 * 60 + 5);
  EXPECT_EQ(test::SamplesOf(file, 5), (std::vector<std::int16_t>{1, -2, 3, -4, 5}));
  EXPECT_EQ(f.prompter.Transcript().back(),
            "notice: " + f.bench.SelectedFilePath.string() + ": not converted: channel 2 (Stim)");
}

TEST(Spike2, APauseEndsTheStretchAndIsSaid) {
  test::BenchFixture f;
  const auto file = test::Converted(f, ConvertSpike2, "rec.smr", Make({.secondBlockStart = 50}));
  EXPECT_EQ(test::HeaderOf(file).Get(abf::lActualAcqLength), 3);
  EXPECT_NE(f.prompter.Transcript().back().find("sampling pauses; the samples from the first "
                                                "pause on (2 samples"),
            std::string::npos);
}

TEST(Spike2, WhatCannotBeReadIsRefusedByName) {
  test::BenchFixture f;
  const std::vector<std::pair<Son, std::string>> refused = {
      {{.revision = 10}, "revision 10"},
      {{.blockChannel = 2}, "belongs to channel 2"},
      {{.items = 900}, "the items of a data block"},
  };
  for (const auto& [son, why] : refused)
    test::ExpectError(f, ConvertSpike2, "rec.smr", Make(son), why);
}

}  // namespace
}  // namespace convora
