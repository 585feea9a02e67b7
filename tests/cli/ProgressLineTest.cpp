#include "ProgressLine.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/TestSupport.h"

namespace convora::cli {
namespace {

using namespace std::chrono_literals;

// Only a terminal sees the line, and only once the run has taken a second.
TEST(ProgressLine, ShowsOnATerminalAfterTheFirstSecondOnly) {
  test::TempDir dir;
  test::WriteFile(dir / "a.abf", test::Bytes(2'000'000));
  std::ostringstream piped, early;
  ProgressLine(piped, false, 2, ProgressLine::Clock::now() - 5s).Starting(1, dir / "a.abf");
  ProgressLine(early, true, 2).Starting(1, dir / "a.abf");
  EXPECT_EQ(piped.str() + early.str(), "");
}

// Each file's line replaces the last, counts the bytes of the files done and
// ends in the file's name; the line is cut at 100 characters and cleared away.
TEST(ProgressLine, CountsTheFilesDoneAndClearsItself) {
  test::TempDir dir;
  test::WriteFile(dir / "a.abf", test::Bytes(2'000'000));
  const std::string longName = std::string(120, 'n') + ".abf";
  test::WriteFile(dir / longName, test::Bytes(1));
  std::ostringstream err;
  {
    ProgressLine line(err, true, 3, ProgressLine::Clock::now() - 5s);
    line.Starting(0, dir / "a.abf");
    const std::string first = "file 1 of 3, 0.0 MB done, 0.0 MB/s: a.abf";
    EXPECT_EQ(err.str(), first);
    err.str("");
    line.Starting(1, dir / longName);
    const std::string shown = err.str();
    ASSERT_EQ(shown.substr(0, first.size() + 2), "\r" + std::string(first.size(), ' ') + "\r");
    const std::string second = shown.substr(first.size() + 2);
    EXPECT_EQ(second.substr(0, 26), "file 2 of 3, 2.0 MB done, ");
    EXPECT_EQ(second.size(), 100u);
    EXPECT_EQ(second.back(), 'n');
    err.str("");
  }
  EXPECT_EQ(err.str(), "\r" + std::string(100, ' ') + "\r");
}

}  // namespace
}  // namespace convora::cli
