#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "generic/WavExport.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

using test::Bytes;
using test::ByteBuilder;

Bytes WavHeader(std::int32_t riff, std::int16_t channels, std::int32_t rate, std::int32_t byteRate,
                std::int16_t align, std::int32_t data) {
  return ByteBuilder()
      .Text("RIFF").Int32LE(riff).Text("WAVE").Text("fmt ").Int32LE(16).Int16LE(1)
      .Int16LE(channels).Int32LE(rate).Int32LE(byteRate).Int16LE(align).Int16LE(16)
      .Text("data").Int32LE(data).Get();
}

class WavExportTest : public ::testing::Test {
 protected:
  Bytes Export(const Bytes& source, const BinarySettings& settings) {
    fixture.Select("song.raw", source);
    ConvertToWav(fixture.bench, settings);
    return test::ReadFile(fixture.dir / "song.wav");
  }
  test::BenchFixture fixture;
};

TEST_F(WavExportTest, BlockBehindTheByteLocationIsCopiedAsItIs) {
  Bytes source(1044);
  for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint8_t>(i);
  BinarySettings settings;
  settings.byteLocation = "44";
  settings.channels = "2";
  settings.swapBytes = true;       // not consulted
  settings.floatingPoint = true;   // not consulted
  // 1 / 200 us = 5000 Hz; 2 x 5000 x 2 bytes = 20000; data 1000, RIFF 1036.
  Bytes expected = WavHeader(1036, 2, 5000, 20000, 4, 1000);
  expected.insert(expected.end(), source.begin() + 44, source.end());
  EXPECT_EQ(Export(source, settings), expected);
  EXPECT_EQ(fixture.bench.List1.Entries().back(), fixture.dir / "song.wav");
}

TEST_F(WavExportTest, OddDataSizeCopiesOneByteFromBeyondTheBlock) {
  BinarySettings settings;
  settings.sampleInterval = "300";  // 3333.33 Hz rounds to 3333
  // 5 data bytes: 5 / 2 - 1 = 1.5 rounds to 2, so 3 values (6 bytes) are copied.
  Bytes expected = WavHeader(41, 1, 3333, 6666, 2, 5);
  const Bytes data{1, 2, 3, 4, 5};
  expected.insert(expected.end(), data.begin(), data.end());
  expected.push_back(0);
  EXPECT_EQ(Export(data, settings), expected);
}

TEST_F(WavExportTest, ZeroIntervalOrLocationPastTheEndIsRefused) {
  BinarySettings zero;
  zero.sampleInterval = "0";
  EXPECT_THROW(Export(Bytes(10), zero), ConvoraError);
  BinarySettings past;
  past.byteLocation = "20";
  EXPECT_THROW(Export(Bytes(10), past), ConvoraError);
  EXPECT_FALSE(std::filesystem::exists(fixture.dir / "song.wav"));
}

}  // namespace
}  // namespace convora
