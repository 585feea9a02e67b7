#pragma once
// A file rewritten so that a crash or a failure never leaves it half-written:
// the new content is built in a temporary file beside it and renamed over it
// only once complete. Until then the old file (or its absence) stays as it was.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include "abf/FileIo.h"

namespace convora {

class ReplacementFile {
 public:
  // The new content starts as a copy of `startFrom` when given (and present),
  // otherwise empty. Passing the target itself keeps its bytes past whatever
  // is written, as a write into the old file would.
  ReplacementFile(const std::filesystem::path& target,
                  const std::optional<std::filesystem::path>& startFrom);
  // Removes the temporary file unless Commit succeeded.
  ~ReplacementFile();
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;

  OutputFile& File() { return *file_; }
  void WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) {
    file_->WriteAt(offset, bytes);
  }

  // Puts the content in the target's place. When it replaces an existing
  // file, the content is flushed to disk first, so that a crash never leaves
  // the old file's name on content that never reached the disk; a new file
  // has nothing to lose and is left to the system's own write-back.
  void Commit();

 private:
  std::filesystem::path target_;
  std::filesystem::path temporary_;
  std::optional<OutputFile> file_;
  bool replacing_ = false;
  bool committed_ = false;
};

// Starts from the target's own bytes when it exists: the usual way to write
// into an existing file without shortening it.
ReplacementFile RewriteOf(const std::filesystem::path& target);

}  // namespace convora
