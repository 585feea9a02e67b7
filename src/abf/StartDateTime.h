#pragma once
#include "abf/AbfHeader.h"

namespace convora {

struct LocalDateTime {
  int year = 2000;
  int month = 1;  // 1-12
  int day = 1;    // 1-31
  int hour = 0;
  int minute = 0;
  int second = 0;
};

LocalDateTime CurrentLocalDateTime();

// lFileStartDate = two-digit year x 10000 + month x 100 + day (the century is
// dropped on purpose: readers of these files expect it so), lFileStartTime =
// seconds since midnight, lStopwatchTime = 0.
void StampStartDateTime(AbfHeader& header, const LocalDateTime& now);

}  // namespace convora
