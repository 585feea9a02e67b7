#pragma once
// Reads the number that starts a piece of Igor text, giving exactly what
// LeadingNumber gives (a Macintosh wave's pieces) or what ParseWholeNumber
// gives for the field up to the next blank or line end (the fields of other
// Igor text), at a fraction of their cost for the text such files hold.
//
// A wave's values are written by one program in one format, so their texts
// fall into a few layouts: where the sign, the digits, the point, the
// exponent letter and its sign lie before the blank or line end that ends
// the number. The reader keeps the layouts it has met. Numbers are read a
// block at a time, in two steps that each keep the processor busy with many
// numbers at once:
//  1. each number's first 16 characters are matched with a layout, whose
//     byte shuffle and multiply-adds turn its digits into an exponent and
//     three groups of four mantissa digits;
//  2. four numbers at a time become doubles: the one correctly rounded
//     quotient or product that LeadingNumber also takes for such short
//     numbers (ExactDecimal).
// Anything else (blanks, a '+', long or unusual numbers, a number not ended
// within 16 characters) is read one at a time.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace convora {

// What a piece's number is.
enum class PieceReading {
  kLeadingNumber,  // LeadingNumber of the piece
  kWholeField,     // the field up to the first blank or line end, NaN when it is not a number
};

// The field that starts `text` as a number: NaN when it is not one, or when
// `longest` characters hold no end of it and `text` goes on past them.
double WholeFieldNumber(std::string_view text, std::size_t longest);

class PieceNumberReader {
 public:
  // Bytes past a piece's start that Read may load, whatever the piece holds.
  static constexpr std::size_t kReadAhead = 16;

  explicit PieceNumberReader(PieceReading reading = PieceReading::kLeadingNumber);

  // numbers[i] = the number of text.substr(starts[i]) as `reading` says, the
  // piece read up to `longest` characters, for every start; kReadAhead bytes
  // from each start must be readable, even past the end of `text`.
  void Read(std::string_view text, std::span<const std::uint32_t> starts, std::size_t longest,
            std::span<double> numbers);

 private:
  // One layout: which bytes are digits and what each other byte up to the
  // blank or line end is; how its digits are gathered and weighed. 128 bytes,
  // so that a slot is found with one shift.
  struct alignas(128) Layout {
    alignas(16) std::array<std::uint8_t, 16> care{};     // 0xFF where a non-digit must match
    alignas(16) std::array<std::uint8_t, 16> pattern{};  // those bytes
    alignas(16) std::array<std::uint8_t, 16> gather{};   // byte shuffle: exponent, then mantissa
    alignas(16) std::array<std::int8_t, 16> weights{};   // of each gathered digit in its pair
    alignas(16) std::array<std::int32_t, 4> offsets{};   // added to the four sums
    std::uint32_t key = ~std::uint32_t{0};  // no number's key: see GatherOne
  };

  // A number as its layout leaves it: lane 0 its exponent plus
  // kExponentOffset, with 1 << 16 added when the number is negative (0 when
  // no layout read it); lanes 1-3 the mantissa's groups of four digits.
  struct alignas(16) Gathered {
    std::array<std::int32_t, 4> lanes;
  };

  static bool Learn(const char* text, std::uint32_t key, Layout& layout);
  double ReadAlone(std::string_view text, std::uint32_t start, std::size_t longest) const;
  void ReadEachAlone(std::string_view text, std::span<const std::uint32_t> starts,
                     std::size_t longest, std::span<double> numbers) const;
  Gathered GatherOne(const char* start);
  void GatherAll(std::string_view text, std::span<const std::uint32_t> starts);
  void ValuesOfGathered(std::string_view text, std::span<const std::uint32_t> starts,
                        std::size_t longest, std::span<double> numbers) const;

  std::array<Layout, 64> layouts_;
  std::vector<Gathered> gathered_;
  PieceReading reading_;
  bool vectorReady_;
};

}  // namespace convora
