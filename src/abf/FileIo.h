#pragma once
// Positioned, 64-bit binary file access for sources and outputs.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

namespace convora {

class SourceFile {
 public:
  // Throws ConvoraError when the path is missing, not a regular file or unreadable.
  explicit SourceFile(const std::filesystem::path& path);

  std::int64_t Length() const { return length_; }
  const std::filesystem::path& Path() const { return path_; }
  // The same file opened again, for a thread to read on its own. Throws
  // ConvoraError when its length has changed since this one was opened: the
  // file is then being rewritten under the conversion, and reading on would
  // mix two recordings or take zeros for the lost end.
  SourceFile Reopened() const;

  // Fills `out` from `offset`; bytes past the end of the file read as zero.
  // Returns how many bytes came from the file.
  std::size_t ReadPadded(std::int64_t offset, std::span<std::uint8_t> out);
  // Fills `out` with the little-endian 16-bit samples from `offset`, zero
  // past the end of the file.
  void ReadSamples(std::int64_t offset, std::span<std::int16_t> out);

 private:
  std::filesystem::path path_;
  std::ifstream stream_;
  std::int64_t length_ = 0;
  // Where the stream stands after the last read, -1 when unknown: reads
  // that follow on from it need no seek, which is a system call of its own.
  std::int64_t position_ = -1;
  std::vector<std::uint8_t> scratch_;
};

// Opens for writing without shortening: an existing file is written over from
// where we write, and bytes past the new end stay as they were.
class OutputFile {
 public:
  explicit OutputFile(const std::filesystem::path& path);

  // Safe to call from several threads at once: the writes take turns.
  void WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes);
  // Copies `count` bytes of `source` from `from` to `to` in this file in one
  // copy, the kernel's, from the source's cached pages into this file's (on
  // Linux and Windows the source is mapped a window at a time and written from
  // there). Returns how many bytes were copied that way, which may be fewer,
  // or none; the caller copies the rest itself. Threads may copy stretches at
  // once.
  std::int64_t CopyFromMapping(const SourceFile& source, std::int64_t from, std::int64_t to,
                               std::int64_t count);
  // Flushes and closes; throws when the data did not reach the file.
  void Close();

 private:
  std::filesystem::path path_;
  std::fstream stream_;
  std::mutex writing_;
};

// Opens `output` for a conversion of `source`; refuses when the two name one
// file, since writing would destroy the samples still to be read.
OutputFile OpenOutputFor(const std::filesystem::path& source, const std::filesystem::path& output);

}  // namespace convora
