#include "formats/igortext/PieceCuts.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace convora {
namespace {

constexpr std::size_t kBlockBytes = 64;
static_assert(kPieceCutLookAhead >= kBlockBytes);

// Cuts written per step (see PieceStarts). Lines of a wave's text hold a
// dozen bytes or more, so a block of 64 holds at most six of their cuts and
// takes one step; eight per step made the search a quarter slower, shorter
// lines take a step more.
constexpr int kCutsPerStep = 6;
static_assert(kPieceStartsSlack >= kCutsPerStep);

#if defined(__SSE2__)
// Bit i set where text[i] is `c`, for the 64 bytes from `text`, 16 bytes at a
// time: every x86-64 processor can.
struct NarrowSearch {
  static std::uint64_t BytesEqualTo(const char* text, char c) {
    const __m128i sought = _mm_set1_epi8(c);
    std::uint64_t bits = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16 * k));
      bits |= std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, sought)))}
              << (16 * k);
    }
    return bits;
  }
  // The bits set, without the library call that std::popcount becomes for
  // processors that may lack the instruction.
  static std::size_t CountBits(std::uint64_t bits) {
    bits -= (bits >> 1) & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + ((bits >> 2) & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<std::size_t>((bits * 0x0101010101010101) >> 56);
  }
};

// The same, 32 bytes at a time and with the processor's own bit count: the
// search then takes a third less time.
struct WideSearch {
  __attribute__((target("avx2"))) static std::uint64_t BytesEqualTo(const char* text, char c) {
    const __m256i sought = _mm256_set1_epi8(c);
    const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
    const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 32));
    return std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, sought)))} |
           std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, sought)))}
               << 32;
  }
  __attribute__((target("popcnt"))) static std::size_t CountBits(std::uint64_t bits) {
    return static_cast<std::size_t>(__builtin_popcountll(bits));
  }
};

// Writes `base` plus the place of each of the `count` bits set in `bits` to
// `starts`, in order, kCutsPerStep at a time whatever their number (up to
// kCutsPerStep - 1 entries past the last): a branch on how many a block holds
// is mispredicted about once a block.
inline void WriteBitPlaces(std::uint64_t bits, std::size_t count, std::uint32_t base,
                           std::uint32_t* starts) {
  for (std::size_t written = 0; written < count; written += kCutsPerStep) {
    // Unrolled: as a loop, each write costs a compare and a jump more.
#pragma GCC unroll 8
    for (int k = 0; k < kCutsPerStep; ++k) {
      starts[written + k] = base + static_cast<std::uint32_t>(std::countr_zero(bits));
      bits &= bits - 1;
    }
  }
}

// The search of PieceStartsSearch, 64 bytes at a time.
template <typename Search>
std::size_t PieceStarts(const char* text, std::size_t from, std::size_t length,
                        std::uint32_t* starts) {
  std::size_t found = 0;
  for (std::size_t block = from; block < from + length; block += kBlockBytes) {
    const char* const at = text + block;
    const std::uint64_t tabs = Search::BytesEqualTo(at, '\t') >> 1 |
                               std::uint64_t{at[kBlockBytes] == '\t'} << (kBlockBytes - 1);
    std::uint64_t cuts = Search::BytesEqualTo(at, '\r') & tabs;
    if (from + length - block < kBlockBytes) cuts &= (std::uint64_t{1} << (from + length - block)) - 1;
    const std::size_t count = Search::CountBits(cuts);
    WriteBitPlaces(cuts, count, static_cast<std::uint32_t>(block + 2), starts + found);
    found += count;
  }
  return found;
}

// The wide search inlined into a body compiled for the processors that have it.
__attribute__((target("avx2,popcnt,bmi"), flatten)) std::size_t WidePieceStarts(
    const char* text, std::size_t from, std::size_t length, std::uint32_t* starts) {
  return PieceStarts<WideSearch>(text, from, length, starts);
}

