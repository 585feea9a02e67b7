#include "formats/igortext/PieceNumberReader.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "abf/Numbers.h"

namespace convora::test {
namespace {

std::string Digits(std::mt19937& random, int count) {
  std::string digits;
  for (int i = 0; i < count; ++i) digits += static_cast<char>('0' + random() % 10);
  return digits;
}

// A number in one of the forms a wave may hold, or something close to one,
// ended by a carriage return most of the time, else by another blank or
// line end, or by something else (a control character among them).
std::string RandomPiece(std::mt19937& random) {
  const auto pick = [&](std::initializer_list<const char*> choices) {
    return std::string(choices.begin()[random() % choices.size()]);
  };
  std::string piece = pick({"", "", "", "-", "-", "+", " ", "\t-", "--"});
  piece += Digits(random, static_cast<int>(random() % 16));
  if (random() % 4 != 0) piece += pick({".", ".", ".", ",", ".."}) + Digits(random, static_cast<int>(random() % 14));
  if (random() % 3 != 0) {
    piece += pick({"e", "e", "E", "d", "D", "x"});
    piece += pick({"-", "-", "+", "", "--"});
    piece += Digits(random, static_cast<int>(random() % 6));
  }
  return piece + pick({"\r", "\r", "\r", "\r", "\t", " pA\r", "", "\r\r", "5\r", "\n", " ", "\v\r"});
}

// Random pieces of every form; then the forms a recording repeats, with their
// digits changing from line to line, so that most numbers are read through a
// layout learnt from another; then texts whose digits lie where a learnt
// layout's do but whose other characters differ from it.
TEST(PieceNumberReader, ReadsEveryFormAsTheNumberReadAloneIs) {
  std::mt19937 random(11);
  std::string text;  // the pieces end to end
  std::vector<std::uint32_t> starts;
  const auto add = [&](const std::string& piece) {
    starts.push_back(static_cast<std::uint32_t>(text.size()));
    text += piece;
  };
  for (int i = 0; i < 200'000; ++i) add(RandomPiece(random));
  for (int i = 0; i < 100'000; ++i) {
    const int fraction = 1 + static_cast<int>(random() % 6);
    add((random() % 2 ? "-" : "") + Digits(random, 1) + "." + Digits(random, fraction) + "e-" +
        Digits(random, 2) + "\r");
  }
  for (const char* piece : {"1.5e-11\r", "1,5e-11\r", "1.5e+11\r", "1.5x-11\r", "1.5E-11\r",
                            "1.5d-11\r", "1.5e-11\r", "1.5e-1\r1", "1.5e-11 \r", "-2e-11\r",
                            "1e-11\r", "2e-11\r", "-0\r", "0\r", "-0.0e-30\r", "5e-12\rabc",
                            "123456789012.5\r", "1e22\r", "1e23\r", "9e-22\r", "9e-23\r",
                            // Digits where the learnt line has its return, and no return in view.
                            "1.5\r", "1.55 pA, no return",
                            // A control character where the learnt line has its return.
                            "1.5\x01\r"}) {
    add(piece);
  }
  // Every piece read in one call, up to 64 characters of each, with the
  // reader's look-ahead after the last, and compared bit for bit (so that -0
  // and 0 differ) with LeadingNumber, or with the field read alone.
  constexpr std::size_t kLongest = 64;
  const std::size_t length = text.size();
  text.append(PieceNumberReader::kReadAhead, '\0');
  const std::string_view pieces(text.data(), length);
  for (const PieceReading reading : {PieceReading::kLeadingNumber, PieceReading::kWholeField}) {
    std::vector<double> numbers(starts.size());
    PieceNumberReader(reading).Read(pieces, starts, kLongest, numbers);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      const std::string_view piece = pieces.substr(starts[i]);
      const double expected = reading == PieceReading::kLeadingNumber
                                  ? LeadingNumber(piece.substr(0, kLongest))
                                  : WholeFieldNumber(piece, kLongest);
      ASSERT_EQ(std::bit_cast<std::uint64_t>(numbers[i]), std::bit_cast<std::uint64_t>(expected))
          << "piece " << i << ": \"" << piece.substr(0, kLongest) << "\" read as " << numbers[i]
          << ", not " << expected;
    }
  }
}

}  // namespace
}  // namespace convora::test
