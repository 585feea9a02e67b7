#include "formats/igortext/IgorTextPieces.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "abf/ConvoraError.h"
#include "formats/igortext/PieceCuts.h"
#include "formats/igortext/PieceNumberReader.h"

namespace convora {
namespace {

// A span holds at most half as many cuts as bytes, since a cut takes two.
constexpr std::size_t kMostPiecesPerSpan = kPieceSpanBytes / 2;
static_assert(kMostPiecesPerSpan <= kPieceNumbersPerBlock);

}  // namespace

void ForEachSpan(SourceFile& source, Stretch share, const std::function<bool(const TextSpan&)>& onSpan) {
  // Past the window: the tab after its last cut, the look-ahead of the
  // searches and the longest number read.
  std::vector<std::uint8_t> window(kPieceWindowBytes + kPieceCutLookAhead + kMaxNumberText);
  for (std::int64_t start = share.from; start < share.to; start += kPieceWindowBytes) {
    const std::size_t got = source.ReadPadded(start, window);
    const std::string_view text(reinterpret_cast<const char*>(window.data()), got);
    const auto searched =
        static_cast<std::size_t>(std::min<std::int64_t>(kPieceWindowBytes, share.to - start));
    if (got < searched) throw SourceChangedError();  // shorter than when it was opened
    for (std::size_t span = 0; span < searched; span += kPieceSpanBytes) {
      if (!onSpan({text, start, span, std::min(kPieceSpanBytes, searched - span)})) return;
    }
  }
}

std::int64_t ForEachPieceNumber(SourceFile& source, Stretch share,
                                const std::function<void(std::span<const double>)>& onNumbers) {
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
  // A piece is read up to the end of the file's bytes in the window: past
  // them lie zeros, never a tab, so a piece starts at most there.
  ForEachSpan(source, share, [&](const TextSpan& span) {
    const std::size_t found = pieceStarts(span.text.data(), span.from, span.length, starts.data());
    if (held + found > numbers.size()) handOn();
    reader.Read(span.text, std::span<const std::uint32_t>(starts.data(), found), kMaxNumberText,
                std::span<double>(numbers.data() + held, found));
    held += found;
    pieces += static_cast<std::int64_t>(found);
    return true;
  });
  handOn();
  return pieces;
}

}  // namespace convora
