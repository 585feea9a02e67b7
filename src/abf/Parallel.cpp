#include "abf/Parallel.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

namespace convora {

std::size_t PartsFor(std::int64_t bytes, std::int64_t smallestPartBytes) {
  const std::int64_t cores = std::max(1u, std::thread::hardware_concurrency());
  const std::int64_t worthwhile = smallestPartBytes > 0 ? bytes / smallestPartBytes : cores;
  return static_cast<std::size_t>(std::clamp<std::int64_t>(worthwhile, 1, cores));
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
