#pragma once
// Reads the number that starts a piece of a Macintosh Igor text wave, giving
// exactly what LeadingNumber gives, at a fraction of its cost for the text
// such waves hold.
//
// A wave's values are written by one program in one format, so their texts
// fall into a few layouts: where the digits, the point, the exponent letter
// and its sign lie before the carriage return that ends the line. The reader
// keeps the layouts it has met. A number whose first 16 characters match one
// is read in a few vector instructions: the digits are gathered into place by
// one byte shuffle and summed by two multiply-adds, and the value is the one
// correctly rounded quotient or product that LeadingNumber also takes for
// such short numbers (ExactDecimal). Anything else (blanks, a '+', long or
// unusual numbers, a line without its carriage return) goes to LeadingNumber.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace convora {

class PieceNumberReader {
 public:
  // Bytes past a piece's start that Read may load, whatever the piece holds.
  static constexpr std::size_t kReadAhead = 17;

  PieceNumberReader();

  // numbers[i] = the leading number of text.substr(starts[i], longest), for
  // every start; kReadAhead bytes from each start must be readable, even
  // past the end of `text`. Many at one call, so that the processor can work
  // on several at once.
  void Read(std::string_view text, std::span<const std::uint32_t> starts, std::size_t longest,
            std::span<double> numbers);

 private:
  // One layout: which bytes are digits and what each other byte before the
  // carriage return is; how its digits are gathered; how its exponent counts.
  struct Layout {
    std::uint32_t key = ~std::uint32_t{0};  // no number's key: see Read
    alignas(16) std::array<std::uint8_t, 16> care{};     // 0xFF where a non-digit must match
    alignas(16) std::array<std::uint8_t, 16> pattern{};  // those bytes
    alignas(16) std::array<std::uint8_t, 16> gather{};   // byte shuffle: exponent, then mantissa
    int exponentSign = 1;
    int fractionDigits = 0;
  };

  static bool Learn(const char* unsignedText, std::uint32_t key, Layout& layout);
  // The number at text.substr(at, longest), through a layout when one fits.
  double ReadOne(std::string_view text, std::uint32_t at, std::size_t longest);

  std::array<Layout, 64> layouts_;
  bool vectorReady_;
};

}  // namespace convora
