#include "abf/AbfOutput.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
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

// Copied from a mapping of the source, at one place in a page at both ends or
// not, in one run or in runs on several threads (64 MiB is two runs on a
// machine with two cores), or through a buffer with pairs swapped, and read
// where the source ends early: the bytes that the plain definition gives.
TEST(CopyBytes, EveryWayOfCopyingWritesTheSameBytes) {
  test::TempDir dir;
  test::Bytes source((64 << 20) + 4099);
  for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint8_t>(i * 7 + i / 4093);
  test::WriteFile(dir / "src", source);
  constexpr std::int64_t from = 100;
  const std::int64_t whole = static_cast<std::int64_t>(source.size()) - from;
  struct Case {
    std::int64_t to, count;
    bool swapPairs;
  };
  for (const Case& c : {Case{4096 + 100, whole + 10, false}, Case{6144, 9 << 20, false},
                        Case{6144, whole + 10, false}, Case{6144, whole + 11, true}}) {
    {
      SourceFile in(dir / "src");
      OutputFile file(dir / "dst");
      DataSectionWriter writer(file, c.to);
      CopyBytes(in, from, c.count, writer, c.swapPairs);
      EXPECT_EQ(writer.Position(), c.to + c.count);
      file.Close();
    }
    test::Bytes expected(static_cast<std::size_t>(c.to + c.count), 0);
    const std::int64_t present = std::min(c.count, whole);
    std::copy_n(source.begin() + from, present, expected.begin() + c.to);
    if (c.swapPairs) {
      for (std::size_t i = c.to; i + 1 < expected.size(); i += 2) std::swap(expected[i], expected[i + 1]);
    }
    EXPECT_EQ(test::ReadFile(dir / "dst"), expected) << c.to << " " << c.count << " " << c.swapPairs;
    std::filesystem::remove(dir / "dst");
  }
}

// A source whose name is gone once it is open cannot be mapped (the mapping
// opens it again by name), so the copy falls back on reading through the
// buffer from the open file, and still writes every byte.
TEST(CopyBytes, ASourceThatCannotBeMappedIsCopiedThroughTheBuffer) {
#ifdef _WIN32
  GTEST_SKIP() << "Windows removes no file that is open, which is how this source loses its name";
#endif
  test::TempDir dir;
  test::Bytes bytes(3 << 20);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 13 + i / 251);
  test::WriteFile(dir / "src", bytes);
  {
    SourceFile source(dir / "src");
    std::filesystem::remove(dir / "src");
    OutputFile file(dir / "dst");
    DataSectionWriter writer(file, 0);
    CopyBytes(source, 0, static_cast<std::int64_t>(bytes.size()), writer);
    file.Close();
  }
  EXPECT_EQ(test::ReadFile(dir / "dst"), bytes);
}

// A source cut short after it was opened, in one run (3 MiB) or two (64 MiB):
// the pages past its new end are still within the copy's mapped windows, and
// reading them must end in an error, not a signal that kills the program.
TEST(CopyBytes, ASourceCutShortDuringTheCopyIsAnErrorNotACrash) {
  test::TempDir dir;
  for (const std::int64_t length : {std::int64_t{3} << 20, std::int64_t{64} << 20}) {
    test::WriteFile(dir / "src", test::Bytes(static_cast<std::size_t>(length), 7));
    SourceFile source(dir / "src");
    std::filesystem::resize_file(dir / "src", (1 << 20) + 100);
    OutputFile file(dir / "dst");
    DataSectionWriter writer(file, 6144);
    EXPECT_THROW(CopyBytes(source, 0, length, writer), ConvoraError) << length;
  }
}

}  // namespace
}  // namespace convora
