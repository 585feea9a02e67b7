// Raw binary conversions compared byte for byte with hand-built expectations.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"
#include "generic/UnknownBinary.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::Bytes;
using test::ByteBuilder;

// The header every integer-mode conversion with default settings writes, for
// `samples` samples: interval 200 us, range 10 V, resolution 32768, one pA
// channel scaled by 0.001.
AbfHeader DefaultIntegerHeader(std::int32_t samples, AbfHeader base = BuildDefaultTemplate()) {
  AbfHeader h = test::StampedTemplate(base);
  h.Set(abf::lActualAcqLength, samples);
  h.Set(abf::fADCSampleInterval, 200.0f);
  h.Set(abf::fSecondsPerRun, static_cast<float>(samples * 200.0 / 1e6));
  h.Set(abf::fADCRange, 10.0f);
  h.Set(abf::lADCResolution, 32768);
  h.Set(abf::nADCNumChannels, std::int16_t{1});
  h.Set(abf::nADCSamplingSeq, 0, std::int16_t{0});
  h.Set(abf::sADCUnits, 0, "pA");
  h.Set(abf::fADCProgrammableGain, 0, 1.0f);
  h.Set(abf::fInstrumentScaleFactor, 0, 0.001f);
  h.Set(abf::fInstrumentOffset, 0, 0.0f);
  h.Set(abf::fSignalGain, 0, 1.0f);
  h.Set(abf::fSignalOffset, 0, 0.0f);
  return h;
}

// The whole file a conversion should write: header, then samples at the data start.
Bytes Image(const AbfHeader& header, const Bytes& sampleBytes) {
  Bytes image(header.Bytes().begin(), header.Bytes().end());
  image.resize(static_cast<std::size_t>(header.Get(abf::lDataSectionPtr)) * 512, 0);
  image.insert(image.end(), sampleBytes.begin(), sampleBytes.end());
  return image;
}

Bytes Counting(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 13 + 5);
  return bytes;
}

class UnknownBinaryTest : public ::testing::Test {
 protected:
  Bytes Convert(const std::string& name, const Bytes& source, const BinarySettings& settings) {
    fixture.Select(name, source);
    ConvertUnknownBinary(fixture.bench, settings);
    return test::ReadFile(OutputNameFor(fixture.bench.SelectedFilePath));
  }

  test::BenchFixture fixture;
};

TEST_F(UnknownBinaryTest, IntegerBlockIsCopiedBehindThePatchedTemplate) {
  const Bytes source = Counting(1000);
  const Bytes written = Convert("rec.dat", source, {});
  EXPECT_EQ(written, Image(DefaultIntegerHeader(500), source));
  EXPECT_EQ(fixture.bench.List1.Entries(),
            std::vector<std::filesystem::path>{fixture.dir / "rec.ABF"});
}

TEST_F(UnknownBinaryTest, OddByteLocationDropsTheHalfSampleAtTheEnd) {
  const Bytes source = Counting(1000);
  BinarySettings settings;
  settings.byteLocation = "1";
  // Int((1000 - 1) / 2) = 499 samples read from byte 1 on.
  EXPECT_EQ(Convert("rec.dat", source, settings),
            Image(DefaultIntegerHeader(499), Bytes(source.begin() + 1, source.end() - 1)));
  // A fractional location reads from the rounded 1-based position: 1.5 + 1 = 2.5 -> 2.
  settings.byteLocation = "1.5";
  EXPECT_EQ(Convert("rec.dat", source, settings),
            Image(DefaultIntegerHeader(499), Bytes(source.begin() + 1, source.end() - 1)));
}

TEST_F(UnknownBinaryTest, SwappingReadsBigEndianPairs) {
  BinarySettings settings;
  settings.swapBytes = true;
  const Bytes written = Convert("mac.dat", {0x01, 0x00, 0x80, 0x00}, settings);
  EXPECT_EQ(test::SamplesOf(written, 2), (std::vector<std::int16_t>{256, -32768}));
}

TEST_F(UnknownBinaryTest, SeveralChannelsSetTheSequenceButCalibrateOnlyTheFirst) {
  BinarySettings settings;
  settings.channels = "2";
  settings.unit = "mV";
  settings.scaleFactor = "0.02";
  settings.sampleInterval = "50";
  settings.adcRange = "5";
  settings.adcResolution = "2048";
  const Bytes source = Counting(8);
  AbfHeader expected = DefaultIntegerHeader(4);
  expected.Set(abf::fADCSampleInterval, 50.0f);
  expected.Set(abf::fSecondsPerRun, static_cast<float>(4 * 50.0 / 1e6));
  expected.Set(abf::fADCRange, 5.0f);
  expected.Set(abf::lADCResolution, 2048);
  expected.Set(abf::nADCNumChannels, std::int16_t{2});
  expected.Set(abf::nADCSamplingSeq, 1, std::int16_t{1});
  expected.Set(abf::sADCUnits, 0, "mV");
  expected.Set(abf::fInstrumentScaleFactor, 0, 0.02f);
  // Entry 1 keeps the template's "pA" and 1.0.
  EXPECT_EQ(Convert("pair.dat", source, settings), Image(expected, source));
}

