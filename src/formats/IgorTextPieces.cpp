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

#if defined(__SSE2__)
// Bit i set where text[i] is `c`, for the 64 bytes from `text`.
std::uint64_t BytesEqualTo(const char* text, char c) {
  const __m128i sought = _mm_set1_epi8(c);
  std::uint64_t bits = 0;
  for (std::size_t part = 0; part < kBlockBytes / 16; ++part) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16 * part));
    const auto found = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, sought)));
    bits |= std::uint64_t{found} << (16 * part);
  }
  return bits;
}

// Calls onCut(i) for every i < length, in order, where text[i] is a carriage
// return and text[i + 1] a tab; reads up to 64 bytes past `length`. Sixty-four
// bytes are looked at per step: a wave's lines are a dozen bytes long, and
// looking for each return on its own cost more than reading its number.
template <typename OnCut>
void ForEachCut(const char* text, std::size_t length, OnCut&& onCut) {
  for (std::size_t block = 0; block < length; block += kBlockBytes) {
    const char* const at = text + block;
    const std::uint64_t tabs = BytesEqualTo(at, '\t') >> 1 |
                               std::uint64_t{at[kBlockBytes] == '\t'} << (kBlockBytes - 1);
    std::uint64_t cuts = BytesEqualTo(at, '\r') & tabs;
    if (length - block < kBlockBytes) cuts &= (std::uint64_t{1} << (length - block)) - 1;
    for (; cuts != 0; cuts &= cuts - 1) onCut(block + static_cast<std::size_t>(std::countr_zero(cuts)));
  }
}
#else
template <typename OnCut>
void ForEachCut(const char* text, std::size_t length, OnCut&& onCut) {
  for (const char* p = text; p < text + length;) {
    const void* found = std::memchr(p, '\r', static_cast<std::size_t>(text + length - p));
    if (found == nullptr) break;
    p = static_cast<const char*>(found) + 1;
    if (*p == '\t') onCut(static_cast<std::size_t>(p - 1 - text));
  }
}
#endif

}  // namespace

std::int64_t ForEachPieceNumber(SourceFile& source, Stretch share,
                                const std::function<void(std::span<const double>)>& onNumbers) {
  // Past the window: the last cut's tab, the look-ahead of the cut search and
  // the longest number read.
  std::vector<std::uint8_t> window(kPieceWindowBytes + kBlockBytes + kMaxNumberText);
  std::vector<std::uint32_t> starts;
  starts.reserve(kPieceNumbersPerBlock);
  std::vector<double> numbers(kPieceNumbersPerBlock);
  PieceNumberReader reader;
  std::int64_t pieces = 0;
  for (std::int64_t start = share.from; start < share.to; start += kPieceWindowBytes) {
    const std::size_t got = source.ReadPadded(start, window);
    // A piece is read up to the end of the file's bytes in the window: past
    // them lie zeros, never a tab, so a piece starts at most there.
    const std::string_view text(reinterpret_cast<const char*>(window.data()), got);
    const auto readStarts = [&] {
      const std::span<double> read(numbers.data(), starts.size());
      reader.Read(text, starts, kMaxNumberText, read);
      onNumbers(read);
      pieces += static_cast<std::int64_t>(starts.size());
      starts.clear();
    };
    const auto cutsLength = static_cast<std::size_t>(
        std::min<std::int64_t>({kPieceWindowBytes, share.to - start, static_cast<std::int64_t>(got)}));
    ForEachCut(text.data(), cutsLength, [&](std::size_t cut) {
      starts.push_back(static_cast<std::uint32_t>(cut + 2));
      if (starts.size() == kPieceNumbersPerBlock) readStarts();
    });
    if (!starts.empty()) readStarts();
  }
  return pieces;
}

}  // namespace convora
