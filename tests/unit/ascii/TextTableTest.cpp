#include "ascii/TextTable.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "abf/ConvoraError.h"
#include "ascii/AnyAscii.h"
#include "support/TestSupport.h"

namespace convora::test {
namespace {

std::vector<std::pair<std::int64_t, std::string>> LinesOf(const std::string& text) {
  TempDir dir;
  WriteFile(dir / "t.txt", TextBytes(text));
  SourceFile source(dir / "t.txt");
  std::vector<std::pair<std::int64_t, std::string>> lines;
  ForEachLine(source, [&](std::int64_t n, std::string_view line) {
    lines.emplace_back(n, std::string(line));
    return true;
  });
  return lines;
}

using Lines = std::vector<std::pair<std::int64_t, std::string>>;

class LineEndings : public testing::TestWithParam<std::string> {};

// Every ending style gives the same three lines; an empty line between two
// endings counts, and the last line needs no ending.
TEST_P(LineEndings, GiveTheSameNumberedLines) {
  const std::string eol = GetParam();
  EXPECT_EQ(LinesOf("a 1" + eol + eol + "b\t2" + eol + "c"),
            (Lines{{1, "a 1"}, {2, ""}, {3, "b\t2"}, {4, "c"}}));
  EXPECT_EQ(LinesOf("a" + eol), (Lines{{1, "a"}}));
}
INSTANTIATE_TEST_SUITE_P(Styles, LineEndings, testing::Values("\n", "\r\n", "\r"));

TEST(ForEachLine, CrLfSplitAcrossReadChunksIsOneEnding) {
  // The chunk is 65536 bytes: the CR is its last byte, the LF the next one's first.
  const std::string first(65535, 'x');
  EXPECT_EQ(LinesOf(first + "\r\ny"), (Lines{{1, first}, {2, "y"}}));
}

TEST(SplitFields, EachSeparator) {
  std::vector<std::string_view> f;
  SplitFields("1\t\t3", Separator::Tab, f);
  EXPECT_EQ(f, (std::vector<std::string_view>{"1", "", "3"}));
  SplitFields("1,2;3", Separator::Comma, f);
  EXPECT_EQ(f, (std::vector<std::string_view>{"1", "2;3"}));
  SplitFields("1,5;2,5", Separator::Semicolon, f);
  EXPECT_EQ(f, (std::vector<std::string_view>{"1,5", "2,5"}));
  // MATLAB's layout: leading blanks, runs of blanks.
  SplitFields("   1.0e+00   -2.5e-01 \t 3 ", Separator::Space, f);
  EXPECT_EQ(f, (std::vector<std::string_view>{"1.0e+00", "-2.5e-01", "3"}));
}

// A comma or blanks alone are detected in the AnyAscii conversions; here the
// order of preference when a line holds more than one.
TEST(DetectSeparator, PrefersTabThenSemicolonThenComma) {
  EXPECT_EQ(DetectSeparator("1,5\t2"), Separator::Tab);
  EXPECT_EQ(DetectSeparator("1,5;2,5"), Separator::Semicolon);
}

// Quoted titles with units in parentheses are the Axon text tests' own.
TEST(ParseColumnTitle, UnitInBracketsOrNone) {
  EXPECT_EQ(ParseColumnTitle("R1.V [V]").unit, "V");
  EXPECT_EQ(ParseColumnTitle("Ratio").name, "Ratio");
  EXPECT_EQ(ParseColumnTitle("Ratio").unit, "");
}

// A number after quoted text is the Dataq rate line's, converted in its own tests.
TEST(FirstNumberIn, FindsTheFirstNumberAfterText) {
  EXPECT_EQ(FirstNumberIn("rate=.5"), 0.5);
  EXPECT_FALSE(FirstNumberIn("no rate"));
}

TEST(ParseColumnList, NumbersAndRangesCountedFromOne) {
  EXPECT_EQ(ParseColumnList("2"), (std::vector<std::size_t>{1}));
  EXPECT_EQ(ParseColumnList("1, 3-5"), (std::vector<std::size_t>{0, 2, 3, 4}));
  for (const char* bad : {"", "0", "2-1", "a", "1.5", "-3"}) {
    EXPECT_THROW(ParseColumnList(bad), ConvoraError) << bad;
  }
}

}  // namespace
}  // namespace convora::test
