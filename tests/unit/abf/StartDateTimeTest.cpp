#include "abf/StartDateTime.h"

#include <gtest/gtest.h>

namespace convora {
namespace {

struct StampCase {
  LocalDateTime now;
  std::int32_t date;
  std::int32_t time;
};

class StampStartDateTimeTest : public ::testing::TestWithParam<StampCase> {};

TEST_P(StampStartDateTimeTest, DropsTheCenturyAndCountsSecondsSinceMidnight) {
  AbfHeader h;
  h.Set(abf::lStopwatchTime, 1234);
  StampStartDateTime(h, GetParam().now);
  EXPECT_EQ(h.Get(abf::lFileStartDate), GetParam().date);
  EXPECT_EQ(h.Get(abf::lFileStartTime), GetParam().time);
  EXPECT_EQ(h.Get(abf::lStopwatchTime), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Dates, StampStartDateTimeTest,
    ::testing::Values(StampCase{{2026, 11, 15, 0, 0, 0}, 261115, 0},
                      StampCase{{2005, 1, 5, 13, 45, 30}, 50105, 49530},
                      StampCase{{2000, 1, 1, 23, 59, 59}, 101, 86399},
                      StampCase{{1999, 12, 31, 0, 0, 1}, 991231, 1}));

}  // namespace
}  // namespace convora
