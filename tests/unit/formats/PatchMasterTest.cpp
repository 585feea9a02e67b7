#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/patchmaster/PatchMaster.h"
#include "support/ExpectedAbf.h"

// Small PatchMaster bundles laid out as the maker's notes describe them: a
// 256-byte little-endian bundle header whose items are the raw data (.dat)
// and the pulsed tree (.pul); the tree's five levels (root, group, series,
// sweep, trace) with record sizes of the tree's own choosing, each record
// followed by its child count.

namespace convora {
namespace {

struct TraceSpec {
  std::string label = "I-mon";
  std::string unit = "A";
  std::uint8_t format = 0;  // int16, int32, float32, float64
  double scaler = 1e-12;
  double interval = 1e-4;
  std::vector<double> values = {1, -2, 3};
  std::int32_t offset = 0;  // where the samples are, when not where they were written
};
struct SeriesSpec {
  std::string label;
  std::vector<std::vector<TraceSpec>> sweeps;
  std::int32_t claimedSweeps = -1;  // the child count, when not the sweeps there are
  double time = 0;  // on PatchMaster's clock: seconds from 1904 plus 1580970496
};

constexpr std::int32_t kTraceBytes = 128;
constexpr std::int32_t kSizes[] = {16, 64, 144, 56, kTraceBytes};

test::Bytes Make(const std::vector<SeriesSpec>& series, std::int32_t levels = 5) {
  test::ByteBuilder data, tree;
  tree.Text("eerT").Int32LE(levels);
  for (std::int32_t size : kSizes) tree.Int32LE(size);
  const auto record = [&](std::int32_t size, std::string_view label, std::int32_t children) {
    const std::size_t at = tree.Size();
    tree.Int32LE(0).Text(label).PadTo(at + static_cast<std::size_t>(size)).Int32LE(children);
  };
  record(kSizes[0], "", 1);
  record(kSizes[1], "G1", static_cast<std::int32_t>(series.size()));
  for (const SeriesSpec& s : series) {
    const std::size_t at = tree.Size();
    tree.Int32LE(0).Text(s.label).PadTo(at + 136).DoubleLE(s.time).PadTo(at + kSizes[2]);
    tree.Int32LE(s.claimedSweeps < 0 ? static_cast<std::int32_t>(s.sweeps.size()) : s.claimedSweeps);
    for (const auto& sweep : s.sweeps) {
      record(kSizes[3], "", static_cast<std::int32_t>(sweep.size()));
      for (const TraceSpec& t : sweep) {
        const auto at = static_cast<std::int32_t>(256 + data.Size());
        for (double v : t.values) {
          if (t.format == 0) data.Int16LE(static_cast<std::int16_t>(v));
          if (t.format == 1) data.Int32LE(static_cast<std::int32_t>(v));
          if (t.format == 2) data.FloatLE(static_cast<float>(v));
          if (t.format == 3) data.DoubleLE(v);
        }
        const std::size_t start = tree.Size();
        tree.Int32LE(0).Text(t.label, 36).Int32LE(t.offset ? t.offset : at);
        tree.Int32LE(static_cast<std::int32_t>(t.values.size())).PadTo(start + 64).Int16LE(1);
        tree.PadTo(start + 70).Raw({t.format, 0}).DoubleLE(t.scaler).PadTo(start + 96);
        tree.Text(t.unit, 8).DoubleLE(t.interval).PadTo(start + kTraceBytes).Int32LE(0);
      }
    }
  }
  const auto dataBytes = static_cast<std::int32_t>(data.Size());
  test::ByteBuilder b;
  b.Text("DAT2").PadTo(8).Text("v2x90").PadTo(48).Int32LE(2).Raw({1}).PadTo(64);
  b.Int32LE(256).Int32LE(dataBytes).Text(".dat", 8);
  b.Int32LE(256 + dataBytes).Int32LE(static_cast<std::int32_t>(tree.Size())).Text(".pul", 8);
  return b.PadTo(256).Raw(data.Get()).Raw(tree.Get()).Get();
}

struct PatchMasterTest : testing::Test {
  test::BenchFixture f;
  void Convert(const std::vector<SeriesSpec>& series) {
    f.Select("cell.dat", Make(series));
    ConvertPatchMaster(f.bench);
  }
};

// Series 1: two sweeps of an int16 current (counts kept, 1 pA a count) and a
// float32 voltage (scaled: 20 mV, the larger magnitude, lands at 16384).
// Series 2: one sweep of an int32 trace, scaled alike.
TEST_F(PatchMasterTest, EachSeriesIsAFileOfItsSweepsAndTraces) {
  const TraceSpec volts{"V-mon", "V", 2, 1.0, 1e-4, {0.01, -0.02, 0.005}};
  // 1904 is a leap year: 366 days and 3661 s on, 1905-01-01 01:01:01.
  const double started = 1580970496.0 + 366 * 86400 + 3661.5;
  Convert({{"IV", {{{}, volts}, {{.values = {4, 5, 6}}, volts}}, -1, started},
           {"ramp", {{{"Ramp", "V", 1, 1e-3, 2e-5, {100, -400, 0}}}}}});
  const test::Bytes first = test::ReadFile(f.dir / "cell.ABF");
  const AbfHeader h = test::HeaderOf(first);
  EXPECT_EQ(h.Get(abf::lActualEpisodes), 2);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 2);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 50.0f);
  EXPECT_EQ(h.Get(abf::lFileStartDate), 19050101);
  EXPECT_EQ(h.Get(abf::lFileStartTime), 3661);
  EXPECT_EQ(h.Get(abf::sADCChannelName, 1), "V-mon     ");
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "mV      ");
  EXPECT_EQ(h.Get(abf::sFileComment).substr(0, 10), "G1 / IV   ");
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), static_cast<float>(10.0 / 32768));
  EXPECT_EQ(test::SamplesOf(first, 12),
            (std::vector<std::int16_t>{1, 8192, -2, -16384, 3, 4096, 4, 8192, 5, -16384, 6, 4096}));

  const test::Bytes second = test::ReadFile(f.dir / "cell_2.ABF");
  const AbfHeader h2 = test::HeaderOf(second);
  EXPECT_EQ(h2.Get(abf::nOperationMode), 3);
  EXPECT_EQ(h2.Get(abf::fADCSampleInterval), 20.0f);
  EXPECT_EQ(h2.Get(abf::sFileComment).substr(0, 10), "G1 / ramp ");
  EXPECT_EQ(test::SamplesOf(second, 3), (std::vector<std::int16_t>{4096, -16384, 0}));
  EXPECT_TRUE(f.prompter.Transcript().empty());
}