// The search of FieldStartsSearch, 64 bytes at a time. A field starts a line
// when the run of separators before it holds a line end: adding the line
// ends to the separators carries a bit through the rest of such a run onto
// the field's first byte, and through no other run.
template <typename Search, bool kMarked>
std::size_t FieldStarts(const char* text, std::size_t from, std::size_t length,
                        FieldSearchState& state, std::uint32_t* starts) {
  std::size_t found = 0;
  std::uint64_t before = state.afterSeparator ? 1 : 0;  // bit 0: the byte before the block
  std::uint64_t carry = state.lineEnded;
  for (std::size_t block = from; block < from + length; block += kBlockBytes) {
    const char* const at = text + block;
    std::uint64_t ends = Search::BytesEqualTo(at, '\r') | Search::BytesEqualTo(at, '\n');
    std::uint64_t separators = ends | Search::BytesEqualTo(at, ' ') | Search::BytesEqualTo(at, '\t');
    const std::size_t left = from + length - block;
    if (left < kBlockBytes) {
      // Past the stretch: separators that end no line, so that no field
      // starts there and a line end's carry passes on.
      const std::uint64_t past = ~((std::uint64_t{1} << left) - 1);
      ends &= ~past;
      separators |= past;
    }
    std::uint64_t fields = ~separators & (separators << 1 | before);
    std::uint64_t sum;
    const bool over = __builtin_add_overflow(separators, ends, &sum);
    carry = static_cast<std::uint64_t>(__builtin_add_overflow(sum, carry, &sum) || over);
    const std::uint64_t firstOfLine = sum & fields;
    before = separators >> (std::min(left, kBlockBytes) - 1) & 1;
    if (ends != 0) {
      const auto first = static_cast<std::int64_t>(block) + std::countr_zero(ends);
      state.longestLine = std::max(state.longestLine, first - state.lastLineEnd - 1);
      state.lastLineEnd = static_cast<std::int64_t>(block) + 63 - std::countl_zero(ends);
    }
    state.linesStarted += static_cast<std::int64_t>(Search::CountBits(firstOfLine));
    if constexpr (kMarked) {
      for (; fields != 0; fields &= fields - 1) {
        const int bit = std::countr_zero(fields);
        starts[found++] = static_cast<std::uint32_t>(block + static_cast<std::size_t>(bit)) |
                          static_cast<std::uint32_t>(firstOfLine >> bit & 1) << 31;
      }
    } else {
      const std::size_t count = Search::CountBits(fields);
      WriteBitPlaces(fields, count, static_cast<std::uint32_t>(block), starts + found);
      found += count;
    }
  }
  state.afterSeparator = before != 0;
  state.lineEnded = carry;
  return found;
}

template <bool kMarked>
__attribute__((target("avx2,popcnt,bmi"), flatten)) std::size_t WideFieldStarts(
    const char* text, std::size_t from, std::size_t length, FieldSearchState& state,
    std::uint32_t* starts) {
  return FieldStarts<WideSearch, kMarked>(text, from, length, state, starts);
}

template <bool kMarked>
std::size_t NarrowFieldStarts(const char* text, std::size_t from, std::size_t length,
                              FieldSearchState& state, std::uint32_t* starts) {
  return FieldStarts<NarrowSearch, kMarked>(text, from, length, state, starts);
}
#else
bool IsLineEnd(char c) { return c == '\r' || c == '\n'; }

template <bool kMarked>
std::size_t PortableFieldStarts(const char* text, std::size_t from, std::size_t length,
                                FieldSearchState& state, std::uint32_t* starts) {
  std::size_t found = 0;
  for (std::size_t i = from; i < from + length; ++i) {
    const char c = text[i];
    if (IsLineEnd(c)) {
      const auto at = static_cast<std::int64_t>(i);
      state.longestLine = std::max(state.longestLine, at - state.lastLineEnd - 1);
      state.lastLineEnd = at;
      state.lineEnded = 1;
    }
    const bool separator = IsLineEnd(c) || c == ' ' || c == '\t';
    if (!separator && state.afterSeparator) {
      const bool firstOfLine = state.lineEnded != 0;
      starts[found++] = static_cast<std::uint32_t>(i) | (kMarked && firstOfLine ? kFirstOfLine : 0);
      state.linesStarted += firstOfLine;
      state.lineEnded = 0;
    }
    state.afterSeparator = separator;
  }
  return found;
}
#endif

}  // namespace

std::size_t PortablePieceStarts(const char* text, std::size_t from, std::size_t length,
                                std::uint32_t* starts) {
#if defined(__SSE2__)
  return PieceStarts<NarrowSearch>(text, from, length, starts);
#else
  std::size_t found = 0;
  for (const char* p = text + from; p < text + from + length;) {
    const void* cut = std::memchr(p, '\r', static_cast<std::size_t>(text + from + length - p));
    if (cut == nullptr) break;
    p = static_cast<const char*>(cut) + 1;
    if (*p == '\t') starts[found++] = static_cast<std::uint32_t>(p + 1 - text);
  }
  return found;
#endif
}

PieceStartsSearch FastestPieceStarts() {
#if defined(__SSE2__)
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") && __builtin_cpu_supports("bmi")) {
    return &WidePieceStarts;
  }
#endif
  return &PortablePieceStarts;
}

namespace {

template <bool kMarked>
FieldStartsSearch FastestFieldStartsOf() {
#if defined(__SSE2__)
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") && __builtin_cpu_supports("bmi")) {
    return &WideFieldStarts<kMarked>;
  }
  return &NarrowFieldStarts<kMarked>;
#else
  return &PortableFieldStarts<kMarked>;
#endif
}

}  // namespace

FieldStartsSearch FastestFieldStarts() { return FastestFieldStartsOf<true>(); }

FieldStartsSearch FastestUnmarkedFieldStarts() { return FastestFieldStartsOf<false>(); }

}  // namespace convora
