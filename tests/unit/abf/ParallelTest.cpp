#include "abf/Parallel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>
#include <string>
#include <vector>

namespace convora {
namespace {

TEST(Parallel, EveryPartRunsAndTheFirstFailureInPartOrderIsRethrown) {
  std::vector<std::atomic<int>> runs(6);
  try {
    RunParts(6, [&](std::size_t part) {
      ++runs[part];
      if (part == 2 || part == 4) throw std::runtime_error("part " + std::to_string(part));
    });
    FAIL() << "nothing was rethrown";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "part 2");
  }
  for (const auto& count : runs) EXPECT_EQ(count, 1);
}

TEST(Parallel, EvenSplitsCoverTheWholeInOrder) {
  for (const std::int64_t length : {std::int64_t{0}, std::int64_t{1}, std::int64_t{7},
                                    std::int64_t{1000003}, std::int64_t{1} << 62}) {
    const auto stretches = SplitEvenly(length, 3);
    ASSERT_EQ(stretches.size(), 3u);
    EXPECT_EQ(stretches.front().from, 0);
    EXPECT_EQ(stretches.back().to, length);
    for (std::size_t k = 1; k < stretches.size(); ++k) {
      EXPECT_EQ(stretches[k].from, stretches[k - 1].to);
      EXPECT_LE(stretches[k].Length() - stretches[0].Length(), 1);
    }
  }
}

TEST(Parallel, SmallJobsStayInOnePartLargeOnesTakeACoreEachUpToFour) {
  EXPECT_EQ(PartsFor(0, 1 << 20), 1u);
  EXPECT_EQ(PartsFor((1 << 20) + 5, 1 << 20), 1u);
  const std::size_t cores = std::min(4u, std::max(1u, std::thread::hardware_concurrency()));
  EXPECT_EQ(PartsFor(std::int64_t{1} << 40, 1 << 20), cores);
}

}  // namespace
}  // namespace convora
