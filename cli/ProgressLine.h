#pragma once
// A one-line progress display on stderr for long batches on a terminal: file
// k of n, the bytes of the files done and the rate. It shows only once the
// run has taken a second, never when stderr is not a terminal (scripts read
// only the lines they expect there), and clears itself before any other
// line is written.

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <string>

namespace convora::cli {

class ProgressLine {
 public:
  using Clock = std::chrono::steady_clock;
  // `start` is when the run began: now, unless a test says otherwise.
  ProgressLine(std::ostream& err, bool terminal, std::size_t files,
               Clock::time_point start = Clock::now());
  ~ProgressLine() { Clear(); }

  // Before file `index` (from 0) starts.
  void Starting(std::size_t index, const std::filesystem::path& file);
  // Takes the line away, so that a message can be written.
  void Clear();

 private:
  std::ostream& err_;
  bool terminal_;
  std::size_t files_;
  Clock::time_point start_;
  std::int64_t bytesDone_ = 0;
  std::int64_t current_ = 0;  // size of the file in hand
  std::size_t shown_ = 0;     // characters on the line now
};

}  // namespace convora::cli
