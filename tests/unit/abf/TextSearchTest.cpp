#include "abf/TextSearch.h"

#include <gtest/gtest.h>

namespace convora {
namespace {

TEST(InStrNth, FindsTheNthOccurrenceCountingOverlapsOrGivesZero) {
  EXPECT_EQ(InStrNth("a\tb\tc", "\t", 1), 2);
  EXPECT_EQ(InStrNth("a\tb\tc", "\t", 2), 4);
  EXPECT_EQ(InStrNth("aaaa", "aa", 2), 2);
  EXPECT_EQ(InStrNth("aaaa", "aa", 3), 3);
  // No such occurrence: 0.
  EXPECT_EQ(InStrNth("a\tb", "\t", 0), 0);
  EXPECT_EQ(InStrNth("a\tb", "\t", -1), 0);
  EXPECT_EQ(InStrNth("a\tb", "\t", 2), 0);
  EXPECT_EQ(InStrNth("", "\t", 1), 0);
  EXPECT_EQ(InStrNth("abc", "C", 1), 0);  // case matters
}

}  // namespace
}  // namespace convora
