#include "formats/igortext/PieceNumberReader.h"

#include <algorithm>
#include <limits>

#include "abf/Numbers.h"

#if defined(__GNUC__) && defined(__x86_64__)
#define CONVORA_PIECE_VECTORS 1
#include <immintrin.h>
#else
#define CONVORA_PIECE_VECTORS 0
#endif

namespace convora {
namespace {

// Lanes 0-3 of the gathered digits hold the exponent, lanes 4-15 the mantissa.
constexpr int kExponentLanes = 4;
constexpr int kMantissaLanes = 12;
constexpr std::uint8_t kZeroLane = 0x80;  // a shuffle index that yields 0

// Keeps a gathered exponent (at most four digits, less the fraction's
// digits) within lane 0's low 16 bits and above 0, which is left for numbers
// no layout read; the number's sign goes in the bit above.
constexpr std::int32_t kExponentOffset = 1 << 15;
constexpr std::int32_t kNegative = 1 << 16;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsExponentLetter(char c) { return c == 'e' || c == 'E' || c == 'd' || c == 'D'; }
bool IsNumberEnd(char c) { return c == '\r' || c == '\n' || c == '\t' || c == ' '; }

#if CONVORA_PIECE_VECTORS
// The exponent and sign coded in a gathered lane 0.
int ExponentOf(std::int32_t lane) { return (lane & 0xFFFF) - kExponentOffset; }
bool NegativeOf(std::int32_t lane) { return (lane & kNegative) != 0; }
#endif

}  // namespace

double WholeFieldNumber(std::string_view text, std::size_t longest) {
  const std::string_view piece = text.substr(0, longest);
  const auto end = std::find_if(piece.begin(), piece.end(), IsNumberEnd);
  if (end == piece.end() && piece.size() < text.size()) return std::numeric_limits<double>::quiet_NaN();
  return ParseWholeNumber(piece.substr(0, static_cast<std::size_t>(end - piece.begin())))
      .value_or(std::numeric_limits<double>::quiet_NaN());
}

#if CONVORA_PIECE_VECTORS
PieceNumberReader::PieceNumberReader(PieceReading reading)
    : reading_(reading), vectorReady_(__builtin_cpu_supports("avx2")) {}
#else
PieceNumberReader::PieceNumberReader(PieceReading reading) : reading_(reading), vectorReady_(false) {}
#endif

double PieceNumberReader::ReadAlone(std::string_view text, std::uint32_t start,
                                    std::size_t longest) const {
  const std::string_view piece = text.substr(start);
  return reading_ == PieceReading::kLeadingNumber ? LeadingNumber(piece.substr(0, longest))
                                                  : WholeFieldNumber(piece, longest);
}

void PieceNumberReader::ReadEachAlone(std::string_view text, std::span<const std::uint32_t> starts,
                                      std::size_t longest, std::span<double> numbers) const {
  for (std::size_t i = 0; i < starts.size(); ++i) numbers[i] = ReadAlone(text, starts[i], longest);
}

bool PieceNumberReader::Learn(const char* text, std::uint32_t key, Layout& layout) {
  Layout learnt;
  learnt.key = key;
  learnt.gather.fill(kZeroLane);
  const auto digitsFrom = [&](int from) {
    int end = from;
    while (end < 16 && IsDigit(text[end])) ++end;
    return end - from;
  };
  const auto mustMatch = [&](int at) {
    learnt.care[at] = 0xFF;
    learnt.pattern[at] = static_cast<std::uint8_t>(text[at]);
  };
  const bool negative = text[0] == '-';
  if (negative) mustMatch(0);
  const int integerStart = negative ? 1 : 0;
  const int integerDigits = digitsFrom(integerStart);
  int i = integerStart + integerDigits;
  int fractionStart = i;
  int fractionDigits = 0;
  if (i < 16 && text[i] == '.') {
    mustMatch(i);
    fractionStart = ++i;
    fractionDigits = digitsFrom(i);
    i += fractionDigits;
  }
  const int mantissaDigits = integerDigits + fractionDigits;
  if (mantissaDigits == 0 || mantissaDigits > kMantissaLanes) return false;
  for (int d = 0; d < mantissaDigits; ++d) {
    const int from = d < integerDigits ? integerStart + d : fractionStart + (d - integerDigits);
    learnt.gather[16 - mantissaDigits + d] = static_cast<std::uint8_t>(from);
  }
  int exponentSign = 1;
  if (i < 16 && IsExponentLetter(text[i])) {
    int digitsAt = i + 1;
    const bool signed_ = digitsAt < 16 && (text[digitsAt] == '-' || text[digitsAt] == '+');
    digitsAt += signed_;
    const int exponentDigits = digitsAt < 16 ? digitsFrom(digitsAt) : 0;
    // Without a digit the letter is not part of the number, which then ends
    // before it, short of the carriage return.
    if (exponentDigits == 0) return false;
    if (exponentDigits > kExponentLanes) return false;
    mustMatch(i);
    if (signed_) mustMatch(i + 1);
    exponentSign = signed_ && text[i + 1] == '-' ? -1 : 1;
    for (int d = 0; d < exponentDigits; ++d) {
      learnt.gather[kExponentLanes - exponentDigits + d] = static_cast<std::uint8_t>(digitsAt + d);
    }
    i = digitsAt + exponentDigits;
  }
  if (i >= 16 || !IsNumberEnd(text[i])) return false;
  // The end is matched too: a text with a digit there has the same key.
  mustMatch(i);
  for (int lane = 0; lane < 16; lane += 2) {
    const int sign = lane < kExponentLanes ? exponentSign : 1;
    learnt.weights[lane] = static_cast<std::int8_t>(10 * sign);
    learnt.weights[lane + 1] = static_cast<std::int8_t>(sign);
  }
  learnt.offsets[0] = kExponentOffset - fractionDigits + (negative ? kNegative : 0);
  layout = learnt;
  return true;
}

#if CONVORA_PIECE_VECTORS

__attribute__((target("avx2"), always_inline)) inline PieceNumberReader::Gathered
PieceNumberReader::GatherOne(const char* start) {
  const auto load = [](const auto& lanes) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(lanes.data()));
  };
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(start));
  const __m128i digits = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
  const __m128i isDigit = _mm_cmpeq_epi8(_mm_min_epu8(digits, _mm_set1_epi8(9)), digits);
  const auto digitBits = static_cast<std::uint32_t>(_mm_movemask_epi8(isDigit));
  // Every byte up to a blank counts as an end here: one compare instead of
  // four. A layout is learnt only with one of the four real ends, which its
  // pattern holds, so any other byte at that place fails the match below.
  const __m128i ends = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ')), bytes);
  const auto endBits = static_cast<std::uint32_t>(_mm_movemask_epi8(ends));
  // The digits and the end up to the first end. Without an end in view that
  // is every digit; the layout with that key, if any, has its end where this
  // text has a digit, so the match below fails.
  const std::uint32_t key = (digitBits | endBits) & (endBits ^ (endBits - 1));
  Layout& layout = layouts_[(key * 0x9E3779B1u) >> 26];
  const __m128i cared = _mm_and_si128(bytes, load(layout.care));
  const bool fits =
      layout.key == key && _mm_movemask_epi8(_mm_cmpeq_epi8(cared, load(layout.pattern))) == 0xFFFF;
  // Hinted, so that the usual path runs without a taken branch.
  if (!fits) [[unlikely]] {
    if (!Learn(start, key, layout)) return Gathered{};
  }
  const __m128i placed = _mm_shuffle_epi8(digits, load(layout.gather));
  // Pairs of digits, then groups of four: lane 0 the exponent, lanes 1-3
  // the mantissa's three groups of four digits.
  const __m128i pairs = _mm_maddubs_epi16(placed, load(layout.weights));
  const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00010064));
  Gathered gathered;
  _mm_store_si128(reinterpret_cast<__m128i*>(gathered.lanes.data()),
                  _mm_add_epi32(fours, load(layout.offsets)));
  return gathered;
}

