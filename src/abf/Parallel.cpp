#include "abf/Parallel.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

namespace convora {

std::size_t PartsFor(std::int64_t bytes, std::int64_t smallestPartBytes) {
  // Beyond four parts the passes are bound by the memory's bandwidth, and
  // each part holds buffers of its own.
  constexpr std::int64_t kMostParts = 4;
  const std::int64_t cores =
      std::min<std::int64_t>(kMostParts, std::max(1u, std::thread::hardware_concurrency()));
  const std::int64_t worthwhile = smallestPartBytes > 0 ? bytes / smallestPartBytes : cores;
  return static_cast<std::size_t>(std::clamp<std::int64_t>(worthwhile, 1, cores));
}

std::vector<Stretch> SplitEvenly(std::int64_t length, std::size_t parts) {
  const auto count = static_cast<std::int64_t>(std::max<std::size_t>(parts, 1));
  // floor(length x k / count), without the product overflowing.
  const auto boundary = [&](std::int64_t k) { return length / count * k + length % count * k / count; };
  std::vector<Stretch> stretches;
  for (std::int64_t k = 0; k < count; ++k) stretches.push_back({boundary(k), boundary(k + 1)});
  return stretches;
}

void RunParts(std::size_t parts, const std::function<void(std::size_t)>& task) {
  std::vector<std::exception_ptr> failures(parts);
  const auto run = [&](std::size_t part) {
    try {
      task(part);
    } catch (...) {
      failures[part] = std::current_exception();
    }
  };
  {
    std::vector<std::jthread> others;
    others.reserve(parts);
    for (std::size_t part = 1; part < parts; ++part) others.emplace_back(run, part);
    if (parts > 0) run(0);
  }  // the jthreads join here
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
}

}  // namespace convora
