#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/AcqKnowledge.h"
#include "support/ExpectedAbf.h"

// AcqKnowledge 3.x files laid out as the maker's Application Note 156
// describes them: graph header, channel headers, foreign data, type headers,
// interleaved samples. Little-endian here, as the PC version writes them.

namespace convora {
namespace {

struct Channel {
  std::string name, unit;
  double scale;
  std::int16_t type;  // 2 int16, 1 double
  std::int32_t samples;
};

test::Bytes Make(const std::vector<Channel>& channels, const std::vector<double>& scans) {
  test::ByteBuilder b;
  b.Int16LE(0).Int32LE(36).Int32LE(24).Int16LE(static_cast<std::int16_t>(channels.size()));
  b.PadTo(16).DoubleLE(0.5);  // milliseconds per sample
  for (const Channel& c : channels) {
    const std::size_t at = b.Size();
    b.Int32LE(132).Int16LE(1).Text(c.name, 40).PadTo(at + 68).Text(c.unit, 20);
    b.Int32LE(c.samples).DoubleLE(c.scale).DoubleLE(0.0).PadTo(at + 132);
  }
  b.Int16LE(6).Zeros(4);  // foreign data: its length, then its bytes
  for (const Channel& c : channels) b.Int16LE(c.type == 1 ? 8 : 2).Int16LE(c.type);
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const Channel& c = channels[i % channels.size()];
    c.type == 1 ? b.DoubleLE(scans[i]) : b.Int16LE(static_cast<std::int16_t>(scans[i]));
  }
  return b.Get();
}

TEST(AcqKnowledge, Int16CountsAreKeptAndDoublesScaledAtTheGraphRate) {
  test::BenchFixture f;
  f.Select("rec.acq",
           Make({{"ECG", "mV", 0.25, 2, 2}, {"Resp", "V", 1.0, 1, 2}}, {4, 0.5, -8, -1.0}));
  ConvertAcqKnowledgePC(f.bench);
  const auto file = test::ReadFile(f.dir / "rec.ABF");
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 250.0f);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "Resp      ");
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "mV      ");
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), static_cast<float>(10.0 / 32768 / 0.25));
  EXPECT_EQ(test::SamplesOf(file, 4), (std::vector<std::int16_t>{4, 8192, -8, -16384}));
}

TEST(AcqKnowledge, WhatCannotBeReadIsRefusedByName) {
  test::Bytes cut = Make({{"a", "mV", 1, 2, 3}}, {1, 2, 3});
  cut.pop_back();
  const std::vector<std::pair<test::Bytes, std::string>> refused = {
      {cut, "the samples the channel headers count"},
      {Make({{"a", "mV", 1, 4, 1}}, {1, 2}), "neither int16 nor double"},
      {Make({{"a", "mV", 1, 2, 1}, {"b", "mV", 1, 2, 2}}, {1, 2, 3, 4}), "different numbers"},
      {Make({}, {}), "counts 0 channels"},
  };
  test::BenchFixture f;
  for (const auto& [bytes, why] : refused) {
    test::ExpectError(f, ConvertAcqKnowledgePC, "rec.acq", bytes, why);
  }
}

}  // namespace
}  // namespace convora
