#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/IgorBinary5.h"
#include "support/ExpectedAbf.h"

// Waves laid out as WaveMetrics Technical Note 003 describes version 5: a
// 64-byte BinHeader5, a 320-byte WaveHeader5, the data, then the sections
// whose sizes the BinHeader5 gives (here the extended data units).

namespace convora {
namespace {

struct Wave {
  bool bigEndian = false;
  std::int16_t type = 0x10;
  std::int32_t rows = 3, columns = 0, layers = 0;
  double step = 1e-4;
  std::string xUnit = "s", dataUnit = "pA", extendedUnit;
  std::vector<double> values;  // column by column
};

test::Bytes Make(const Wave& w) {
  const bool big = w.bigEndian;
  const std::size_t size = w.type == 0x04 ? 8 : w.type == 0x02 ? 4 : 2;
  const auto dataBytes = static_cast<std::int32_t>(w.values.size() * size);
  test::ByteBuilder b;
  // Version, checksum, wfmSize, formula and note sizes, extended units size.
  b.Int16(5, big).Int16(0, big).Int32(320 + dataBytes, big).Int32(0, big).Int32(0, big);
  b.Int32(static_cast<std::int32_t>(w.extendedUnit.size()), big).PadTo(64 + 12);
  b.Int32(static_cast<std::int32_t>(w.values.size()), big).Int16(w.type, big);
  b.PadTo(64 + 28).Text("trace", 32).PadTo(64 + 68);
  b.Int32(w.rows, big).Int32(w.columns, big).Int32(w.layers, big).Int32(0, big);
  b.Double(w.step, big).PadTo(64 + 148).Text(w.dataUnit, 4).Text(w.xUnit, 4).PadTo(384);
  for (double v : w.values) {
    w.type == 0x04 ? b.Double(v, big) : b.Int16(static_cast<std::int16_t>(v), big);
  }
  return b.Text(w.extendedUnit).Get();
}

struct IgorBinary5Test : testing::Test {
  test::BenchFixture f;
  test::Bytes Convert(const Wave& wave) {
    return test::Converted(f, ConvertIgor5, "cell.ibw", Make(wave));
  }
};

// The columns of a big-endian integer wave are channels kept as counts; a
// one-dimensional wave of doubles in volts is scaled to its peak in millivolts.
TEST_F(IgorBinary5Test, IntegerColumnsAreChannelsKeptAsCountsAndDoublesAreScaled) {
  const auto file = Convert({.bigEndian = true, .rows = 3, .columns = 3, .step = 0.1, .xUnit = "ms",
                             .extendedUnit = "uV", .values = {1, 2, 3, -4, -5, -6, 7, 8, 9}});
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 3);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), static_cast<float>(100.0 / 3));
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "uV      ");
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "trace_1   ");
  EXPECT_EQ(test::SamplesOf(file, 9), (std::vector<std::int16_t>{1, -4, 7, 2, -5, 8, 3, -6, 9}));
  const auto doubles = Convert({.type = 0x04, .rows = 0, .dataUnit = "V", .values = {0.5, -1.0}});
  EXPECT_EQ(test::HeaderOf(doubles).Get(abf::sADCUnits, 0), "mV      ");
  EXPECT_EQ(test::HeaderOf(doubles).Get(abf::fADCSampleInterval), 100.0f);
  EXPECT_EQ(test::SamplesOf(doubles, 2), (std::vector<std::int16_t>{8192, -16384}));
}

TEST_F(IgorBinary5Test, WavesWithNothingToConvertAreRefusedByName) {
  test::Bytes cut = Make({.values = {1, 2, 3}});
  cut.resize(cut.size() - 1);
  test::ExpectErrors(
      f, ConvertIgor5, "cell.ibw",
      {{Make({.type = 0, .values = {1, 2, 3}}), "text wave"},
       {Make({.type = 0x11, .values = {1, 2, 3}}), "complex"},
       {Make({.rows = 1, .columns = 1, .layers = 3, .values = {1, 2, 3}}),
        "more than 2 dimensions"},
       {Make({.values = {}}), "no points"},
       {Make({.xUnit = "Hz", .values = {1, 2, 3}}), "not a time"},
       {cut, "points"}});
}

}  // namespace
}  // namespace convora
