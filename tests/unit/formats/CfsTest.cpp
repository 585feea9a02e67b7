#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/Cfs.h"
#include "support/ExpectedAbf.h"

// Small CFS files laid out as CED's file-format notes describe version 2: a
// 178-byte general header, 48-byte channel entries, no variables, then data
// sections, each with a 30-byte header and 24 bytes per channel.

namespace convora {
namespace {

struct Channel {
  std::string name, unit;
  std::uint8_t type = 2;  // int16
  std::uint8_t kind = 0;  // equally spaced
  std::int16_t spacing = 4;
  std::int32_t offset = 0;  // within the section's data
  float step = 0.01f;
};

struct Section {
  std::vector<std::int32_t> points;
  std::vector<float> scales;
  std::vector<std::uint8_t> data;
};

test::Bytes Make(const std::vector<Channel>& channels, const std::vector<Section>& sections,
                 const std::string& marker = "CEDFILE\"", bool table = true) {
  test::ByteBuilder b;
  b.Text(marker).PadTo(26).Text("12:03:14").Text("10/08/24");
  b.Int16LE(static_cast<std::int16_t>(channels.size())).PadTo(56);
  b.Int16LE(static_cast<std::int16_t>(sections.size()));
  for (std::size_t c = 0; c < channels.size(); ++c) {
    const Channel& ch = channels[c];
    b.PadTo(178 + 48 * c).Raw({static_cast<std::uint8_t>(ch.name.size())}).Text(ch.name);
    b.PadTo(178 + 48 * c + 22).Raw({static_cast<std::uint8_t>(ch.unit.size())}).Text(ch.unit);
    b.PadTo(178 + 48 * c + 32).Raw({1, 's'}).PadTo(178 + 48 * c + 42).Raw({ch.type, ch.kind});
    b.Int16LE(ch.spacing).Int16LE(0);
  }
  std::vector<std::int32_t> headers;
  std::int32_t last = 0;
  for (const Section& s : sections) {
    const auto data = static_cast<std::int32_t>(b.Size());
    b.Raw(s.data);
    headers.push_back(static_cast<std::int32_t>(b.Size()));
    b.Int32LE(last).Int32LE(data).Int32LE(static_cast<std::int32_t>(s.data.size())).Zeros(18);
    for (std::size_t c = 0; c < channels.size(); ++c) {
      b.Int32LE(channels[c].offset).Int32LE(s.points[c]).FloatLE(s.scales[c]).FloatLE(0.0f);
      b.FloatLE(channels[c].step).FloatLE(0.0f);
    }
    last = headers.back();
  }
  const auto tableAt = static_cast<std::int32_t>(b.Size());
  for (std::int32_t h : headers) b.Int32LE(h);
  test::Bytes bytes = b.Get();
  const auto put = [&](std::size_t at, std::int32_t v) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
  };
  put(52, last);
  put(134, table ? tableAt : 0);
  return bytes;
}

// int16 values, as a section stores them.
std::vector<std::uint8_t> Interleaved(std::initializer_list<std::int16_t> values) {
  test::ByteBuilder b;
  for (std::int16_t v : values) b.Int16LE(v);
  return b.Get();
}

struct CfsTest : testing::Test {
  test::BenchFixture f;
  test::Bytes Convert(const test::Bytes& bytes) {
    return test::Converted(f, ConvertCFS, "rec.cfs", bytes);
  }
};

TEST_F(CfsTest, SectionsBecomeSweepsAndInterleavedCountsAreKept) {
  const std::vector<Channel> channels = {{"ECG", "mV", 2, 0, 4, 0}, {"BP", "Pa", 2, 0, 4, 2}};
  for (bool table : {true, false}) {  // without a table, the sections are found by their chain
    const auto file = Convert(Make(channels,
                                   {{{2, 2}, {0.5f, 0.25f}, Interleaved({1, 2, 3, 4})},
                                    {{2, 2}, {0.5f, 0.25f}, Interleaved({-1, -2, -3, -4})}},
                                   "CEDFILE\"", table));
    const AbfHeader h = test::HeaderOf(file);
    EXPECT_EQ(h.Get(abf::lActualEpisodes), 2);
    EXPECT_EQ(h.Get(abf::fADCSampleInterval), 5000.0f);
    EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "BP        ");
    EXPECT_EQ(h.Get(abf::lFileStartDate), 20240810);
    EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), static_cast<float>(10.0 / 32768 / 0.5));
    EXPECT_EQ(test::SamplesOf(file, 8), (std::vector<std::int16_t>{1, 2, 3, 4, -1, -2, -3, -4}));
  }
}

// int32 and float32 channels beside two that are left out: one sampled at
// twice the step, one with fewer points than the first. The int32 channel's
// scale doubles in section 2, and section 2 is one point shorter.
TEST_F(CfsTest, ChannelsThatCannotShareAScanAreNamedAndScalesThatChangeAreRescaled) {
  const std::vector<Channel> channels = {{"i32", "mV", 4, 0, 4, 0},
                                         {"f32", "pA", 5, 0, 4, 8},
                                         {"short", "mV", 2, 0, 2, 16},
                                         {"slow", "mV", 2, 0, 2, 18, 0.02f}};
  const auto data = [](std::int32_t i0, std::int32_t i1, float f0, float f1) {
    test::ByteBuilder b;
    b.Int32LE(i0).Int32LE(i1).FloatLE(f0).FloatLE(f1).Int16LE(7).Int16LE(9);
    return b.Get();
  };
  const auto file =
      Convert(Make(channels, {{{2, 2, 1, 1}, {1.0f, 1.0f, 1.0f, 1.0f}, data(100, -200, 1.5f, -3)},
                              {{1, 1, 1, 1}, {2.0f, 1.0f, 1.0f, 1.0f}, data(100, 0, 0.75f, 0)}}));
  EXPECT_EQ(f.prompter.Transcript(),
            (std::vector<std::string>{
                test::Notice(f.dir / "rec.cfs", "left out, for being sampled at another rate or "
                                                "not equally spaced in time: slow"),
                test::Notice(f.dir / "rec.cfs",
                             "left out, for holding another number of points than i32: short"),
                test::Notice(f.dir / "rec.cfs", "its data sections differ in length; each sweep "
                                                "is padded with zeros to the longest, 2 points")}));
  // Each channel's largest magnitude lands at half of full scale: 200 mV
  // (100 x 2) and 3 pA; sweep 2's second scan is padding.
  EXPECT_EQ(test::SamplesOf(file, 8),
            (std::vector<std::int16_t>{8192, 8192, -16384, -16384, 16384, 4096, 0, 0}));
}

TEST_F(CfsTest, WhatCannotBeReadIsRefusedByName) {
  const std::vector<Channel> one = {{"a", "mV", 2, 0, 2}};
  const Section two = {{2}, {1.0f}, Interleaved({1, 2})};
  test::ExpectErrors(f, ConvertCFS, "rec.cfs", {
      {Make(one, {two}, "CEDFILE!"), "older version"},
      {Make(one, {}), "no data section"},
      {Make({{"m", "mV", 2, 1, 2}}, {two}), "no equally spaced channel"},
      {Make(one, {{{9}, {1.0f}, Interleaved({1, 2})}}), "points of channel 1"},
  });
}

}  // namespace
}  // namespace convora
