#include "abf/ValueStream.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "abf/AbfOutput.h"
#include "abf/ByteOrder.h"
#include "abf/ConvoraError.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

// A file of `lead` bytes of 0x55, then the floats 0, 1, 2 ... stored in `order`.
test::Bytes FloatsAfter(std::size_t lead, std::size_t count, ByteOrder order) {
  test::ByteBuilder bytes;
  bytes.Raw(test::Bytes(lead, 0x55));
  for (std::size_t i = 0; i < count; ++i) {
    bytes.Float(static_cast<float>(i), order == ByteOrder::BigEndian);
  }
  return bytes.Get();
}

std::vector<float> Chunks(const std::filesystem::path& path, std::int64_t offset,
                          std::int64_t count, ByteOrder order) {
  SourceFile source(path);
  std::vector<float> seen;
  ForEachValueChunk<float>(source, offset, count, order, [&](std::span<float> chunk) {
    EXPECT_NE(chunk.size(), 0u);
    seen.insert(seen.end(), chunk.begin(), chunk.end());
  });
  return seen;
}

void ExpectCountingFrom0(const std::vector<float>& values, std::size_t stored) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(values[i], i < stored ? static_cast<float>(i) : 0.0f) << "value " << i;
  }
}

// Aligned or not, in either order: the same values in the same order across
// the chunks' boundaries, and zeros past the end of the file.
TEST(ValueStream, ChunksGiveEveryValueOnceWhereverTheyStart) {
  test::TempDir dir;
  constexpr std::size_t kCount = 100'003;
  for (const ByteOrder order : {ByteOrder::LittleEndian, ByteOrder::BigEndian}) {
    for (const std::size_t lead : {0, 8, 6}) {
      const auto path = dir / "values.dat";
      test::WriteFile(path, FloatsAfter(lead, kCount, order));
      const auto whole = Chunks(path, static_cast<std::int64_t>(lead), kCount, order);
      ASSERT_EQ(whole.size(), kCount);
      ExpectCountingFrom0(whole, kCount);
      const auto pastTheEnd = Chunks(path, static_cast<std::int64_t>(lead), kCount + 5, order);
      ASSERT_EQ(pastTheEnd.size(), kCount + 5);
      ExpectCountingFrom0(pastTheEnd, kCount);
    }
  }
}

// Runs read at once, each writing its own stretch of the data section: the
// samples land in the order of the values, whatever the split.
TEST(ValueStream, RunsVisitEveryValueAndWriteInPlace) {
  test::TempDir dir;
  constexpr std::int64_t kCount = 2'500'003;
  const auto path = dir / "values.dat";
  test::WriteFile(path, FloatsAfter(6, kCount, ByteOrder::LittleEndian));
  SourceFile source(path);
  for (const std::size_t parts : {1, 2, 5}) {
    const auto output = dir / ("out" + std::to_string(parts) + ".dat");
    {
      OutputFile file(output);
      DataSectionWriter out(file, 10);
      const std::vector<Stretch> runs = SplitEvenly(kCount, parts);
      RunBatches batches(out, runs);
      ForEachValueChunkInRuns<float>(source, 6, runs, ByteOrder::LittleEndian,
                                     [&](std::size_t k, std::span<const float> values) {
        const std::span<std::int16_t> samples = batches[k].Next(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
          samples[i] = static_cast<std::int16_t>(static_cast<std::int32_t>(values[i]) % 32768);
        }
      });
      batches.Finish();
      file.Close();
    }
    const test::Bytes written = test::ReadFile(output);
    ASSERT_EQ(written.size(), 10 + 2 * static_cast<std::size_t>(kCount)) << parts;
    for (std::int64_t i = 0; i < kCount; ++i) {
      std::int16_t sample;
      std::memcpy(&sample, &written[10 + 2 * static_cast<std::size_t>(i)], 2);
      ASSERT_EQ(sample, i % 32768) << "sample " << i << " of " << parts << " runs";
    }
  }
}

// Another program rewriting the recording between the passes must not have
// its zeros, or a mix of two files, converted as if nothing had happened.
TEST(ValueStream, RunsRefuseAFileWhoseLengthChangedSinceItWasOpened) {
  test::TempDir dir;
  const auto path = dir / "values.dat";
  test::WriteFile(path, FloatsAfter(0, 1000, ByteOrder::LittleEndian));
  SourceFile source(path);
  std::filesystem::resize_file(path, 400);
  int visits = 0;
  try {
    ForEachValueChunkInRuns<float>(source, 0, {Stretch{0, 1000}}, ByteOrder::LittleEndian,
                                   [&](std::size_t, std::span<const float>) { ++visits; });
    ADD_FAILURE() << "a shortened file was read on";
  } catch (const ConvoraError& error) {
    EXPECT_STREQ(error.what(), "the file changed while it was being converted");
  }
  EXPECT_EQ(visits, 0);
}

TEST(ValueStream, ReadValuesReversesBigEndianDoubles) {
  test::TempDir dir;
  const auto path = dir / "doubles.dat";
  test::WriteFile(path, test::Bytes{0x40, 0x09, 0x21, 0xFB, 0x54, 0x44, 0x2D, 0x18, 0xAA});
  SourceFile source(path);
  std::vector<double> values(2, -1.0);
  ReadValues<double>(source, 0, ByteOrder::BigEndian, values);
  EXPECT_EQ(values[0], 3.141592653589793);
  // One byte of the file, then zeros past its end.
  EXPECT_EQ(values[1], std::bit_cast<double>(std::uint64_t{0xAA00000000000000}));
}

}  // namespace
}  // namespace convora
