#include "formats/igortext/IgorTextLayout.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "abf/ConvoraError.h"
#include "abf/Numbers.h"
#include "abf/Parallel.h"
#include "abf/TextLines.h"
#include "formats/igortext/IgorTextRows.h"
#include "support/TestSupport.h"

namespace convora::test {
namespace {

// A text of several MiB, so that it is read in shares whose cuts fall
// anywhere: blocks of one and three waves whose rows are written in every
// form a line may take, between them lines that are not rows, and rows that
// belong to no numeric block. `expected[b]` gets block b's values.
struct MadeText {
  std::string text = "IGOR\r\n";
  std::vector<std::vector<double>> expected;
  std::size_t lastRowsInLf = 0;  // where the rows of the last one-wave block with LF endings start
};

MadeText MakeText(std::mt19937& random) {
  MadeText made;
  const auto line = [&](const std::string& text, const char* ending) { made.text += text + ending; };
  const char* const endings[] = {"\r\n", "\n", "\r"};
  const char* const blanks[] = {" ", "\t", "  \t "};
  const auto field = [&] {
    static const char* const signs[] = {"", "-", "+"};
    std::string text = signs[random() % 3] + std::to_string(random() % 100000);
    if (random() % 2) text += "." + std::to_string(random() % 1000);
    if (random() % 3 == 0) text += (random() % 2 ? "e-" : "E+") + std::to_string(random() % 40);
    if (random() % 50 == 0) text = "123456789012345678901234567.5";  // read the long way
    return text;
  };
  for (int block = 0; made.text.size() < (5 << 20); ++block) {
    const int columns = block % 2 == 0 ? 1 : 3;
    const char* const ending = endings[block % 3];
    line(columns == 1 ? "WAVES/D w" + std::to_string(block) : "WAVES a b c", ending);
    line("BEGIN", ending);
    if (columns == 1 && block % 3 == 1) made.lastRowsInLf = made.text.size();
    made.expected.emplace_back();
    for (int row = 0; row < 20000; ++row) {
      std::string text = random() % 4 == 0 ? blanks[random() % 3] : "";
      for (int c = 0; c < columns; ++c) {
        const std::string number = field();
        made.expected.back().push_back(*ParseWholeNumber(number));
        text += (c == 0 ? "" : blanks[random() % 3]) + number;
      }
      if (random() % 10 == 0) text += blanks[random() % 3];
      line(text, ending);
      if (random() % 100 == 0) line(random() % 2 ? "" : "\t ", ending);
    }
    line(" END ", ending);
    line("X SetScale/P x 0,1e-4,\"s\", w" + std::to_string(block), ending);
    line("1 2 3", ending);  // rows outside a block are not read
    line("WAVES/T t", ending);
    line("BEGIN", ending);
    line("4 5 6", ending);
    line("END", ending);
  }
  return made;
}

// Read again with the first line longer, so that the cuts between shares
// move through the lines around them.
TEST(IgorTextLayout, SharesReadEveryRowAsALineByLineReadingDoes) {
  std::mt19937 random(5);
  const MadeText made = MakeText(random);
  for (const int longer : {0, 3, 8, 17, 30}) {
    TempDir dir;
    WriteFile(dir / "w.itx", TextBytes("IGOR" + std::string(longer, ' ') + made.text.substr(4)));
    SourceFile source(dir / "w.itx");
    const IgorTextLayout layout = ReadIgorText(source, dir.Path());
    // Read in shares, not line by line after a fault.
    EXPECT_EQ(layout.kept.size(), PartsFor(source.Length(), kSmallestShareOfLines));
    ASSERT_EQ(layout.blocks.size(), made.expected.size());
    EXPECT_EQ(layout.textWaves.size(), made.expected.size());
    EXPECT_EQ(layout.waves[0].stepSeconds, 1e-4);
    for (std::size_t b = 0; b < layout.blocks.size(); ++b) {
      const std::vector<double>& expected = made.expected[b];
      ASSERT_EQ(layout.blocks[b].rows * static_cast<std::int64_t>(layout.blocks[b].columns),
                static_cast<std::int64_t>(expected.size()));
      std::vector<double> values(expected.size());
      ReadBlockRows(layout, b, 0, values);
      for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(std::bit_cast<std::uint64_t>(values[i]), std::bit_cast<std::uint64_t>(expected[i]))
            << "first line longer by " << longer << ", block " << b << ", value " << i;
      }
      // Each column's extremes, found on the way.
      const std::size_t columns = layout.blocks[b].columns;
      ASSERT_EQ(layout.blocks[b].extremes.size(), columns);
      for (std::size_t c = 0; c < columns; ++c) {
        Extremes column(values[c]);
        for (std::size_t i = c; i < values.size(); i += columns) column.Add(values[i]);
        EXPECT_EQ(layout.blocks[b].extremes[c].Minimum(), column.Minimum()) << "block " << b << ", column " << c;
        EXPECT_EQ(layout.blocks[b].extremes[c].Maximum(), column.Maximum()) << "block " << b << ", column " << c;
      }
    }
  }
}

// A fault deep in the text, wherever the shares are cut, is named by its
// line as the line-by-line reading names it.
TEST(IgorTextLayout, AFaultAnywhereIsNamedByItsLine) {
  std::mt19937 random(6);
  MadeText made = MakeText(random);
  const std::string tooLong = std::string(kMaxLineChars + 1, '7') + "\n";
  const std::vector<std::pair<std::string, std::string>> faults = {
      {"1.5x\n", "\"1.5x\" is not a number"},
      {"1 2\n", "2 values for 1 waves"},
      {tooLong, "longer than 1048576 characters"}};
  // Among rows, a thousand lines into the block, where a span may hold
  // nothing but rows.
  std::size_t at = made.lastRowsInLf;
  for (int lines = 0; lines < 1000; ++lines) at = made.text.find('\n', at) + 1;
  std::int64_t line = 1;  // counted as lines end: LF, CR LF or a lone CR
  for (std::size_t i = 0; i < at; ++i) {
    line += made.text[i] == '\n' || (made.text[i] == '\r' && made.text[i + 1] != '\n');
  }
  for (const auto& [fault, why] : faults) {
    TempDir dir;
    std::string text = made.text;
    text.insert(at, fault);
    WriteFile(dir / "w.itx", TextBytes(text));
    SourceFile source(dir / "w.itx");
    try {
      ReadIgorText(source, dir.Path());
      ADD_FAILURE() << "no error for " << why;
    } catch (const ConvoraError& error) {
      EXPECT_EQ(std::string(error.what()), "line " + std::to_string(line) + ": " + why);
    }
  }
}

// A number longer than the shares read is no fault: the text is read line
// by line, and the number is whole.
TEST(IgorTextLayout, ANumberTooLongForTheSharesIsReadLineByLine) {
  TempDir dir;
  WriteFile(dir / "w.itx", TextBytes("IGOR\nWAVES a\nBEGIN\n" + std::string(5000, '0') + "1.5\n2\nEND\n"));
  SourceFile source(dir / "w.itx");
  const IgorTextLayout layout = ReadIgorText(source, dir.Path());
  std::vector<double> values(2);
  ReadBlockRows(layout, 0, 0, values);
  EXPECT_EQ(values, (std::vector<double>{1.5, 2.0}));
}

}  // namespace
}  // namespace convora::test
