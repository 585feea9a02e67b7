#pragma once
// Independent parts of one job run at once, one per processor core: reading
// text and scaling values are bound by the processor more than by the disk,
// so a second core nearly halves them.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace convora {

// Items [from, to) of a job: bytes of a file, or values of a recording.
struct Stretch {
  std::int64_t from = 0;
  std::int64_t to = 0;

  std::int64_t Length() const { return to - from; }
};

// `parts` (at least one) stretches of about equal length that cover items [0,
// length) in order.
std::vector<Stretch> SplitEvenly(std::int64_t length, std::size_t parts);

// How many parts a job over `bytes` is worth: one per core up to four, none
// smaller than `smallestPartBytes` (a thread costs more than it saves on
// little work), and at least one.
std::size_t PartsFor(std::int64_t bytes, std::int64_t smallestPartBytes);

// Runs task(0) to task(parts - 1) at once, task(0) on the calling thread and
// each other on a thread of its own, and returns when all have ended. When
// tasks threw, the exception of the lowest-numbered one is rethrown, so that
// the error reported is the one a single thread would have met first.
void RunParts(std::size_t parts, const std::function<void(std::size_t)>& task);

}  // namespace convora
