#include "abf/AbfOutput.h"

#include <gtest/gtest.h>

#include <utility>

#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

TEST(OutputNameFor, CutsAtTheFirstDotOfTheWholePathAndTakesTheExtensionItIsGiven) {
  const std::pair<const char*, const char*> cases[] = {
      {"/data/cell.1.dat", "/data/cell.ABF"},
      {"/data/cell", "/data/cell.ABF"},
      {"/exp.2/cell1.dat", "/exp.ABF"},
      {"/home/u/.cache/x.dat", "/home/u/.ABF"}};
  for (const auto& [source, expected] : cases) EXPECT_EQ(OutputNameFor(source).string(), expected);
  EXPECT_EQ(OutputNameFor("/d/song.raw", ".wav").string(), "/d/song.wav");
}

TEST(WriteAbfFile, RefusesToWriteOverItsOwnSource) {
  test::TempDir dir;
  test::WriteFile(dir / "cell.ABF", test::Bytes(100, 1));
  EXPECT_THROW(WriteAbfFile(BuildDefaultTemplate(), dir / "cell.ABF", dir / "cell.ABF",
                            [](DataSectionWriter&) {}),
               ConvoraError);
  EXPECT_EQ(test::ReadFile(dir / "cell.ABF"), test::Bytes(100, 1));
}

TEST(CopyBytes, SwapsPairsAndPadsPastTheEndWithZeros) {
  test::TempDir dir;
  test::WriteFile(dir / "src", {1, 2, 3, 4, 5});
  {
    SourceFile source(dir / "src");
    OutputFile file(dir / "dst");
    DataSectionWriter writer(file, 0);
    CopyBytes(source, 1, 6, writer, true);
    file.Close();
  }
  EXPECT_EQ(test::ReadFile(dir / "dst"), (test::Bytes{3, 2, 5, 4, 0, 0}));
}

// Copied inside the kernel, at one place in a page at both ends or not, and
// read where the source ends early: the same bytes.
TEST(CopyBytes, EveryWayOfCopyingWritesTheSameBytes) {
  test::TempDir dir;
  test::Bytes source((9 << 20) + 4099);
  for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint8_t>(i * 7 + i / 4093);
  test::WriteFile(dir / "src", source);
  for (const std::int64_t to : {std::int64_t{4096 + 100}, std::int64_t{6144}}) {
    for (const std::int64_t extra : {std::int64_t{0}, std::int64_t{10}}) {
      const std::int64_t from = 100;
      const std::int64_t count = static_cast<std::int64_t>(source.size()) - from + extra;
      {
        SourceFile in(dir / "src");
        OutputFile file(dir / "dst");
        DataSectionWriter writer(file, to);
        CopyBytes(in, from, count, writer);
        file.Close();
      }
      test::Bytes expected(static_cast<std::size_t>(to), 0);
      expected.insert(expected.end(), source.begin() + from, source.end());
      expected.resize(expected.size() + static_cast<std::size_t>(extra), 0);
      EXPECT_EQ(test::ReadFile(dir / "dst"), expected) << to << " " << extra;
      std::filesystem::remove(dir / "dst");
    }
  }
}

}  // namespace
}  // namespace convora