TEST_F(UnknownBinaryTest, FloatsAreScaledSoTheirPeakSitsAtHalfScale) {
  BinarySettings settings;
  settings.floatingPoint = true;
  const Bytes source =
      ByteBuilder().FloatLE(2.0f).FloatLE(-2.0f).FloatLE(0.0f).FloatLE(1.0f).FloatLE(0.5f).Get();
  AbfHeader expected = DefaultIntegerHeader(5);
  expected.Set(abf::fADCRange, 10.24f);
  expected.Set(abf::lADCResolution, 32768);
  expected.Set(abf::fInstrumentScaleFactor, 0, 2.56f);  // (10.24 / 2) / 2
  // value x 32768 x 2.56 / 10.24 - 1 = value x 8192 - 1
  const Bytes samples =
      ByteBuilder().Int16LE(16383).Int16LE(-16385).Int16LE(-1).Int16LE(8191).Int16LE(4095).Get();
  EXPECT_EQ(Convert("f.dat", source, settings), Image(expected, samples));
}

TEST_F(UnknownBinaryTest, SwappedFloatsAreReversedBeforeScaling) {
  BinarySettings settings;
  settings.floatingPoint = true;
  settings.swapBytes = true;
  const Bytes written = Convert("f.dat", ByteBuilder().FloatBE(-4.0f).FloatBE(1.0f).Get(), settings);
  // peak 4: 10.24 / 4 / 2 = 1.28; value x 4096 - 1
  EXPECT_EQ(test::HeaderOf(written).Get(abf::fInstrumentScaleFactor, 0), 1.28f);
  EXPECT_EQ(test::SamplesOf(written, 2), (std::vector<std::int16_t>{-16385, 4095}));
}

TEST_F(UnknownBinaryTest, AllZeroFloatsKeepTheTypedScaleFactor) {
  BinarySettings settings;
  settings.floatingPoint = true;
  settings.scaleFactor = "0.25";
  const Bytes written = Convert("z.dat", Bytes(12, 0), settings);
  // The peak of 0 cannot divide, so the factor typed in the settings stays;
  // every sample is 0 x ... - 1.
  EXPECT_EQ(test::HeaderOf(written).Get(abf::fInstrumentScaleFactor, 0), 0.25f);
  EXPECT_EQ(test::SamplesOf(written, 3), (std::vector<std::int16_t>{-1, -1, -1}));
}

TEST_F(UnknownBinaryTest, ValueThatCannotBeScaledStaysZero) {
  BinarySettings settings;
  settings.floatingPoint = true;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const Bytes written = Convert("n.dat", ByteBuilder().FloatLE(1.0f).FloatLE(nan).Get(), settings);
  // The NaN moves neither extreme; peak 1 gives value x 16384 - 1.
  EXPECT_EQ(test::SamplesOf(written, 2), (std::vector<std::int16_t>{16383, 0}));
}

TEST_F(UnknownBinaryTest, TemplateDecidesTheDataStartAndItsOtherBytesTravel) {
  AbfHeader custom = BuildDefaultTemplate();
  for (std::size_t offset = 4400; offset < 4456; ++offset) custom.MutableBytes()[offset] = 0x5A;
  custom.Set(abf::lDataSectionPtr, 16);
  test::BenchFixture local(custom);
  const Bytes source = Counting(6);
  local.Select("rec.dat", source);
  ConvertUnknownBinary(local.bench, {});
  // Samples start at 16 x 512 = 8192; bytes 6144..8191 of a new file are never written.
  EXPECT_EQ(test::ReadFile(local.dir / "rec.ABF"), Image(DefaultIntegerHeader(3, custom), source));
}

TEST_F(UnknownBinaryTest, FieldsCarryOverToTheNextConversionOfTheRun) {
  BinarySettings two;
  two.channels = "2";
  Convert("a.dat", Counting(8), two);
  const Bytes written = Convert("b.dat", Counting(8), {});
  // The second conversion sets one channel but leaves slot 1 of the sequence
  // as the first conversion set it.
  const AbfHeader h = test::HeaderOf(written);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 1);
  EXPECT_EQ(h.Get(abf::nADCSamplingSeq, 1), 1);
}

TEST_F(UnknownBinaryTest, BadInputEndsWithAReasonAndWritesNothing) {
  BinarySettings pastEnd;
  pastEnd.byteLocation = "11";
  fixture.Select("ten.dat", Bytes(10, 1));
  EXPECT_THROW(ConvertUnknownBinary(fixture.bench, pastEnd), ConvoraError);
  BinarySettings negative;
  negative.byteLocation = "-2";
  EXPECT_THROW(ConvertUnknownBinary(fixture.bench, negative), ConvoraError);
  fixture.bench.SelectedFilePath = fixture.dir / "missing.dat";
  EXPECT_THROW(ConvertUnknownBinary(fixture.bench, {}), ConvoraError);
  fixture.bench.SelectedFilePath = fixture.dir.Path();
  EXPECT_THROW(ConvertUnknownBinary(fixture.bench, {}), ConvoraError);
  EXPECT_FALSE(std::filesystem::exists(fixture.dir / "ten.ABF"));
  EXPECT_FALSE(std::filesystem::exists(fixture.dir / "missing.ABF"));
  EXPECT_TRUE(fixture.bench.List1.Entries().empty());
}

}  // namespace
}  // namespace convora
