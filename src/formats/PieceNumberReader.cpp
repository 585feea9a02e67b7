#include "formats/PieceNumberReader.h"


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

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsExponentLetter(char c) { return c == 'e' || c == 'E' || c == 'd' || c == 'D'; }

}  // namespace

#if CONVORA_PIECE_VECTORS
PieceNumberReader::PieceNumberReader() : vectorReady_(__builtin_cpu_supports("ssse3")) {}
#else
PieceNumberReader::PieceNumberReader() : vectorReady_(false) {}
#endif

bool PieceNumberReader::Learn(const char* text, std::uint32_t key, Layout& layout) {
  Layout learnt;
  learnt.key = key;
  learnt.gather.fill(kZeroLane);
  int i = 0;
  const auto digitsFrom = [&](int from) {
    int end = from;
    while (end < 16 && IsDigit(text[end])) ++end;
    return end - from;
  };
  const auto mustMatch = [&](int at) {
    learnt.care[at] = 0xFF;
    learnt.pattern[at] = static_cast<std::uint8_t>(text[at]);
  };
  const int integerDigits = digitsFrom(0);
  i = integerDigits;
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
    const int from = d < integerDigits ? d : fractionStart + (d - integerDigits);
    learnt.gather[16 - mantissaDigits + d] = static_cast<std::uint8_t>(from);
  }
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
    learnt.exponentSign = signed_ && text[i + 1] == '-' ? -1 : 1;
    for (int d = 0; d < exponentDigits; ++d) {
      learnt.gather[kExponentLanes - exponentDigits + d] = static_cast<std::uint8_t>(digitsAt + d);
    }
    i = digitsAt + exponentDigits;
  }
  if (i >= 16 || text[i] != '\r') return false;
  learnt.fractionDigits = fractionDigits;
  layout = learnt;
  return true;
}

#if CONVORA_PIECE_VECTORS
__attribute__((target("ssse3"), always_inline))
#endif
inline double PieceNumberReader::ReadOne(std::string_view text, std::uint32_t at,
                                         std::size_t longest) {
#if CONVORA_PIECE_VECTORS
  if (vectorReady_) {
    const char* const start = text.data() + at;
    const bool negative = start[0] == '-';
    const char* const number = start + negative;
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(number));
    const __m128i digits = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
    const __m128i isDigit = _mm_cmpeq_epi8(_mm_min_epu8(digits, _mm_set1_epi8(9)), digits);
    const auto digitBits = static_cast<std::uint32_t>(_mm_movemask_epi8(isDigit));
    const auto returns =
        static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r'))));
    const std::uint32_t firstReturn = returns & (0u - returns);
    // The digits before the first carriage return, and where it lies. A line
    // without one in view gets a key no layout has (no return bit above the
    // digits), so it is never read by a layout.
    const std::uint32_t key = (digitBits & (firstReturn - 1)) | (firstReturn << 16);
    Layout& layout = layouts_[(key * 0x9E3779B1u) >> 26];
    const auto matches = [&] {
      const __m128i care = _mm_load_si128(reinterpret_cast<const __m128i*>(layout.care.data()));
      const __m128i pattern = _mm_load_si128(reinterpret_cast<const __m128i*>(layout.pattern.data()));
      return _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(bytes, care), pattern)) == 0xFFFF;
    };
    if ((layout.key == key && matches()) || (firstReturn != 0 && Learn(number, key, layout))) {
      const __m128i gather = _mm_load_si128(reinterpret_cast<const __m128i*>(layout.gather.data()));
      const __m128i placed = _mm_shuffle_epi8(digits, gather);
      // Pairs of digits, then groups of four: lane 0 the exponent, lanes 1-3
      // the mantissa's three groups of four digits.
      const __m128i pairs = _mm_maddubs_epi16(placed, _mm_set1_epi16(0x010A));
      const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00010064));
      const auto low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(fours));
      const auto high = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(fours, fours)));
      const auto exponentDigits = static_cast<int>(static_cast<std::uint32_t>(low));
      // At most 12 digits, far below 2^53.
      const std::uint64_t mantissa =
          (low >> 32) * 100'000'000 + static_cast<std::uint32_t>(high) * 10'000 + (high >> 32);
      const int exponent = layout.exponentSign * exponentDigits - layout.fractionDigits;
      if (exponent >= -kLargestExactPowerOfTen && exponent <= kLargestExactPowerOfTen) {
        return ExactDecimal(mantissa, exponent, negative);
      }
    }
  }
#endif
  return LeadingNumber(text.substr(at, longest));
}

#if CONVORA_PIECE_VECTORS
__attribute__((target("ssse3")))
#endif
void PieceNumberReader::Read(std::string_view text, std::span<const std::uint32_t> starts,
                             std::size_t longest, std::span<double> numbers) {
  for (std::size_t i = 0; i < starts.size(); ++i) numbers[i] = ReadOne(text, starts[i], longest);
}

}  // namespace convora
