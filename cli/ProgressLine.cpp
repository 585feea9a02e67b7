#include "ProgressLine.h"

#include <cstdio>
#include <ostream>
#include <system_error>

#include "abf/PathText.h"

namespace convora::cli {

ProgressLine::ProgressLine(std::ostream& err, bool terminal, std::size_t files,
                           Clock::time_point start)
    : err_(err), terminal_(terminal), files_(files), start_(start) {}

void ProgressLine::Starting(std::size_t index, const std::filesystem::path& file) {
  bytesDone_ += current_;
  std::error_code ec;
  const auto size = std::filesystem::file_size(file, ec);
  current_ = ec ? 0 : static_cast<std::int64_t>(size);
  if (!terminal_) return;
  const double seconds =
      std::chrono::duration<double>(Clock::now() - start_).count();
  if (seconds < 1.0) return;
  char text[160];
  const double megabytes = static_cast<double>(bytesDone_) / 1e6;
  std::snprintf(text, sizeof text, "file %zu of %zu, %.1f MB done, %.1f MB/s: ", index + 1, files_,
                megabytes, megabytes / seconds);
  std::string line = text + PathText(file.filename());
  if (line.size() > 100) line.resize(100);
  Clear();
  err_ << line << std::flush;
  shown_ = line.size();
}

void ProgressLine::Clear() {
  if (shown_ == 0) return;
  err_ << '\r' << std::string(shown_, ' ') << '\r' << std::flush;
  shown_ = 0;
}

}  // namespace convora::cli
