#include "formats/igortext/PieceCuts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace convora::test {
namespace {

// The starts by their definition: two past every "\r\t" that begins in the
// stretch.
std::vector<std::uint32_t> StartsByDefinition(const std::string& text, std::size_t from,
                                              std::size_t length) {
  std::vector<std::uint32_t> starts;
  for (std::size_t at = from; at < from + length; ++at) {
    if (text[at] == '\r' && text[at + 1] == '\t') starts.push_back(static_cast<std::uint32_t>(at + 2));
  }
  return starts;
}

// Returns, tabs and runs of both, dense enough that a block of 64 bytes now
// and then holds more cuts than a search writes at one step, and cuts
// straddle block and stretch ends.
std::string RandomCutText(std::mt19937& random, std::size_t length) {
  const std::vector<std::string> parts = {"\r\t", "\r\t", "\r\t", "\r",     "\t",
                                          "\r\r\t", "\t\t", "1.5",  "-2e-11", "x"};
  std::string text;
  while (text.size() < length) text += parts[random() % parts.size()];
  text.resize(length);
  return text + std::string(kPieceCutLookAhead, '\0');
}

TEST(PieceCuts, EverySearchFindsTheCutsOfAnyStretch) {
  std::mt19937 random(3);
  for (const PieceStartsSearch search : {&PortablePieceStarts, FastestPieceStarts()}) {
    for (int round = 0; round < 200; ++round) {
      const std::string text = RandomCutText(random, 1 + random() % 2000);
      const std::size_t textLength = text.size() - kPieceCutLookAhead;
      const std::size_t from = random() % textLength;
      const std::size_t length = random() % (textLength - from + 1);
      std::vector<std::uint32_t> starts(length / 2 + 1 + kPieceStartsSlack);
      starts.resize(search(text.data(), from, length, starts.data()));
      ASSERT_EQ(starts, StartsByDefinition(text, from, length)) << "from " << from << ", length " << length;
    }
  }
}

// Field starts by their definition, kFirstOfLine added where a line end lies
// since the field before; and the most characters between two line ends.
std::pair<std::vector<std::uint32_t>, std::int64_t> FieldsByDefinition(const std::string& text,
                                                                      std::size_t length) {
  const auto isEnd = [](char c) { return c == '\r' || c == '\n'; };
  std::vector<std::uint32_t> starts;
  std::int64_t longest = 0;
  std::int64_t lastEnd = -1;
  bool lineEnded = true;
  for (std::size_t at = 0; at < length; ++at) {
    if (isEnd(text[at])) {
      longest = std::max(longest, static_cast<std::int64_t>(at) - lastEnd - 1);
      lastEnd = static_cast<std::int64_t>(at);
      lineEnded = true;
    }
    const auto separator = [&](char c) { return isEnd(c) || c == ' ' || c == '\t'; };
    if (!separator(text[at]) && (at == 0 || separator(text[at - 1]))) {
      starts.push_back(static_cast<std::uint32_t>(at) | (lineEnded ? kFirstOfLine : 0));
      lineEnded = false;
    }
  }
  return {starts, longest};
}

// The text searched in stretches of any length one after another, so that
// fields, runs of blanks and line ends straddle their ends and those of the
// blocks within them.
TEST(PieceCuts, TheFieldSearchesFindFieldsAndLineStartsAcrossStretches) {
  std::mt19937 random(4);
  const std::vector<std::string> parts = {"\r\n", "\r", "\n", " ", "\t", "  \t", "1.5", "-2e-11", "END"};
  for (int round = 0; round < 200; ++round) {
    std::string text;
    const std::size_t length = 1 + random() % 3000;
    while (text.size() < length) text += parts[random() % parts.size()];
    text.resize(length);
    text.append(kPieceCutLookAhead, '\0');
    // The unmarked search runs alongside: the same starts without the marks,
    // and as many lines started as there are marks.
    FieldSearchState state, unmarkedState;
    std::vector<std::uint32_t> starts(length + 1), unmarked(length + 1 + kPieceStartsSlack);
    std::size_t found = 0, unmarkedFound = 0;
    for (std::size_t from = 0; from < length;) {
      const std::size_t stretch = std::min<std::size_t>(length - from, random() % 300);
      found += FastestFieldStarts()(text.data(), from, stretch, state, starts.data() + found);
      unmarkedFound += FastestUnmarkedFieldStarts()(text.data(), from, stretch, unmarkedState,
                                                    unmarked.data() + unmarkedFound);
      from += stretch;
    }
    starts.resize(found);
    unmarked.resize(unmarkedFound);
    const auto [expected, longest] = FieldsByDefinition(text, length);
    ASSERT_EQ(starts, expected) << "round " << round;
    EXPECT_EQ(std::max<std::int64_t>(state.longestLine, 63), std::max<std::int64_t>(longest, 63));
    std::vector<std::uint32_t> cleared;
    for (const std::uint32_t start : expected) cleared.push_back(start & ~kFirstOfLine);
    ASSERT_EQ(unmarked, cleared) << "round " << round;
    EXPECT_EQ(unmarkedState.linesStarted,
              std::count_if(expected.begin(), expected.end(), [](std::uint32_t s) { return (s & kFirstOfLine) != 0; }));
  }
}

}  // namespace
}  // namespace convora::test
