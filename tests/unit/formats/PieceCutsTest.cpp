#include "formats/igortext/PieceCuts.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace convora::test
