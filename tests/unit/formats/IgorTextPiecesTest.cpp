#include "formats/igortext/IgorTextPieces.h"

#include <gtest/gtest.h>

#include <random>
#include <span>
#include <string>
#include <vector>

#include "abf/Numbers.h"
#include "support/TestSupport.h"

namespace convora::test {
namespace {

// The numbers by their definition: the whole text cut at every CR+TAB, the
// part before the first cut dropped, each piece read from its first
// kMaxNumberText characters.
std::vector<double> NumbersByDefinition(const std::string& text) {
  std::vector<double> numbers;
  for (std::size_t cut = text.find("\r\t"); cut != std::string::npos;) {
    const std::size_t next = text.find("\r\t", cut + 2);
    const std::string piece = text.substr(cut + 2, next == std::string::npos ? next : next - cut - 2);
    numbers.push_back(LeadingNumber(std::string_view(piece).substr(0, kMaxNumberText)));
    cut = next;
  }
  return numbers;
}

// Lines of every kind a wave may hold, in random order, so that cuts, numbers
// and runs of CRs fall across window and share boundaries. Long numbers make
// up most of the text, so that boundaries fall inside them.
std::string RandomWaveText(std::mt19937& random, std::size_t length) {
  const std::string longNumber = "\r\t1" + std::string(299, '2');
  const std::vector<std::string> lines = {
      "\r\t-1.5e-11", "\r\t2", "\r\t+3.25d-12", "\r\t\t 7E-1", "\r\twave0", "\r\t",
      "\r\r\t4.5", "\r", "\t", "\r\t0." + std::string(30, '0') + "1", "\r\t1e400", "\r\t5.0 pA",
      longNumber, longNumber, longNumber};
  // Blanks beyond the longest number read: the piece reads as 0.
  std::string text = "IGOR\rWAVES\twave0\rBEGIN\r\t" + std::string(kMaxNumberText, ' ') + "1";
  while (text.size() < length) text += lines[random() % lines.size()];
  return text;
}

// Random texts, and one of enough short lines to fill several blocks: however
// the shares, blocks and the search's spans fall, every number arrives once,
// in order, in blocks of the bounded size.
TEST(IgorTextPieces, AnySplitIntoSharesReadsTheNumbersOfTheWholeTextInBoundedBlocks) {
  TempDir dir;
  std::mt19937 random(7);
  std::string shortLines = "IGOR\rWAVES\twave0\rBEGIN";
  for (std::size_t i = 0; i < 3 * kPieceNumbersPerBlock + 17; ++i) {
    shortLines += "\r\t" + std::to_string(i);
  }
  for (const std::string& text : {RandomWaveText(random, 3000),
                                  RandomWaveText(random, 2 * kPieceWindowBytes + 9000),
                                  shortLines + "\rEND\r"}) {
    const auto path = dir / "wave.itx";
    WriteFile(path, Bytes(text.begin(), text.end()));
    SourceFile source(path);
    const std::vector<double> expected = NumbersByDefinition(text);
    for (std::size_t parts = 1; parts <= 5; ++parts) {
      std::vector<double> numbers;
      std::int64_t pieces = 0;
      for (const Stretch share : SplitEvenly(source.Length(), parts)) {
        pieces += ForEachPieceNumber(source, share, [&](std::span<const double> block) {
          EXPECT_FALSE(block.empty());
          EXPECT_LE(block.size(), kPieceNumbersPerBlock);
          numbers.insert(numbers.end(), block.begin(), block.end());
        });
      }
      EXPECT_EQ(pieces, static_cast<std::int64_t>(expected.size())) << text.size() << " " << parts;
      EXPECT_EQ(numbers, expected) << text.size() << " " << parts;
    }
  }
}

}  // namespace
}  // namespace convora::test
