#include "abf/AbfOutput.h"

#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "abf/TemplateFile.h"
#include "support/TestSupport.h"

namespace convora {
namespace {

struct NameCase {
  const char* source;
  const char* expected;
};

class OutputNameForTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(OutputNameForTest, CutsAtTheFirstDotOfTheWholePath) {
  EXPECT_EQ(OutputNameFor(GetParam().source).string(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, OutputNameForTest,
    ::testing::Values(NameCase{"/data/cell.1.dat", "/data/cell.ABF"},
                      NameCase{"/data/cell", "/data/cell.ABF"},
                      NameCase{"/exp.2/cell1.dat", "/exp.ABF"},
                      NameCase{"/my.data/rec", "/my.ABF"},
                      NameCase{"/home/u/.cache/x.dat", "/home/u/.ABF"}));

TEST(OutputNameFor, TakesTheExtensionItIsGiven) {
  EXPECT_EQ(OutputNameFor("/d/song.raw", ".wav").string(), "/d/song.wav");
}

TEST(WriteAbfFile, WritesOverAnOlderFileWithoutShorteningIt) {
  test::TempDir dir;
  test::WriteFile(dir / "out.ABF", test::Bytes(7000, 0xAA));
  const AbfHeader header = BuildDefaultTemplate();
  WriteAbfFile(header, dir / "src.dat", dir / "out.ABF", [](DataSectionWriter& out) {
    const std::int16_t samples[] = {1, -2};
    out.WriteSamples(samples);
  });
  const auto bytes = test::ReadFile(dir / "out.ABF");
  ASSERT_EQ(bytes.size(), 7000u);
  EXPECT_TRUE(std::equal(header.Bytes().begin(), header.Bytes().end(), bytes.begin()));
  EXPECT_EQ((test::Bytes(bytes.begin() + 6144, bytes.begin() + 6149)),
            (test::Bytes{0x01, 0x00, 0xfe, 0xff, 0xAA}));
}

TEST(WriteAbfFile, DataStartComesFromTheHeaderAlone) {
  test::TempDir dir;
  AbfHeader header = BuildDefaultTemplate();
  header.Set(abf::lDataSectionPtr, 16);
  WriteAbfFile(header, dir / "src.dat", dir / "out.ABF", [](DataSectionWriter& out) {
    const std::int16_t samples[] = {0x0102};
    out.WriteSamples(samples);
  });
  const auto bytes = test::ReadFile(dir / "out.ABF");
  ASSERT_EQ(bytes.size(), 8194u);
  EXPECT_EQ(bytes[8192], 0x02);
  EXPECT_TRUE(std::all_of(bytes.begin() + 6144, bytes.begin() + 8192, [](auto b) { return b == 0; }));
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

}  // namespace
}  // namespace convora
