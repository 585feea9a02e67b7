#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <span>
#include <vector>

#include "abf/ConvoraError.h"
#include "support/TestSupport.h"
#include "tools/PreviewEnvelope.h"

namespace convora {
namespace {

using test::TempDir;

// Counts read as their own values (over fInstrumentScaleFactor), 100 us apart.
std::filesystem::path WriteAbf(const TempDir& dir, AbfHeader h,
                               const std::vector<std::int16_t>& samples,
                               const std::function<void(AbfHeader&)>& spoil = {}) {
  h.Set(abf::lActualAcqLength, static_cast<std::int32_t>(samples.size()));
  if (spoil) spoil(h);
  const auto path = dir / "rec.abf";
  test::WriteFile(path, test::AbfBytes(h, samples));
  return path;
}

std::vector<double> Columns(std::span<const double> columns) {
  return {columns.begin(), columns.end()};
}

// Position 0 samples physical channel 1 (count / 2 + 1 + 0.5 mV), position 1
// channel 0 (x -1: the largest count is the smallest value). Eight scans in
// two columns and a partial ninth, which is not drawn.
TEST(PreviewEnvelopeTest, ChannelsFollowTheSamplingSequenceInPhysicalUnits) {
  TempDir dir;
  AbfHeader h = test::PlainAbfHeader(2);
  h.Set(abf::nADCSamplingSeq, 0, std::int16_t{1});
  h.Set(abf::nADCSamplingSeq, 1, std::int16_t{0});
  h.Set(abf::fInstrumentScaleFactor, 1, 2.0f);
  h.Set(abf::fSignalOffset, 1, 1.0f);
  h.Set(abf::fInstrumentOffset, 1, 0.5f);
  h.Set(abf::sADCUnits, 1, "mV");
  h.Set(abf::sADCChannelName, 1, "Vm");
  h.Set(abf::fInstrumentScaleFactor, 0, -1.0f);
  const auto path = WriteAbf(dir, h, {0, 1, 10, 4, -5, 3, 3, -2, 7, -6, 7, 5, -20, 0, 1, 2, 100});

  const PreviewEnvelope e = ComputePreviewEnvelope(path, 2);
  EXPECT_EQ(e.scans, 8);
  ASSERT_EQ(e.columns, 2u);
  ASSERT_EQ(e.channels.size(), 2u);
  EXPECT_EQ(e.channels[0].unit, "mV");
  EXPECT_EQ(e.channels[0].name, "Vm");
  EXPECT_EQ(e.channels[0].minimum, (std::vector<double>{-1.0, -8.5}));  // -5, -20
  EXPECT_EQ(e.channels[0].maximum, (std::vector<double>{6.5, 5.0}));    // 10, 7
  EXPECT_EQ(e.channels[1].unit, "pA");
  EXPECT_EQ(e.channels[1].minimum, (std::vector<double>{-4, -5}));
  EXPECT_EQ(e.channels[1].maximum, (std::vector<double>{2, 6}));
  EXPECT_DOUBLE_EQ(e.secondsPerScan, 2 * 100e-6);  // one scan takes both channels' intervals
  EXPECT_FALSE(e.sampled);
}

// 10000 scans of the value of their index, in 7 columns starting at
// floor(c x 10000 / 7): 0, 1428, 2857, 4285, 5714, 7142, 8571. Read whole, the
// read goes in chunks of 4096 scans, so columns 2 and 5 straddle chunk ends;
// with 140 bytes to read for 7 columns, each column is a window of its first
// 10 two-byte scans.
TEST(PreviewEnvelopeTest, EveryScanCountsOnceAcrossChunksOrWindowsStartEachColumn) {
  constexpr std::int64_t kStarts[] = {0, 1428, 2857, 4285, 5714, 7142, 8571, 10000};
  TempDir dir;
  const auto path = WriteAbf(dir, test::PlainAbfHeader(1), test::Ramp(10000));
  for (const bool sampled : {false, true}) {
    const PreviewEnvelope e = ComputePreviewEnvelope(path, 7, {}, sampled ? 140 : 1 << 20);
    EXPECT_EQ(e.sampled, sampled);
    ASSERT_EQ(e.columns, 7u);
    for (std::size_t c = 0; c < 7; ++c) {
      EXPECT_EQ(e.channels[0].minimum[c], kStarts[c]) << "column " << c << ", " << sampled;
      EXPECT_EQ(e.channels[0].maximum[c], sampled ? kStarts[c] + 9 : kStarts[c + 1] - 1)
          << "column " << c << ", " << sampled;
    }
  }
}

// 10000 scans of their index: a stretch is clipped to the recording, and its
// columns cover only it, never more of them than it has scans. Without a
// usable interval the axis stays in scans.
TEST(PreviewEnvelopeTest, ARangeReadsOnlyItsStretch) {
  TempDir dir;
  AbfHeader h = test::PlainAbfHeader(1);
  h.Set(abf::fADCSampleInterval, 0.0f);
  const auto path = WriteAbf(dir, h, test::Ramp(10000));
  const PreviewEnvelope zoom =
      ComputePreviewEnvelope(path, 800, {.firstScan = 5000, .scanCount = 10});
  EXPECT_EQ(zoom.scans, 10000);
  EXPECT_EQ(zoom.firstScan, 5000);
  ASSERT_EQ(zoom.columns, 10u);
  EXPECT_EQ(zoom.channels[0].minimum, zoom.channels[0].maximum);
  EXPECT_EQ(zoom.channels[0].minimum.front(), 5000);
  EXPECT_EQ(zoom.channels[0].maximum.back(), 5009);
  EXPECT_EQ(zoom.secondsPerScan, 0.0);

  const PreviewEnvelope tail =
      ComputePreviewEnvelope(path, 4, {.firstScan = 9990, .scanCount = 50});
  EXPECT_EQ(tail.scanCount, 10);
  EXPECT_EQ(tail.ColumnStart(1), 9992);
  EXPECT_EQ(tail.channels[0].maximum, (std::vector<double>{9991, 9994, 9996, 9999}));

  const PreviewEnvelope none =
      ComputePreviewEnvelope(WriteAbf(dir, test::PlainAbfHeader(1), {}), 800);
  EXPECT_EQ(none.columns, 0u);
  ASSERT_EQ(none.channels.size(), 1u);
  EXPECT_TRUE(none.channels[0].minimum.empty());
}

// Three sweeps of 4 two-channel scans and a fourth cut short: each sweep is
// its own trace on an axis of 4 scans.
TEST(PreviewEnvelopeTest, SweepsShareOneAxisAndCanBeReadAlone) {
  TempDir dir;
  AbfHeader h = test::EpisodicAbfHeader(2, 8, 4);
  h.Set(abf::sADCChannelName, 1, "Im  ");
  // Channel 0 counts scans from 0 over the file, channel 1 is 10 x the sweep.
  std::vector<std::int16_t> samples;
  for (std::int16_t scan = 0; scan < 14; ++scan)
    samples.insert(samples.end(), {scan, std::int16_t(scan / 4 * 10)});
  const auto path = WriteAbf(dir, h, samples);

  const PreviewEnvelope all = ComputePreviewEnvelope(path, 2);
  EXPECT_TRUE(all.Episodic());
  EXPECT_EQ(all.scans, 4);
  EXPECT_EQ(all.sweepCount, 3);
  EXPECT_EQ(all.sweeps, (std::vector<std::int32_t>{0, 1, 2}));
  EXPECT_EQ(all.channels[1].name, "Im");
  ASSERT_EQ(all.channels[0].minimum.size(), 6u);
  EXPECT_EQ(Columns(all.Minimum(0, 2)), (std::vector<double>{8, 10}));
  EXPECT_EQ(Columns(all.Maximum(1, 1)), (std::vector<double>{10, 10}));

  const PreviewEnvelope one =
      ComputePreviewEnvelope(path, 10, {.firstScan = 1, .scanCount = 2, .sweep = 1});
  EXPECT_EQ(one.sweeps, (std::vector<std::int32_t>{1}));
  EXPECT_EQ(one.channels[0].minimum, (std::vector<double>{5, 6}));
  EXPECT_THROW(ComputePreviewEnvelope(path, 10, {.sweep = 3}), ConvoraError);
}

TEST(PreviewEnvelopeTest, ThousandsOfSweepsAreThinnedToTheColumnBudget) {
  TempDir dir;
  const PreviewEnvelope e = ComputePreviewEnvelope(
      WriteAbf(dir, test::EpisodicAbfHeader(1, 1000, 600), std::vector<std::int16_t>(600000)),
      1000);
  const auto drawn = static_cast<std::size_t>(kPreviewMaxTraceColumns / 1000);
  ASSERT_EQ(e.sweeps.size(), drawn);
  EXPECT_EQ(e.channels[0].minimum.size(), drawn * 1000);
  EXPECT_EQ(e.sweeps.front(), 0);
  EXPECT_TRUE(std::adjacent_find(e.sweeps.begin(), e.sweeps.end(), std::greater_equal<>()) ==
              e.sweeps.end());
  EXPECT_LT(e.sweeps.back(), 600);
}

// A two-channel file of 4 samples, spoiled once the sample count is set.
TEST(PreviewEnvelopeTest, ThrowsForAHeaderThatDoesNotFitTheFile) {
  using Spoil = void (*)(AbfHeader&);
  const std::pair<const char*, Spoil> spoils[] = {
      {"not ABF", [](AbfHeader& h) { h.Set(abf::lFileSignature, "ABFX"); }},
      {"float data", [](AbfHeader& h) { h.Set(abf::nDataFormat, std::int16_t{1}); }},
      {"no channel", [](AbfHeader& h) { h.Set(abf::nADCNumChannels, std::int16_t{0}); }},
      {"17 channels", [](AbfHeader& h) { h.Set(abf::nADCNumChannels, std::int16_t{17}); }},
      {"data past the end", [](AbfHeader& h) { h.Set(abf::lDataSectionPtr, 13); }},
      {"more samples than held", [](AbfHeader& h) { h.Set(abf::lActualAcqLength, 5); }},
      {"negative data block", [](AbfHeader& h) { h.Set(abf::lDataSectionPtr, -1); }},
      {"unknown channel", [](AbfHeader& h) { h.Set(abf::nADCSamplingSeq, 1, std::int16_t{16}); }},
      // A zero gain makes the multiplier infinite, a zero range makes it 0.
      {"zero gain", [](AbfHeader& h) { h.Set(abf::fInstrumentScaleFactor, 1, 0.0f); }},
      {"zero range", [](AbfHeader& h) { h.Set(abf::fADCRange, 0.0f); }},
      // Episodic: sweeps of 3 samples split a scan; sweeps of 3 scans exceed the file.
      {"sweep splits a scan",
       [](AbfHeader& h) {
         h.Set(abf::nOperationMode, std::int16_t{5});
         h.Set(abf::lNumSamplesPerEpisode, 3);
       }},
      {"no whole sweep", [](AbfHeader& h) {
         h.Set(abf::nOperationMode, std::int16_t{2});
         h.Set(abf::lNumSamplesPerEpisode, 6);
       }}};
  TempDir dir;
  for (const auto& [what, spoil] : spoils) {
    EXPECT_THROW(ComputePreviewEnvelope(WriteAbf(dir, test::PlainAbfHeader(2), {1, 2, 3, 4}, spoil),
                                        10),
                 ConvoraError)
        << what;
  }
}

}  // namespace
}  // namespace convora
