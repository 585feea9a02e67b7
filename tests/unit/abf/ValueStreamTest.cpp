#include "abf/ValueStream.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <vector>

#include "abf/ByteOrder.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

// A file of `lead` bytes of 0x55, then the floats 0, 1, 2 ... stored in `order`.
test::Bytes FloatsAfter(std::size_t lead, std::size_t count, ByteOrder order) {
  test::Bytes bytes(lead, 0x55);
  for (std::size_t i = 0; i < count; ++i) {
    float value = static_cast<float>(i);
    if (order == ByteOrder::BigEndian) value = SwapSingle(value);
    std::uint8_t raw[4];
    std::memcpy(raw, &value, 4);
    bytes.insert(bytes.end(), raw, raw + 4);
  }
  return bytes;
}

std::vector<float> StoredChunks(const std::filesystem::path& path, std::int64_t offset,
                                std::int64_t count, ByteOrder order) {
  SourceFile source(path);
  std::vector<float> seen;
  ForEachStoredValueChunk<float>(source, offset, count, order, [&](StoredValues<float> chunk) {
    EXPECT_NE(chunk.size, 0u);
    for (std::size_t i = 0; i < chunk.size; ++i) seen.push_back(chunk[i]);
  });
  return seen;
}

void ExpectCountingFrom0(const std::vector<float>& values, std::size_t stored) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(values[i], i < stored ? static_cast<float>(i) : 0.0f) << "value " << i;
  }
}

// Mapped or read, aligned or not, in either order: the same values in the
// same order, and zeros past the end of the file. 2.5 million values cross
// the mapped windows' boundaries.
TEST(ValueStream, StoredChunksGiveEveryValueOnceWhicheverWayTheyAreRead) {
  test::TempDir dir;
  constexpr std::size_t kCount = 2'500'003;
  for (const ByteOrder order : {ByteOrder::LittleEndian, ByteOrder::BigEndian}) {
    for (const std::size_t lead : {0, 8, 6}) {
      const auto path = dir / "values.dat";
      test::WriteFile(path, FloatsAfter(lead, kCount, order));
      const auto whole = StoredChunks(path, static_cast<std::int64_t>(lead), kCount, order);
      ASSERT_EQ(whole.size(), kCount);
      ExpectCountingFrom0(whole, kCount);
      const auto pastTheEnd = StoredChunks(path, static_cast<std::int64_t>(lead), kCount + 5, order);
      ASSERT_EQ(pastTheEnd.size(), kCount + 5);
      ExpectCountingFrom0(pastTheEnd, kCount);
    }
  }
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
