#include <gtest/gtest.h>

#include "support/ExpectedAbf.h"
#include "tools/AbfTools.h"

namespace convora {
namespace {

using test::Bytes;

void ExpectRescaledGains(AbfHeader& h, std::size_t channel, float scale, float offset) {
  h.Set(abf::fADCProgrammableGain, channel, 1.0f);
  h.Set(abf::fInstrumentScaleFactor, channel, scale);
  h.Set(abf::fInstrumentOffset, channel, 0.0f);
  h.Set(abf::fSignalGain, channel, 1.0f);
  h.Set(abf::fSignalOffset, channel, offset);
}

class DownscaleTest : public ::testing::Test {
 protected:
  test::BenchFixture f;
};

TEST_F(DownscaleTest, ANegativePeakLandsAtHalfScaleAndTheSourceIsRewrittenInPlace) {
  // The peak is the larger magnitude, here the negative one (a larger positive
  // one is the next test's): |-8000| x 10 / 32768 = 2.44140625 V, so scale
  // 10 / 2.44140625 / 2 = 2.048; -8000 -> -2.44140625 x 32768 / 10 x 2.048 =
  // -16384, 2000 -> 4096, 1 -> 2.048 -> 2, 3 -> 6.144 -> 6.
  AbfHeader h = test::AbfToEdit(4);
  const Bytes before = test::AbfImage(h, {2000, -8000, 1, 3}, Bytes(8192 + 8 + 30, 0x3D));
  f.Select("cell.abf", before);
  DownscaleAbfFile(f.bench);  // the default output is the source itself

  ExpectRescaledGains(h, 0, 2.048f, 0.0f);
  EXPECT_EQ(test::ReadFile(f.bench.SelectedFilePath),
            test::AbfImage(h, {4096, -16384, 2, 6}, before));
  EXPECT_EQ(f.prompter.Transcript(),
            std::vector<std::string>{"File Nmae: Please enter the name of new data file."});
}

TEST_F(DownscaleTest, EachChannelScalesByItsOwnPeakThroughTheSamplingSequence) {
  // Position 0 samples physical 1 (gains 2 x 0.5 x 4 = 4, offsets 0.25 + 0.5),
  // position 1 physical 0 (unit gains). Range 10 V in 32768 counts.
  AbfHeader h = test::AbfToEdit(7, 2);
  h.Set(abf::nADCSamplingSeq, 0, std::int16_t{1});
  h.Set(abf::nADCSamplingSeq, 1, std::int16_t{0});
  h.Set(abf::fADCProgrammableGain, 1, 2.0f);
  h.Set(abf::fInstrumentScaleFactor, 1, 0.5f);
  h.Set(abf::fSignalGain, 1, 4.0f);
  h.Set(abf::fSignalOffset, 1, 0.25f);
  h.Set(abf::fInstrumentOffset, 1, 0.5f);
  // Position 0: -16384 -> -16384/4 x 10/32768 + 0.75 = -0.5 V and 16384 -> 2 V:
  //   the positive extreme is larger: scale 10 / 2 / 2 = 2.5;
  //   -16384 -> -0.5 x 3276.8 x 2.5 = -4096, 16384 -> 16384, 0 -> 0.75 x 8192 = 6144.
  // Position 1: 3276 and -3276 -> +-0.999755859375 V, a tie: the positive one;
  //   scale 5 / 0.999755859375 = 5.001221 (float); 3276 -> 16384, -3276 -> -16384.
  // The seventh sample is an incomplete scan, left as it was.
  const Bytes source = test::AbfImage(h, {-16384, 3276, 16384, -3276, 0, 0, 1234});
  f.Select("two.abf", source);
  f.prompter.AnswerInput("output", (f.dir / "scaled.abf").string());
  DownscaleAbfFile(f.bench);

  ExpectRescaledGains(h, 1, 2.5f, 0.75f);
  ExpectRescaledGains(h, 0, 5.0f / 0.999755859375f, 0.0f);
  EXPECT_EQ(test::ReadFile(f.dir / "scaled.abf"),
            test::AbfImage(h, {-4096, 16384, 16384, -16384, 6144, 0}));
  EXPECT_EQ(test::ReadFile(f.bench.SelectedFilePath), source);
}

TEST_F(DownscaleTest, WhatCannotBeScaledWritesNothing) {
  const Bytes silent = test::AbfImage(test::AbfToEdit(3), {0, 0, 0});
  f.Select("silent.abf", silent);
  EXPECT_THROW(DownscaleAbfFile(f.bench), ConvoraError);  // a peak of 0
  EXPECT_EQ(test::ReadFile(f.bench.SelectedFilePath), silent);

  AbfHeader noGain = test::AbfToEdit(3);
  noGain.Set(abf::fSignalGain, 0, 0.0f);
  f.Select("nogain.abf", test::AbfImage(noGain, {1, 2, 3}));
  EXPECT_THROW(DownscaleAbfFile(f.bench), ConvoraError);

  f.Select("fine.abf", test::AbfImage(test::AbfToEdit(3), {1, 2, 3}));
  f.prompter.AnswerInput("output", "");
  EXPECT_THROW(DownscaleAbfFile(f.bench), ConvoraError);  // no output name
  EXPECT_TRUE(f.bench.List1.Entries().empty());
  EXPECT_EQ(test::EntriesIn(f.dir.Path()), 3);
}

}  // namespace
}  // namespace convora
