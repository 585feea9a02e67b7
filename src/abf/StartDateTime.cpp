#include "abf/StartDateTime.h"

#include <chrono>
#include <ctime>
#include <string>

namespace convora {

LocalDateTime CurrentLocalDateTime() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
          local.tm_hour,        local.tm_min,     local.tm_sec};
}

void StampStartDateTime(AbfHeader& header, const LocalDateTime& now) {
  // The last two characters of the year's decimal text, read as a number.
  const std::string yearText = std::to_string(now.year);
  const int twoDigitYear = std::stoi(yearText.substr(yearText.size() >= 2 ? yearText.size() - 2 : 0));
  header.Set(abf::lFileStartDate, twoDigitYear * 10000 + now.month * 100 + now.day);
  header.Set(abf::lFileStartTime, now.hour * 3600 + now.minute * 60 + now.second);
  header.Set(abf::lStopwatchTime, 0);
}

}  // namespace convora