__attribute__((target("avx2"))) void PieceNumberReader::GatherAll(
    std::string_view text, std::span<const std::uint32_t> starts) {
  Gathered* const gathered = gathered_.data();
  const char* const base = text.data();
  for (std::size_t i = 0; i < starts.size(); ++i) gathered[i] = GatherOne(base + starts[i]);
}

// ExactDecimal four numbers at a time; numbers no layout read, or whose
// exponent is beyond the exact powers of ten, are read alone.
__attribute__((target("avx2"))) void PieceNumberReader::ValuesOfGathered(
    std::string_view text, std::span<const std::uint32_t> starts, std::size_t longest,
    std::span<double> numbers) const {
  const Gathered* const gathered = gathered_.data();
  const auto one = [&](std::size_t i) {
    const auto& lanes = gathered[i].lanes;
    const int exponent = ExponentOf(lanes[0]);
    if (exponent < -kLargestExactPowerOfTen || exponent > kLargestExactPowerOfTen) {
      return ReadAlone(text, starts[i], longest);
    }
    // At most 12 digits, far below 2^53.
    const auto mantissa = static_cast<std::uint64_t>(lanes[1]) * 100'000'000 +
                          static_cast<std::uint64_t>(lanes[2]) * 10'000 +
                          static_cast<std::uint64_t>(lanes[3]);
    return ExactDecimal(mantissa, exponent, NegativeOf(lanes[0]));
  };
  const auto load = [&](std::size_t i) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(gathered[i].lanes.data()));
  };
  std::size_t i = 0;
  for (; i + 4 <= starts.size(); i += 4) {
    // Lane k of each: the four numbers' lane k.
    const __m128i a = _mm_unpacklo_epi32(load(i), load(i + 1));
    const __m128i b = _mm_unpacklo_epi32(load(i + 2), load(i + 3));
    const __m128i c = _mm_unpackhi_epi32(load(i), load(i + 1));
    const __m128i d = _mm_unpackhi_epi32(load(i + 2), load(i + 3));
    const __m128i coded = _mm_unpacklo_epi64(a, b);
    // Exact: every product and sum is an integer below 10^12.
    const __m256d mantissa = _mm256_add_pd(
        _mm256_add_pd(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm_unpackhi_epi64(a, b)), _mm256_set1_pd(1e8)),
                      _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_unpacklo_epi64(c, d)), _mm256_set1_pd(1e4))),
        _mm256_cvtepi32_pd(_mm_unpackhi_epi64(c, d)));
    const __m128i exponent =
        _mm_sub_epi32(_mm_and_si128(coded, _mm_set1_epi32(0xFFFF)), _mm_set1_epi32(kExponentOffset));
    const __m128i magnitude = _mm_abs_epi32(exponent);
    const int beyond = _mm_movemask_ps(
        _mm_castsi128_ps(_mm_cmpgt_epi32(magnitude, _mm_set1_epi32(kLargestExactPowerOfTen))));
    // The masked form, every lane taken: GCC's unmasked one reads an
    // uninitialised register as its source.
    const __m256d power = _mm256_mask_i32gather_pd(
        _mm256_setzero_pd(), kExactPowersOfTen,
        _mm_min_epu32(magnitude, _mm_set1_epi32(kLargestExactPowerOfTen)),
        _mm256_castsi256_pd(_mm256_set1_epi64x(-1)), 8);
    // As ExactDecimal: divided by 10^-exponent, or multiplied by 10^exponent.
    const __m256d down = _mm256_castsi256_pd(_mm256_cvtepi32_epi64(exponent));
    const __m256d value =
        _mm256_blendv_pd(_mm256_mul_pd(mantissa, power), _mm256_div_pd(mantissa, power), down);
    const __m256i sign = _mm256_and_si256(_mm256_slli_epi64(_mm256_cvtepu32_epi64(coded), 63 - 16),
                                          _mm256_set1_epi64x(std::int64_t{1} << 63));
    _mm256_storeu_pd(numbers.data() + i, _mm256_or_pd(value, _mm256_castsi256_pd(sign)));
    if (beyond != 0) {
      for (std::size_t k = 0; k < 4; ++k) {
        if ((beyond >> k & 1) != 0) numbers[i + k] = one(i + k);
      }
    }
  }
  for (; i < starts.size(); ++i) numbers[i] = one(i);
}

void PieceNumberReader::Read(std::string_view text, std::span<const std::uint32_t> starts,
                             std::size_t longest, std::span<double> numbers) {
  if (!vectorReady_) {
    ReadEachAlone(text, starts, longest, numbers);
    return;
  }
  if (gathered_.size() < starts.size()) gathered_.resize(starts.size());
  GatherAll(text, starts);
  ValuesOfGathered(text, starts, longest, numbers);
}

#else

void PieceNumberReader::Read(std::string_view text, std::span<const std::uint32_t> starts,
                             std::size_t longest, std::span<double> numbers) {
  ReadEachAlone(text, starts, longest, numbers);
}

#endif

}  // namespace convora
