#include "formats/Axograph.h"

#include <bit>
#include <filesystem>

#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "support/TestSupport.h"
#include "unit/formats/CraftedSources.h"

namespace convora {
namespace {

using test::AbfImage;
using test::AxographFile;
using test::BenchFixture;
using test::DescribeChannel;
using test::DescribeRecording;
using test::StampedTemplate;

constexpr const char* kRefusal =
    "Convora: Only supports Axograph file version 1.  Please contact Quenvale for higher version.";

// Converts `source` as cell.axg and returns the written cell.ABF whole.
test::Bytes Convert(BenchFixture& f, const test::Bytes& source) {
  f.Select("cell.axg", source);
  ConvertAxGr(f.bench);
  EXPECT_EQ(f.bench.List1.Entries(), std::vector{f.dir / "cell.ABF"});
  return test::ReadFile(f.dir / "cell.ABF");
}

TEST(Axograph, AmperesColumnIsScaledFromItsSmallerExtreme) {
  BenchFixture f;
  // x 1e12: -2, 2, 4, 1, 6 pA; |max| 6 > |min| 2, so the range is 2 and the
  // scale factor (10.24 / 2) / 2 = 2.56; a count is v x 16384 / 2 - 1.
  const auto source = AxographFile({{"Im (A)", {-2e-12f, 2e-12f, 4e-12f, 1e-12f, 6e-12f}}}, 1e-4f);
  auto h = StampedTemplate();
  // 1e-4f x 1e6 = 99.99999747 -> 100.0f; 100 x 5 samples / 1e6 = 0.0005 s.
  DescribeRecording(h, 5, 100.0f, 0.0005f);
  DescribeChannel(h, 0, "pA", 2.56f);
  // -range -> -16385, range -> 16383, 4 -> 32767, 1 -> 8191, 6 -> 49151 overflows -> 0.
  EXPECT_EQ(Convert(f, source), AbfImage(h, {-16385, 16383, 32767, 8191, 0}));
  EXPECT_TRUE(f.prompter.Busy());
}

TEST(Axograph, ColumnsInterleaveAndAnUntitledColumnKeepsTheFactorBefore) {
  BenchFixture f;
  const auto source = AxographFile({{"Vm (V)", {0.5f, -0.25f, 1.0f}},
                                    {"Stimulus monitor", {0.125f, -0.0625f, 0.03125f}}},
                                   1e-4f);
  auto h = StampedTemplate();
  // The time step 1e-4 is shared by 2 channels: 5e-5 s -> 50 us; 50 x 6 / 1e6 = 0.0003 s.
  DescribeRecording(h, 6, 50.0f, 0.0003f);
  h.Set(abf::nADCNumChannels, std::int16_t{2});
  // mV 500, -250, 1000: range 250, factor 0.02048, count = v x 65.536 - 1.
  DescribeChannel(h, 0, "mV", 0.02048f);
  // Still x 1000: 125, -62.5, 31.25: range 62.5, factor 0.08192, count = v x 262.144 - 1.
  DescribeChannel(h, 1, "Stimulus", 0.08192f);
  // Frames: (32767, 32767), (-16385, -16385), (65535 overflows -> 0, 8191).
  EXPECT_EQ(Convert(f, source), AbfImage(h, {32767, 32767, -16385, -16385, 0, 8191}));
}

TEST(Axograph, ZeroRangeKeepsTheScaleFactorTheRecordHeld) {
  BenchFixture f;
  f.bench.TemplateHeader.Set(abf::fInstrumentScaleFactor, 0, 0.25f);
  f.bench.TemplateHeader.Set(abf::fInstrumentScaleFactor, 1, 0.5f);
  const auto source = AxographFile(
      {{"Im (a)", {3.0f, -7.0f, 1.0f}}, {"Vm (V)", {0.0f, 0.0078125f, 0.00390625f}}}, 0x1p-9f);
  auto h = StampedTemplate(f.bench.TemplateHeader);
  // 2^-9 / 2 channels = 2^-10 s = 976.5625 us; x 6 / 1e6 = 0.005859375 s.
  DescribeRecording(h, 6, 976.5625f, 0.005859375f);
  h.Set(abf::nADCNumChannels, std::int16_t{2});
  // "(a)" is no unit: no factor yet, every value becomes 0, range 0, so 0.25
  // stays and each count is 0 - 1. Its unit is the title's first 8 characters.
  DescribeChannel(h, 0, "Im (a)  ", 0.25f);
  // 0, 7.8125, 3.90625 mV: min 0, range 0, factor 0.5 stays; count = v x 32768
  // x 0.5 / 10.24 - 1 = v x 1600 - 1: -1, 12499, 6249.
  DescribeChannel(h, 1, "mV", 0.5f);
  EXPECT_EQ(Convert(f, source), AbfImage(h, {-1, -1, -1, 12499, -1, 6249}));
}

TEST(Axograph, ProductBeyondTheFloatRangeKeepsTheBytesAsRead) {
  BenchFixture f;
  // Bytes 70 00 40 40: 1.59e29 big-endian, x 1e12 is beyond a float, so the
  // value stays those bytes read little-endian: 0x40400070 = 3 + 224 x 2^-22.
  const float huge = std::bit_cast<float>(0x70004040u);
  const auto source = AxographFile({{"Im (A)", {huge, -4e-12f, 4e-12f}}}, 1e-4f);
  auto h = StampedTemplate();
  DescribeRecording(h, 3, 100.0f, 0.0003f);
  // Extremes -4 and 4: range |max| 4, factor 1.28, count = v x 4096 - 1.
  DescribeChannel(h, 0, "pA", 1.28f);
  // 3.0000267 x 4096 - 1 = 12287.11 -> 12287 (0 or an infinity would give -1 or 0).
  EXPECT_EQ(Convert(f, source), AbfImage(h, {12287, -16385, 16383}));
}

TEST(Axograph, ChannelsPastSixteenAreCountedButLeftZero) {
  BenchFixture f;
  std::vector<test::AxographSignal> signals(17, {"Vm (V)", {0.5f, -0.25f}});
  const auto source = AxographFile(signals, 17 * 0x1p-14f);
  auto h = StampedTemplate();
  // 17 x 2^-14 / 17 = 2^-14 s = 61.03515625 us; x 34 samples / 1e6 = 34 x 2^-14 s.
  DescribeRecording(h, 34, 61.03515625f, 34 * 0x1p-14f);
  h.Set(abf::nADCNumChannels, std::int16_t{17});
  for (std::size_t k = 0; k < 16; ++k) DescribeChannel(h, k, "mV", 0.02048f);
  // 500 and -250 mV with range 250: 32767 and -16385; the 17th channel stays 0.
  std::vector<std::int16_t> samples(16, 32767);
  samples.push_back(0);
  samples.insert(samples.end(), 16, -16385);
  samples.push_back(0);
  EXPECT_EQ(Convert(f, source), AbfImage(h, samples));
}

class AxographRefusal : public testing::TestWithParam<std::int16_t> {};

TEST_P(AxographRefusal, OtherVersionsAreRefusedWithNothingWritten) {
  BenchFixture f;
  f.Select("cell.axg", AxographFile({{"Vm (V)", {1.0f, 2.0f}}}, 1e-4f, GetParam()));
  const auto before = f.bench.TemplateHeader;
  ConvertAxGr(f.bench);
  EXPECT_EQ(f.prompter.Transcript(), std::vector<std::string>{kRefusal});
  EXPECT_FALSE(std::filesystem::exists(f.dir / "cell.ABF"));
  EXPECT_TRUE(f.bench.List1.Entries().empty());
  EXPECT_EQ(f.bench.TemplateHeader, before);
}

// Bytes 00 02; 01 00 (version 1 written little-endian) reads as 256; 00 00.
INSTANTIATE_TEST_SUITE_P(Versions, AxographRefusal, testing::Values(2, 256, 0));

TEST(Axograph, FileShorterThanItsColumnsIsAnError) {
  BenchFixture f;
  auto source = AxographFile({{"Vm (V)", {1.0f, 2.0f}}, {"Im (A)", {1.0f, 2.0f}}}, 1e-4f);
  source.pop_back();
  f.Select("cell.axg", source);
  EXPECT_THROW(ConvertAxGr(f.bench), ConvoraError);
  EXPECT_FALSE(std::filesystem::exists(f.dir / "cell.ABF"));
}

TEST(Axograph, SampleFilesOfLaterVersionsAreRefused) {
  const auto folder = test::SamplesFolder();
  if (folder.empty()) GTEST_SKIP() << "no folder of sample files written by other software";
  int seen = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder / "axograph")) {
    BenchFixture f;
    f.Select("sample.axg", test::ReadFile(entry.path()));
    ConvertAxGr(f.bench);
    EXPECT_EQ(f.prompter.Transcript(), std::vector<std::string>{kRefusal}) << entry.path();
    EXPECT_TRUE(f.bench.List1.Entries().empty());
    ++seen;
  }
  EXPECT_EQ(seen, 2);
}

}  // namespace
}  // namespace convora
