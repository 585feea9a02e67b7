#include <gtest/gtest.h>

#include "abf/AsciiText.h"

namespace convora {
namespace {

TEST(AsciiText, MicroSignsBecomeUAndOtherLettersAQuestionMark) {
  EXPECT_EQ(AsciiText("\xC2\xB5V"), "uV");  // UTF-8 micro sign
  EXPECT_EQ(AsciiText("\xCE\xBCV"), "uV");  // Greek mu
  EXPECT_EQ(AsciiText("\xB5V"), "uV");      // Latin-1 micro sign
  EXPECT_EQ(AsciiText("\xC3\xA9t\xE9"), "?t?");
  EXPECT_EQ(AsciiText("pA"), "pA");
}

}  // namespace
}  // namespace convora
