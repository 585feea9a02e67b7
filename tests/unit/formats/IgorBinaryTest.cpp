#include "formats/IgorBinary.h"

#include <cstring>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "abf/ByteOrder.h"
#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"
#include "formats/Axograph.h"
#include "support/TestSupport.h"
#include "unit/formats/CraftedSources.h"

namespace convora {
namespace {

using test::AbfImage;
using test::BenchFixture;
using test::DescribeChannel;
using test::DescribeRecording;
using test::IgorWave;
using test::StampedTemplate;

const std::string kNoUnit(4, '\0');

test::Bytes Convert(BenchFixture& f, const test::Bytes& source) {
  f.Select("wave.ibw", source);
  ConvertIgor(f.bench);
  const auto& listed = f.bench.List1.Entries();
  EXPECT_TRUE(!listed.empty() && listed.back() == f.dir / "wave.ABF");
  return test::ReadFile(f.dir / "wave.ABF");
}

// Replaces value `index` of a float32 wave by raw bits, in the wave's byte order.
test::Bytes WithBits(test::Bytes wave, std::size_t index, std::uint32_t bits, bool mac) {
  if (mac) bits = ReverseBytes(bits);
  for (std::size_t i = 0; i < 4; ++i) {
    wave[126 + 4 * index + i] = static_cast<std::uint8_t>(bits >> (8 * i));
  }
  return wave;
}

TEST(IgorBinary, PositivePeakIsReferencedToAThousandUnits) {
  BenchFixture f;
  // -10 and 20 pA: |max| 20 > |min| 10, so the range is 1000, the factor
  // (10.24 / 1000) / 2 = 0.00512 and a count v x 16.384 - 1: -164.84, 326.68.
  const auto source = IgorWave({.dUnits = "A", .hsA = 1e-4, .values = {-1e-11, 2e-11}});
  auto h = StampedTemplate();
  DescribeRecording(h, 2, 100.0f, 0.0002f);  // 1e-4 x 1e6 us; 2 x 1e-4 s
  DescribeChannel(h, 0, "pA", 0.00512f);
  EXPECT_EQ(Convert(f, source), AbfImage(h, {-165, 327}));
}

class IgorLayouts : public testing::TestWithParam<std::tuple<bool, std::int16_t>> {};

TEST_P(IgorLayouts, VoltsBecomeMillivoltsInEitherByteOrderAndWidth) {
  const auto [mac, type] = GetParam();
  BenchFixture f;
  const auto source = IgorWave(
      {.mac = mac, .type = type, .dUnits = "V", .hsA = 0x1p-13, .values = {-0.002, 0.002, 0.001}});
  auto h = StampedTemplate();
  // 2^-13 s = 122.0703125 us; 3 x 2^-13 = 0.0003662109375 s.
  DescribeRecording(h, 3, 122.0703125f, 0.0003662109375f);
  // -2, 2, 1 mV: |max| 2 is not above |min| 2, so the range is 2, the factor
  // 2.56 and a count v x 8192 - 1.
  DescribeChannel(h, 0, "mV", 2.56f);
  EXPECT_EQ(Convert(f, source), AbfImage(h, {-16385, 16383, 8191}));
}

INSTANTIATE_TEST_SUITE_P(PcAndMac, IgorLayouts,
                         testing::Combine(testing::Bool(), testing::Values(2, 4)));

TEST(IgorBinary, OtherUnitsPassUnchangedUnderTheirOwnText) {
  BenchFixture f;
  const auto source = IgorWave({.type = 4, .dUnits = "mA", .values = {0.5, -0.25, 0.0}});
  auto h = StampedTemplate();
  DescribeRecording(h, 3, 100.0f, 0.0003f);
  // |max| 0.5 > |min| 0.25: range 1000; 8.192 - 1, -4.096 - 1, 0 - 1.
  DescribeChannel(h, 0, std::string("mA\0\0", 4), 0.00512f);
  EXPECT_EQ(Convert(f, source), AbfImage(h, {7, -5, -1}));
}

class IgorGaps : public testing::TestWithParam<std::tuple<std::uint32_t, bool>> {};

TEST_P(IgorGaps, PositiveNaNIsStoredAsZeroAndLeftOutOfTheExtremes) {
  const auto [bits, mac] = GetParam();
  BenchFixture f;
  const auto source = WithBits(IgorWave({.mac = mac, .values = {-1.0, 0.0, -1.0}}), 1, bits, mac);
  auto h = StampedTemplate();
  DescribeRecording(h, 3, 100.0f, 0.0003f);
  // Extremes -1 and -1 (a 0 among them would make the range 0): range 1,
  // factor 5.12, count v x 16384 - 1; the gap gives 0 - 1.
  DescribeChannel(h, 0, kNoUnit, 5.12f);
  EXPECT_EQ(Convert(f, source), AbfImage(h, {-16385, -1, -16385}));
}

// Quiet, signalling and all-ones-payload NaNs, all with the sign bit clear.
INSTANTIATE_TEST_SUITE_P(Patterns, IgorGaps,
                         testing::Values(std::tuple{0x7fc00000u, false},
                                         std::tuple{0x7f800001u, true},
                                         std::tuple{0x7fffffffu, false}));

struct BadWave {
  const char* name;
  test::Bytes bytes;
};

class IgorErrors : public testing::TestWithParam<BadWave> {};

TEST_P(IgorErrors, EndTheFileWithNothingWrittenAndTheRecordUntouched) {
  BenchFixture f;
  const auto before = f.bench.TemplateHeader;
  f.Select("wave.ibw", GetParam().bytes);
  EXPECT_THROW(ConvertIgor(f.bench), ConvoraError);
  EXPECT_FALSE(std::filesystem::exists(f.dir / "wave.ABF"));
  EXPECT_TRUE(f.bench.List1.Entries().empty());
  EXPECT_EQ(f.bench.TemplateHeader, before);
}

test::Bytes ShortByOneByte() {
  auto wave = IgorWave({.values = {1.0, 2.0}});
  wave.pop_back();
  return wave;
}

INSTANTIATE_TEST_SUITE_P(
    Waves, IgorErrors,
    testing::Values(
        // -20 and 10 pA: range |max| 10, so -20 gives -32769.
        BadWave{"SmallerPositivePeak", IgorWave({.dUnits = "A", .values = {-2e-11, 1e-11}})},
        BadWave{"AllZero", IgorWave({.values = {0.0, 0.0}})},
        BadWave{"NoPoints", IgorWave({.values = {}})},
        BadWave{"ShortByOneByte", ShortByOneByte()},
        // Extremes 1 and 2 are fine; the negative NaN cannot be scaled.
        BadWave{"NegativeNaN",
                WithBits(IgorWave({.values = {1.0, 0.0, 2.0}}), 1, 0xffc00000u, false)},
        // The extremes start at value(0) and stay NaN.
        BadWave{"NaNFirst",
                WithBits(IgorWave({.values = {0.0, 1.0, 2.0}}), 0, 0x7fc00000u, false)},
        BadWave{"StepBeyondAFloat", IgorWave({.hsA = 1e300, .values = {1.0, 2.0}})},
        BadWave{"ProductBeyondAFloat", IgorWave({.dUnits = "A", .values = {1e30, 1.0}})}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(IgorBinary, OtherDataTypesAreSkippedSilently) {
  for (const std::int16_t type : {0, 3, 512}) {
    BenchFixture f;
    f.Select("wave.ibw", IgorWave({.type = type, .values = {1.0, 2.0}}));
    ConvertIgor(f.bench);
    EXPECT_FALSE(std::filesystem::exists(f.dir / "wave.ABF")) << type;
    EXPECT_TRUE(f.prompter.Transcript().empty());
  }
}

TEST(IgorBinary, FollowsAnAxographConversionOnATemplateWithDataAtBlock16) {
  auto blank = BuildDefaultTemplate();
  blank.Set(abf::lDataSectionPtr, 16);
  BenchFixture f(blank);
  f.Select("pair.axg", test::AxographFile({{"V1 (V)", {0.5f, -0.25f}}, {"V2 (V)", {0.5f, -0.25f}}},
                                          1e-4f));
  ConvertAxGr(f.bench);
  auto h = StampedTemplate(blank);
  DescribeRecording(h, 4, 50.0f, 0.0002f);  // 1e-4 / 2 s; 50 x 4 / 1e6 s
  h.Set(abf::nADCNumChannels, std::int16_t{2});
  DescribeChannel(h, 0, "mV", 0.02048f);  // 500, -250 mV: range 250
  DescribeChannel(h, 1, "mV", 0.02048f);
  // Bytes 6144 to 8191 are never written; the samples start at 16 x 512.
  EXPECT_EQ(test::ReadFile(f.dir / "pair.ABF"), AbfImage(h, {32767, 32767, -16385, -16385}));

  // The wave sets one channel's fields only: the channel count and channel 1 stay.
  DescribeRecording(h, 2, 100.0f, 0.0002f);
  DescribeChannel(h, 0, "pA", 0.00512f);
  EXPECT_EQ(Convert(f, IgorWave({.dUnits = "A", .values = {-1e-11, 2e-11}})),
            AbfImage(h, {-165, 327}));
}

class IgorSamples : public testing::TestWithParam<const char*> {};

// Read here from the published layout, apart from the converter.
template <typename T>
T Field(const test::Bytes& file, std::size_t at, bool mac) {
  T value;
  std::memcpy(&value, &file[at], sizeof value);
  return mac ? ReverseBytes(value) : value;
}

TEST_P(IgorSamples, WavesWrittenByOtherSoftwareConvert) {
  const auto folder = test::SamplesFolder();
  if (folder.empty()) GTEST_SKIP() << "no folder of sample files written by other software";
  const auto file = test::ReadFile(folder / "ibw" / GetParam());
  const bool mac = file[0] == 0;
  const bool doubles = Field<std::int16_t>(file, 16, mac) == 4;
  const auto npnts = Field<std::int32_t>(file, 58, mac);
  const auto hsA = Field<double>(file, 64, mac);
  const std::string dUnits(reinterpret_cast<const char*>(&file[50]), 4);
  ASSERT_EQ(npnts, 5);
  ASSERT_EQ(dUnits, kNoUnit);  // no unit: values unchanged
  std::vector<double> values;
  for (int j = 0; j < npnts; ++j) {
    values.push_back(doubles ? Field<double>(file, 126 + 8 * j, mac)
                             : Field<float>(file, 126 + 4 * j, mac));
  }
  // These waves run 5, 4, 3, 2, 1: |max| 5 > |min| 1, so range 1000, factor
  // 0.00512, count v x 16.384 - 1.
  ASSERT_EQ(values, (std::vector<double>{5, 4, 3, 2, 1}));
  auto h = StampedTemplate();
  DescribeRecording(h, 5, static_cast<float>(hsA * 1e6), static_cast<float>(5 * hsA));
  DescribeChannel(h, 0, dUnits, 0.00512f);
  BenchFixture f;
  // 80.92, 64.536, 48.152, 31.768, 15.384.
  EXPECT_EQ(Convert(f, file), AbfImage(h, {81, 65, 48, 32, 15}));
}

INSTANTIATE_TEST_SUITE_P(Igor2, IgorSamples,
                         testing::Values("igor2_win-version2.ibw", "igor2_mac-version2.ibw",
                                         "igor2_win-double.ibw", "igor2_mac-double.ibw"));

}  // namespace
}  // namespace convora