TEST_F(PatchMasterTest, ShortSweepsArePaddedAndSlowerTracesNamed) {
  const TraceSpec slow{"Temp", "V", 0, 1e-3, 1e-3, {7, 7}};
  Convert({{"steps", {{{}, slow}, {{.values = {8, 9}}, slow}}}});
  EXPECT_EQ(f.prompter.Transcript(),
            (std::vector<std::string>{
                test::Notice(f.dir / "cell.dat",
                             "series 1 (steps): left out, for being sampled at another rate: Temp"),
                test::Notice(f.dir / "cell.dat",
                             "series 1 (steps): its traces differ in length; each sweep is padded "
                             "with zeros to the longest, 3 points")}));
  const test::Bytes file = test::ReadFile(f.dir / "cell.ABF");
  EXPECT_EQ(test::HeaderOf(file).Get(abf::lNumSamplesPerEpisode), 3);
  EXPECT_EQ(test::SamplesOf(file, 6), (std::vector<std::int16_t>{1, -2, 3, 8, 9, 0}));
}

TEST_F(PatchMasterTest, BrokenTreesAreRefusedByName) {
  test::ExpectErrors(f, ConvertPatchMaster, "cell.dat", {
      {Make({{"s", {{{.offset = 1 << 30}}}}}), "samples of trace 1 of sweep 1 of series 1"},
      {Make({{"s", {{{}}}, 100000}}), "counts 100000 children"},
      {Make({{"s", {{{}}}}}, 3), "3 levels"},
      {Make({{"s", {{{.format = 7}}}}}), "data format 7"},
      {Make({{"s", {{{}}, {{}, {}}}}}), "one more than the first sweep holds"},
      {Make({{"s", {{{.interval = 0}}}}}), "no sample interval"},
      {Make({{"s", {}}}), "no series with samples"},
  });
}

}  // namespace
}  // namespace convora
