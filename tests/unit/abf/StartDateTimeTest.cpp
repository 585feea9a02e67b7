#include "abf/StartDateTime.h"

#include <gtest/gtest.h>

namespace convora {
namespace {

TEST(StampStartDateTime, DropsTheCenturyAndCountsSecondsSinceMidnight) {
  struct Case {
    LocalDateTime now;
    std::int32_t date;
    std::int32_t time;
  };
  for (const Case& c : {Case{{2026, 11, 15, 0, 0, 0}, 261115, 0},
                        Case{{2005, 1, 5, 13, 45, 30}, 50105, 49530},
                        Case{{2000, 1, 1, 23, 59, 59}, 101, 86399},
                        Case{{1999, 12, 31, 0, 0, 1}, 991231, 1}}) {
    AbfHeader h;
    h.Set(abf::lStopwatchTime, 1234);
    StampStartDateTime(h, c.now);
    EXPECT_EQ(h.Get(abf::lFileStartDate), c.date);
    EXPECT_EQ(h.Get(abf::lFileStartTime), c.time) << c.date;
    EXPECT_EQ(h.Get(abf::lStopwatchTime), 0);
  }
}

}  // namespace
}  // namespace convora
