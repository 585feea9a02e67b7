#include "formats/IgorTextPieces.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>
#include <vector>

#include "formats/PieceNumberReader.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace convora {
namespace {

constexpr std::size_t kBlockBytes = 64;
// The text is searched a span at a time; a span holds at most half as many
// cuts as bytes, since a cut takes two.
constexpr std::size_t kSpanBytes = 2 * kPieceNumbersPerBlock;
// Starts written past the last one found (see PieceStarts).
constexpr std::size_t kStartsSlack = 8;

// Cuts found per step (see PieceStarts): in a wave's text, of a dozen bytes a
// line, five at most but now and then.
constexpr int kCutsPerStep = 8;

// The bits set in `bits`, without the library call that std::popcount
// becomes for processors that may lack the instruction.
int CountBits(std::uint64_t bits) {
  bits -= (bits >> 1) & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + ((bits >> 2) & 0x3333333333333333);
  bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
  return static_cast<int>((bits * 0x0101010101010101) >> 56);
}

#if defined(__SSE2__)
// Bit i set where text[i] is `c`, for the 64 bytes from `text`.
[[gnu::always_inline]] inline std::uint64_t BytesEqualTo(const char* text, char c) {
  const __m128i sought = _mm_set1_epi8(c);
  const auto part = [&](std::size_t k) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16 * k));
    return std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, sought)))};
  };
  return part(0) | part(1) << 16 | part(2) << 32 | part(3) << 48;
}

// Fills `starts` with the offset from `text` of every piece whose cut (a
// carriage return followed by a tab) lies in the `length` bytes from
// `text + from`, in order, and returns how many there are; reads up to 64
// bytes past them and writes up to kStartsSlack entries past the last. The
// text is looked at 64 bytes at a time, and the starts are written eight at a
// time whatever their number, since a branch on how many a block holds is
// mispredicted about once a block.
std::size_t PieceStarts(const char* text, std::size_t from, std::size_t length,
                        std::uint32_t* starts) {
  std::size_t found = 0;
  for (std::size_t block = from; block < from + length; block += kBlockBytes) {
    const char* const at = text + block;
    const std::uint64_t tabs = BytesEqualTo(at, '\t') >> 1 |
                               std::uint64_t{at[kBlockBytes] == '\t'} << (kBlockBytes - 1);
    std::uint64_t cuts = BytesEqualTo(at, '\r') & tabs;
    if (from + length - block < kBlockBytes) cuts &= (std::uint64_t{1} << (from + length - block)) - 1;
    const auto pieceStart = static_cast<std::uint32_t>(block + 2);
    const auto count = static_cast<std::size_t>(CountBits(cuts));
    for (std::size_t written = 0; written < count; written += kCutsPerStep) {
      for (int k = 0; k < kCutsPerStep; ++k) {
        starts[found + written + k] = pieceStart + static_cast<std::uint32_t>(std::countr_zero(cuts));
        cuts &= cuts - 1;
      }
    }
    found += count;
  }
  return found;
}
#else
std::size_t PieceStarts(const char* text, std::size_t from, std::size_t length,
                        std::uint32_t* starts) {
  std::size_t found = 0;
  for (const char* p = text + from; p < text + from + length;) {
    const void* cut = std::memchr(p, '\r', static_cast<std::size_t>(text + from + length - p));
    if (cut == nullptr) break;
    p = static_cast<const char*>(cut) + 1;
    if (*p == '\t') starts[found++] = static_cast<std::uint32_t>(p + 1 - text);
  }
  return found;
}
#endif

}  // namespace

std::int64_t ForEachPieceNumber(SourceFile& source, Stretch share,
                                const std::function<void(std::span<const double>)>& onNumbers) {
  // Past the window: the last cut's tab, the look-ahead of the cut search and
  // the longest number read.
  std::vector<std::uint8_t> window(kPieceWindowBytes + kBlockBytes + kMaxNumberText);
  std::vector<std::uint32_t> starts(kSpanBytes / 2 + kStartsSlack);
  std::vector<double> numbers(kSpanBytes / 2);
  PieceNumberReader reader;
  std::int64_t pieces = 0;
  for (std::int64_t start = share.from; start < share.to; start += kPieceWindowBytes) {
    const std::size_t got = source.ReadPadded(start, window);
    // A piece is read up to the end of the file's bytes in the window: past
    // them lie zeros, never a tab, so a piece starts at most there.
    const std::string_view text(reinterpret_cast<const char*>(window.data()), got);
    const auto cutsLength = static_cast<std::size_t>(
        std::min<std::int64_t>({kPieceWindowBytes, share.to - start, static_cast<std::int64_t>(got)}));
    for (std::size_t span = 0; span < cutsLength; span += kSpanBytes) {
      const std::size_t found =
          PieceStarts(text.data(), span, std::min(kSpanBytes, cutsLength - span), starts.data());
      if (found == 0) continue;
      const std::span<double> read(numbers.data(), found);
      reader.Read(text, std::span<const std::uint32_t>(starts.data(), found), kMaxNumberText, read);
      onNumbers(read);
      pieces += static_cast<std::int64_t>(found);
    }
  }
  return pieces;
}

}  // namespace convora
