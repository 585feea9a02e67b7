#include <gtest/gtest.h>

#include "generic/WavExport.h"
#include "support/ExpectedAbf.h"

namespace convora::test {
namespace {

// A 16-bit PCM header with these fields, then `data`.
Bytes WavFile(std::int32_t riff, std::int16_t channels, std::int32_t rate, std::int32_t byteRate,
              std::int16_t align, std::int32_t dataSize, const Bytes& data) {
  return ByteBuilder()
      .Text("RIFF").Int32LE(riff).Text("WAVE").Text("fmt ").Int32LE(16).Int16LE(1)
      .Int16LE(channels).Int32LE(rate).Int32LE(byteRate).Int16LE(align).Int16LE(16)
      .Text("data").Int32LE(dataSize).Raw(data).Get();
}

class WavExportTest : public ::testing::Test {
 protected:
  Bytes Export(const Bytes& source, const BinarySettings& settings) {
    fixture.Select("song.raw", source);
    ConvertToWav(fixture.bench, settings);
    return ReadFile(fixture.dir / "song.wav");
  }
  BenchFixture fixture;
};

TEST_F(WavExportTest, BlockBehindTheByteLocationIsCopiedAsItIs) {
  const Bytes source = Counting(1044);
  // Swapping and floats are not consulted. 1 / 200 us = 5000 Hz; 2 x 5000 x 2 bytes = 20000;
  // data 1000, RIFF 1036.
  EXPECT_EQ(Export(source, {.byteLocation = "44", .channels = "2", .swapBytes = true,
                            .floatingPoint = true}),
            WavFile(1036, 2, 5000, 20000, 4, 1000, Bytes(source.begin() + 44, source.end())));
  EXPECT_EQ(fixture.bench.List1.Entries().back(), fixture.dir / "song.wav");
}

TEST_F(WavExportTest, OddDataSizeCopiesOneByteFromBeyondTheBlock) {
  // 1 / 300 us = 3333.33 Hz rounds to 3333. 5 data bytes: 5 / 2 - 1 = 1.5 rounds to 2, so
  // 3 values (6 bytes) are copied, the last read as 0 past the end.
  EXPECT_EQ(Export({1, 2, 3, 4, 5}, {.sampleInterval = "300"}),
            WavFile(41, 1, 3333, 6666, 2, 5, {1, 2, 3, 4, 5, 0}));
}

TEST_F(WavExportTest, ZeroIntervalOrLocationPastTheEndIsRefused) {
  EXPECT_THROW(Export(Bytes(10), {.sampleInterval = "0"}), ConvoraError);
  EXPECT_THROW(Export(Bytes(10), {.byteLocation = "20"}), ConvoraError);
  EXPECT_FALSE(std::filesystem::exists(fixture.dir / "song.wav"));
}

}  // namespace
}  // namespace convora::test
