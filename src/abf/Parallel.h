#pragma once
// Independent parts of one job run at once, one per processor core: reading
// text is bound by the processor, not by the disk, so a second core halves it.

#include <cstddef>
#include <cstdint>
#include <functional>

namespace convora {

// How many parts a job over `bytes` is worth: one per core, none smaller than
// `smallestPartBytes` (a thread costs more than it saves on little work), and
// at least one.
std::size_t PartsFor(std::int64_t bytes, std::int64_t smallestPartBytes);

// Runs task(0) to task(parts - 1) at once, task(0) on the calling thread and
// each other on a thread of its own, and returns when all have ended. When
// tasks threw, the exception of the lowest-numbered one is rethrown, so that
// the error reported is the one a single thread would have met first.
void RunParts(std::size_t parts, const std::function<void(std::size_t)>& task);

}  // namespace convora
