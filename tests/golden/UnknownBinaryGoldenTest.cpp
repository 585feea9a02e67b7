// Raw binary conversions compared byte for byte with hand-built expectations.

#include <gtest/gtest.h>

#include <limits>

#include "abf/TemplateFile.h"
#include "generic/UnknownBinary.h"
#include "support/ExpectedAbf.h"

namespace convora::test {
namespace {

// The header an integer conversion with default settings writes for `samples`
// samples: interval 200 us, range 10 V, resolution 32768, one pA channel scaled by 0.001.
AbfHeader DefaultIntegerHeader(std::int32_t samples, AbfHeader base = BuildDefaultTemplate()) {
  AbfHeader h = StampedTemplate(base);
  DescribeRecording(h, samples, 200.0f, static_cast<float>(samples * 200.0 / 1e6), 10.0f);
  h.Set(abf::nADCNumChannels, std::int16_t{1});
  DescribeChannel(h, 0, "pA", 0.001f);
  return h;
}

class UnknownBinaryTest : public ::testing::Test {
 protected:
  Bytes Convert(const std::string& name, const Bytes& source, const BinarySettings& settings) {
    return Converted(fixture, [&](Workbench& b) { ConvertUnknownBinary(b, settings); }, name,
                     source);
  }

  BenchFixture fixture;
};

TEST_F(UnknownBinaryTest, IntegerBlockIsCopiedFromTheByteLocationWithoutAHalfSample) {
  const Bytes source = Counting(1000);
  // Location 1: Int((1000 - 1) / 2) = 499 samples from byte 1. Location 1.5 reads from
  // the rounded 1-based position 1.5 + 1 = 2.5 -> 2, so from byte 1 too. Each output
  // is written over the one before, which is not shortened: its last 2 bytes stay.
  Bytes image;
  for (const auto& [location, samples] :
       {std::pair{"0", 500}, std::pair{"1", 499}, std::pair{"1.5", 499}}) {
    const auto from = source.begin() + (samples == 500 ? 0 : 1);
    image = RawAbfImage(DefaultIntegerHeader(samples), Bytes(from, from + 2 * samples), image);
    EXPECT_EQ(Convert("rec.dat", source, {.byteLocation = location}), image) << location;
  }
  EXPECT_FALSE(fixture.prompter.Busy());  // the pointer is back to the arrow
}

TEST_F(UnknownBinaryTest, SeveralChannelsSetTheSequenceButCalibrateOnlyTheFirst) {
  AbfHeader expected = DefaultIntegerHeader(4);
  DescribeRecording(expected, 4, 50.0f, static_cast<float>(4 * 50.0 / 1e6), 5.0f, 2048);
  expected.Set(abf::nADCNumChannels, std::int16_t{2});
  expected.Set(abf::nADCSamplingSeq, 1, std::int16_t{1});
  expected.Set(abf::sADCUnits, 0, "mV");
  expected.Set(abf::fInstrumentScaleFactor, 0, 0.02f);
  // Entry 1 keeps the template's "pA" and 1.0. Bytes i x 13 + 5 (5, 18, 31, ...) are
  // copied with each pair swapped.
  EXPECT_EQ(Convert("pair.dat", Counting(8),
                    {.sampleInterval = "50", .adcRange = "5", .adcResolution = "2048",
                     .unit = "mV", .scaleFactor = "0.02", .channels = "2", .swapBytes = true}),
            RawAbfImage(expected, {18, 5, 44, 31, 70, 57, 96, 83}));
}

TEST_F(UnknownBinaryTest, FloatsAreScaledSoTheirPeakSitsAtHalfScale) {
  // All zero: the peak of 0 cannot divide, so the typed factor stays; each sample 0 - 1.
  const Bytes zeros = Convert("z.dat", Bytes(8, 0), {.scaleFactor = "0.25", .floatingPoint = true});
  EXPECT_EQ(HeaderOf(zeros).Get(abf::fInstrumentScaleFactor, 0), 0.25f);
  EXPECT_EQ(SamplesOf(zeros, 2), (std::vector<std::int16_t>{-1, -1}));
  // No whole float at all: still the float range and resolution, the typed factor.
  const AbfHeader empty = HeaderOf(Convert(
      "e.dat", Bytes(3, 9), {.adcRange = "5", .adcResolution = "2048", .floatingPoint = true}));
  EXPECT_EQ(empty.Get(abf::lActualAcqLength), 0);
  EXPECT_EQ(empty.Get(abf::fADCRange), 10.24f);
  EXPECT_EQ(empty.Get(abf::lADCResolution), 32768);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  ByteBuilder source;
  for (const float v : {-4.0f, 1.0f, 0.0f, 2.0f, 0.5f, nan}) source.FloatBE(v);
  AbfHeader expected = DefaultIntegerHeader(6);
  expected.Set(abf::fADCRange, 10.24f);
  expected.Set(abf::fInstrumentScaleFactor, 0, 1.28f);  // peak 4: (10.24 / 4) / 2
  // value x 32768 x 1.28 / 10.24 - 1 = value x 4096 - 1; the NaN moves neither
  // extreme and its sample stays 0.
  EXPECT_EQ(Convert("f.dat", source.Get(), {.swapBytes = true, .floatingPoint = true}),
            AbfImage(expected, {-16385, 4095, -1, 8191, 2047, 0}));
}

TEST_F(UnknownBinaryTest, TemplateDecidesTheDataStartAndFieldsCarryToTheNextConversion) {
  const AbfHeader patterned = PatternedTemplate();
  fixture.bench.TemplateHeader = patterned;
  Convert("a.dat", Counting(8), {.channels = "2"});
  // One channel now, but slot 1 of the sequence stays as the first conversion set it.
  AbfHeader expected = DefaultIntegerHeader(3, patterned);
  expected.Set(abf::nADCSamplingSeq, 1, std::int16_t{1});
  // Samples at 16 x 512 = 8192; bytes 6144 to 8191 are never written.
  EXPECT_EQ(Convert("b.dat", Counting(6), {}), RawAbfImage(expected, Counting(6)));
}

TEST_F(UnknownBinaryTest, ByteLocationOutsideTheFileEndsWithNothingWritten) {
  for (const char* location : {"11", "-2"}) {
    const auto convert = [&](Workbench& b) { ConvertUnknownBinary(b, {.byteLocation = location}); };
    ExpectError(fixture, convert, "ten.dat", Bytes(10, 1), "byte location");
  }
}

}  // namespace
}  // namespace convora::test
