#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/AcqKnowledge.h"
#include "support/ExpectedAbf.h"

// AcqKnowledge files laid out as the maker's Application Note 156 describes
// them (graph header, channel headers, foreign data, type headers, interleaved
// samples), with the later revisions' fields where bioread's notes place them:
// the sample divider at byte 250 of a channel header from revision 38 on and
// at 152 from 61 (4.0) on; the compressed flag at byte 1936 of the graph
// header from 41 on and at 972 from 61 on; 40 more bytes after the graph
// header from 124 on; a foreign-data length at byte 8 plus 8 from 61 on, its
// first int16 plus 8 from 80 on. Little-endian, as the PC writes them.

namespace convora {
namespace {

struct Channel {
  std::string name, unit;
  double scale;
  std::int16_t type;  // 2 int16, 1 double
  std::int32_t samples;
  std::int16_t divider = 1;
};

// `order` names the channel of each value of the interleaved stream.
test::Bytes Make(const std::vector<Channel>& channels, const std::string& order,
                 const std::vector<double>& values, std::int32_t revision = 36,
                 std::int32_t compressed = 0) {
  const bool late = revision >= 61;
  const std::int32_t graphBytes = late ? 976 : revision >= 41 ? 1940 : 24;
  test::ByteBuilder b;
  b.Int16LE(0).Int32LE(revision).Int32LE(graphBytes);
  b.Int16LE(static_cast<std::int16_t>(channels.size())).PadTo(16).DoubleLE(0.5);  // ms per sample
  if (revision >= 41) b.PadTo(graphBytes - 4).Int32LE(compressed);
  if (revision >= 124) b.Zeros(40);
  for (const Channel& c : channels) {
    const std::size_t at = b.Size();
    b.Int32LE(252).Int16LE(1).Text(c.name, 40).PadTo(at + 68).Text(c.unit, 20);
    b.Int32LE(c.samples).DoubleLE(c.scale).DoubleLE(0.0);
    b.PadTo(at + (late ? 152 : 250)).Int16LE(c.divider).PadTo(at + 252);
  }
  // Foreign data of 6, 12 and 8 bytes, as each revision counts them.
  if (!late) b.Int16LE(6).Zeros(4);
  if (late && revision < 80) b.Zeros(8).Int32LE(4);
  if (revision >= 80) b.Zeros(8);
  for (const Channel& c : channels) b.Int16LE(c.type == 1 ? 8 : 2).Int16LE(c.type);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Channel& c = channels[static_cast<std::size_t>(order[i] - '0')];
    c.type == 1 ? b.DoubleLE(values[i]) : b.Int16LE(static_cast<std::int16_t>(values[i]));
  }
  return b.Get();
}

TEST(AcqKnowledge, Int16CountsAreKeptAndDoublesScaledAtTheGraphRate) {
  test::BenchFixture f;
  const auto file = test::Converted(
      f, ConvertAcqKnowledgePC, "rec.acq",
      Make({{"ECG", "mV", 0.25, 2, 2}, {"Resp", "V", 1.0, 1, 2}}, "0101", {4, 0.5, -8, -1.0}));
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 250.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "Resp      ");
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "mV      ");
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), static_cast<float>(10.0 / 32768 / 0.25));
  EXPECT_EQ(test::SamplesOf(file, 4), (std::vector<std::int16_t>{4, 8192, -8, -16384}));
}

// Dividers 1, 2, 1: the second channel takes part in every other slot. A
// double in the middle of the stream must not shift the int16s around it.
const std::vector<Channel> kDivided = {
    {"A", "mV", 1.0, 2, 4, 1}, {"B", "V", 1.0, 1, 2, 2}, {"C", "mV", 1.0, 2, 4, 1}};
const std::string kDividedOrder = "0120201202";
const std::vector<double> kDividedValues = {1, 0.5, 10, 2, 20, 3, -0.5, 30, 4, 40};

class AcqKnowledgeRevision : public testing::TestWithParam<std::int32_t> {};

TEST_P(AcqKnowledgeRevision, ChannelsOfTheFastestRateAreKeptAndTheSlowerNamed) {
  test::BenchFixture f;
  const auto file = test::Converted(f, ConvertAcqKnowledgeLater, "rec.acq",
                                    Make(kDivided, kDividedOrder, kDividedValues, GetParam()));
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 250.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "C         ");
  EXPECT_EQ(test::SamplesOf(file, 8), (std::vector<std::int16_t>{1, 10, 2, 20, 3, 30, 4, 40}));
  EXPECT_EQ(f.prompter.Transcript(),
            std::vector<std::string>{test::Notice(
                f.dir / "rec.acq", "not converted, sampled slower than the channels kept: "
                                   "channel 2 (B, sampled every 2 graph samples)")});
}

INSTANTIATE_TEST_SUITE_P(AcqKnowledge, AcqKnowledgeRevision, testing::Values(38, 45, 70, 100, 132));

TEST(AcqKnowledge, WhatCannotBeReadIsRefusedByName) {
  test::Bytes cut = Make(kDivided, kDividedOrder, kDividedValues, 38);
  cut.pop_back();
  test::BenchFixture f;
  test::ExpectErrors(f, ConvertAcqKnowledgePC, "rec.acq", {
      {cut, "the samples the channel headers count"},
      {Make({{"a", "mV", 1, 4, 1}}, "00", {1, 2}), "neither int16 nor double"},
      {Make({{"a", "mV", 1, 2, 1}, {"b", "mV", 1, 2, 2}}, "0101", {1, 2, 3, 4}),
       "different numbers"},
      {Make({}, "", {}), "counts 0 channels"},
      {Make({{"a", "mV", 1, 2, 1}}, "0", {1}, 41, 1), "revision 41 keeps its samples compressed"},
      {Make({{"a", "mV", 1, 2, 1}}, "0", {1}, 50), "revision 50 lies between 3.9 (45) and 4.0"},
      {Make({{"a", "mV", 1, 2, 1}}, "0", {1}, 133), "revision 133 is later than the latest"},
  });
}

}  // namespace
}  // namespace convora
