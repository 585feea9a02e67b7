#include "formats/Axograph.h"

#include <bit>

#include <gtest/gtest.h>

#include "support/ExpectedAbf.h"

namespace convora::test {
namespace {

constexpr const char* kRefusal =
    "Convora: Only supports Axograph file version 1.  Please contact Quenvale for higher version.";

Bytes Convert(BenchFixture& f, const Bytes& source) {
  return Converted(f, ConvertAxGr, "cell.axg", source);
}

TEST(Axograph, AmperesColumnIsScaledFromItsSmallerExtreme) {
  BenchFixture f;
  // Bytes 70 00 40 40 are 1.59e29 big-endian; x 1e12 is beyond a float, so the
  // value stays those bytes read little-endian: 0x40400070 = 3 + 112 x 2^-22.
  const float huge = std::bit_cast<float>(0x70004040u);
  const auto source =
      AxographFile({{"Im (A)", {-2e-12f, 2e-12f, 4e-12f, 1e-12f, 6e-12f, huge}}}, 1e-4f);
  auto h = StampedTemplate();
  // 1e-4f x 1e6 = 99.99999747 -> 100.0f; 100 x 6 samples / 1e6 = 0.0006 s.
  DescribeRecording(h, 6, 100.0f, 0.0006f);
  // -2, 2, 4, 1, 6, 3.00003 pA: |max| 6 > |min| 2, so the range is 2, the scale
  // factor (10.24 / 2) / 2 = 2.56 and a count v x 32768 x 2.56 / 10.24 - 1 = v x 8192 - 1:
  // -16385, 16383, 32767, 8191, 49151 overflows -> 0, 24576.22 - 1 -> 24575.
  DescribeChannel(h, 0, "pA", 2.56f);
  EXPECT_EQ(Convert(f, source), AbfImage(h, {-16385, 16383, 32767, 8191, 0, 24575}));
  EXPECT_TRUE(f.prompter.Busy());
}

TEST(Axograph, UntitledColumnsKeepTheFactorBeforeAndZeroRangeKeepsTheRecordsScale) {
  BenchFixture f;
  f.bench.TemplateHeader.Set(abf::fInstrumentScaleFactor, 0, 0.25f);
  f.bench.TemplateHeader.Set(abf::fInstrumentScaleFactor, 2, 0.5f);
  const auto source = AxographFile({{"Im (a)", {3.0f, -7.0f, 1.0f}},
                                    {"Vm (V)", {0.5f, -0.25f, 1.0f}},
                                    {"Stimulus monitor", {0.0f, 0.0078125f, 0.00390625f}}},
                                   3 * 0x1p-10f);
  auto h = StampedTemplate(f.bench.TemplateHeader);
  // 3 x 2^-10 s over 3 channels = 2^-10 s = 976.5625 us; x 9 / 1e6 = 0.0087890625 s.
  DescribeRecording(h, 9, 976.5625f, 0.0087890625f);
  h.Set(abf::nADCNumChannels, std::int16_t{3});
  // "(a)" is no unit and nothing comes before: factor 0, every value 0, range 0,
  // so the record's 0.25 stays and each count is -1. The unit is the title's first 8.
  DescribeChannel(h, 0, "Im (a)  ", 0.25f);
  // 500, -250, 1000 mV: range 250, factor 0.02048, count v x 65.536 - 1:
  // 32767, -16385, 65535 overflows -> 0.
  DescribeChannel(h, 1, "mV", 0.02048f);
  // Still x 1000: 0, 7.8125, 3.90625 mV: min 0 makes the range 0, the record's 0.5
  // stays; count = v x 32768 x 0.5 / 10.24 - 1 = v x 1600 - 1: -1, 12499, 6249.
  DescribeChannel(h, 2, "Stimulus", 0.5f);
  EXPECT_EQ(Convert(f, source), AbfImage(h, {-1, 32767, -1, -1, -16385, 12499, -1, 0, 6249}));
}

TEST(Axograph, ChannelsPastSixteenAreCountedButLeftZero) {
  BenchFixture f;
  std::vector<AxographSignal> signals(17, {"Vm (V)", {0.5f, -0.25f}});
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
  EXPECT_EQ(Convert(f, AxographFile(signals, 17 * 0x1p-14f)), AbfImage(h, samples));
}

// Long enough for runs of frames on several cores: each run's samples must
// land at its own frames, interleaved as in one pass.
TEST(Axograph, LongRecordingsInterleaveEveryFrameInItsPlace) {
  BenchFixture f;
  constexpr std::size_t kFrames = 2'200'000;  // 17.6 MB of values: two runs on two cores
  AxographSignal fifths{"Vm (V)", std::vector<float>(kFrames)};
  AxographSignal thirds{"Vc (V)", std::vector<float>(kFrames)};
  for (std::size_t i = 0; i < kFrames; ++i) {
    fifths.values[i] = 0.125f * static_cast<float>(static_cast<int>(i % 5) - 2);
    thirds.values[i] = 0.25f * static_cast<float>(static_cast<int>(i % 3) - 1);
  }
  auto h = StampedTemplate();
  // 2 x 2^-14 s over 2 channels = 61.03515625 us; 4.4e6 samples x 2^-14 s = 268.5546875 s.
  DescribeRecording(h, 2 * kFrames, 61.03515625f, 268.5546875f);
  h.Set(abf::nADCNumChannels, std::int16_t{2});
  // Both span -250 to 250 mV: factor 0.02048, count v x 65.536 - 1.
  for (std::size_t k : {0u, 1u}) DescribeChannel(h, k, "mV", 0.02048f);
  const std::int16_t byFifth[] = {-16385, -8193, -1, 8191, 16383};
  const std::int16_t byThird[] = {-16385, -1, 16383};
  std::vector<std::int16_t> samples;
  for (std::size_t i = 0; i < kFrames; ++i) {
    samples.push_back(byFifth[i % 5]);
    samples.push_back(byThird[i % 3]);
  }
  EXPECT_EQ(Convert(f, AxographFile({fifths, thirds}, 2 * 0x1p-14f)), AbfImage(h, samples));
}

TEST(Axograph, RefusalsAndErrorsWriteNothingAndLeaveTheRecord) {
  BenchFixture f;
  // Bytes 01 00 (version 1 written little-endian) read as 256: a message, no error.
  f.Select("cell.axg", AxographFile({{"Vm (V)", {1.0f, 2.0f}}}, 1e-4f, 256));
  ConvertAxGr(f.bench);
  EXPECT_EQ(f.prompter.Transcript(), std::vector<std::string>{kRefusal});
  auto cut = AxographFile({{"Vm (V)", {1.0f, 2.0f}}, {"Im (A)", {1.0f, 2.0f}}}, 1e-4f);
  cut.pop_back();
  ExpectError(f, ConvertAxGr, "cell.axg", cut);
}

TEST(Axograph, SampleFilesOfLaterVersionsAreRefused) {
  const auto folder = SamplesFolder();
  if (folder.empty()) GTEST_SKIP() << "no folder of sample files written by other software";
  int seen = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder / "axograph")) {
    BenchFixture f;
    f.Select("sample.axg", ReadFile(entry.path()));
    ConvertAxGr(f.bench);
    EXPECT_EQ(f.prompter.Transcript(), std::vector<std::string>{kRefusal}) << entry.path();
    EXPECT_TRUE(f.bench.List1.Entries().empty());
    ++seen;
  }
  EXPECT_EQ(seen, 2);
}

}  // namespace
}  // namespace convora::test
