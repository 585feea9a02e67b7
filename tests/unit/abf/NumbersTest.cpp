#include "abf/Numbers.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <limits>
#include <utility>

namespace convora {
namespace {

TEST(LeadingNumber, TakesTheNumberAtTheStartOfTheText) {
  const std::pair<const char*, double> cases[] = {
      {"200", 200},       {"  12.5 ms", 12.5}, {"-3e2x", -300}, {"1.5D1", 15},
      {"+.25", 0.25},     {"5e", 5},           {"5e-12\rrest", 5e-12},
      {"abc", 0},         {"", 0},             {".", 0},        {"-", 0}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(LeadingNumber(text), expected) << text;
}

// Short numbers are computed without from_chars; whichever way a number
// goes, its value must be the correctly rounded one from_chars gives.
TEST(LeadingNumber, EveryFormGivesTheCorrectlyRoundedValue) {
  std::mt19937_64 random(11);
  const auto digits = [&](int n) {
    std::string text;
    for (int k = 0; k < n; ++k) text += static_cast<char>('0' + random() % 10);
    return text;
  };
  for (int trial = 0; trial < 200000; ++trial) {
    std::string number = (random() % 2 ? "-" : "") + digits(static_cast<int>(random() % 12));
    if (random() % 2) number += "." + digits(static_cast<int>(random() % 14));
    if (number.find_first_of("0123456789") == std::string::npos) number += "7";
    std::string exponent;
    if (random() % 2) exponent = "e" + std::to_string(static_cast<int>(random() % 61) - 30);
    double expected = 0.0;
    const std::string plain = number + exponent;
    std::from_chars(plain.data(), plain.data() + plain.size(), expected);
    const std::string written = number + (exponent.empty() ? "" : "D" + exponent.substr(1));
    ASSERT_EQ(std::bit_cast<std::uint64_t>(LeadingNumber(written + "\t")),
              std::bit_cast<std::uint64_t>(expected))
        << written;
  }
}

TEST(ParseWholeNumber, AcceptsOnlyANumberWithBlanksAround) {
  EXPECT_EQ(ParseWholeNumber(" 50 "), 50.0);
  EXPECT_EQ(ParseWholeNumber("1e3"), 1000.0);
  EXPECT_FALSE(ParseWholeNumber("50us"));
  EXPECT_FALSE(ParseWholeNumber(""));
  EXPECT_FALSE(ParseWholeNumber("   "));
}

TEST(RoundToInt16, HalvesGoToTheEvenNeighbourAndWhatDoesNotFitIsRefused) {
  EXPECT_EQ(RoundToInt16(2.5), 2);
  EXPECT_EQ(RoundToInt16(3.5), 4);
  EXPECT_EQ(RoundToInt16(-2.5), -2);
  EXPECT_EQ(RoundToInt16(-16384.5), -16384);
  EXPECT_EQ(RoundToInt16(-32768.5), -32768);  // rounds into range
  EXPECT_FALSE(RoundToInt16(32767.5));  // rounds to 32768
  EXPECT_FALSE(RoundToInt16(-32769));
  EXPECT_FALSE(RoundToInt16(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(RoundToInt16(std::numeric_limits<double>::infinity()));
  EXPECT_EQ(RoundToInt32(2147483647.4), 2147483647);
  EXPECT_FALSE(RoundToInt32(2147483647.5));
}

TEST(NarrowToSingle, OverflowsOnlyPastTheFloatRange) {
  EXPECT_EQ(NarrowToSingle(0.1), 0.1f);
  EXPECT_EQ(NarrowToSingle(3.4028235e38), std::numeric_limits<float>::max());
  EXPECT_FALSE(NarrowToSingle(3.5e38));
  EXPECT_FALSE(NarrowToSingle(-1e300));
  EXPECT_TRUE(std::isinf(*NarrowToSingle(std::numeric_limits<double>::infinity())));
}

}  // namespace
}  // namespace convora
