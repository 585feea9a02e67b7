#include "formats/igortext/IgorTextPieces.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/igortext/PieceCuts.h"
#include "formats/igortext/PieceNumberReader.h"

namespace convora {
namespace {

// The text is searched a span at a time, and the numbers of a span are read
// at once; a span holds at most half as many cuts as bytes, since a cut takes
// two.
constexpr std::size_t kSpanBytes = 1 << 13;
constexpr std::size_t kMostPiecesPerSpan = kSpanBytes / 2;
static_assert(kMostPiecesPerSpan <= kPieceNumbersPerBlock);

}  // namespace

std::int64_t ForEachPieceNumber(SourceFile& source, Stretch share,
                                const std::function<void(std::span<const double>)>& onNumbers) {
  // Past the window: the last cut's tab, the look-ahead of the cut search and
  // the longest number read.
  std::vector<std::uint8_t> window(kPieceWindowBytes + kPieceCutLookAhead + kMaxNumberText);
  std::vector<std::uint32_t> starts(kMostPiecesPerSpan + kPieceStartsSlack);
  // A piece takes at least two bytes: a small share needs a small buffer.
  const auto mostPieces = static_cast<std::size_t>(std::min<std::int64_t>(
      kPieceNumbersPerBlock, share.Length() / 2 + static_cast<std::int64_t>(kMostPiecesPerSpan)));
  std::vector<double> numbers(mostPieces);
  std::size_t held = 0;  // numbers read but not handed on
  const auto handOn = [&] {
    if (held != 0) onNumbers(std::span<const double>(numbers.data(), held));
    held = 0;
  };
  PieceNumberReader reader;
  const PieceStartsSearch pieceStarts = FastestPieceStarts();
  std::int64_t pieces = 0;
  for (std::int64_t start = share.from; start < share.to; start += kPieceWindowBytes) {
    const std::size_t got = source.ReadPadded(start, window);
    // A piece is read up to the end of the file's bytes in the window: past
    // them lie zeros, never a tab, so a piece starts at most there.
    const std::string_view text(reinterpret_cast<const char*>(window.data()), got);
    const auto cutsLength =
        static_cast<std::size_t>(std::min<std::int64_t>(kPieceWindowBytes, share.to - start));
    if (got < cutsLength) throw SourceChangedError();  // shorter than when it was opened
    for (std::size_t span = 0; span < cutsLength; span += kSpanBytes) {
      const std::size_t found =
          pieceStarts(text.data(), span, std::min(kSpanBytes, cutsLength - span), starts.data());
      if (held + found > numbers.size()) handOn();
      reader.Read(text, std::span<const std::uint32_t>(starts.data(), found), kMaxNumberText,
                  std::span<double>(numbers.data() + held, found));
      held += found;
      pieces += static_cast<std::int64_t>(found);
    }
  }
  handOn();
  return pieces;
}

}  // namespace convora
