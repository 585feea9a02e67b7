#pragma once
// A temporary file for values kept between two passes of a conversion.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <span>
#include <utility>

namespace convora {

// An unnamed temporary file that vanishes when closed, for values a
// conversion keeps between two passes without holding them in memory. Its
// pages sit in the system's file cache, and a file this short-lived is
// normally never written to disk. One thread uses it at a time; threads that
// write at once each have one, since the system lets one write into a file
// at a time anyway.
class ScratchFile {
 public:
  // Made in `folder` (on Linux), else in the system's temporary folder.
  explicit ScratchFile(const std::filesystem::path& folder);
  ~ScratchFile();
  ScratchFile(ScratchFile&& other) noexcept { Swap(other); }
  ScratchFile& operator=(ScratchFile&& other) noexcept {
    Swap(other);
    return *this;
  }

  void WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes);
  // Throws when fewer than out.size() bytes were written there.
  void ReadAt(std::int64_t offset, std::span<std::uint8_t> out);

 private:
#if defined(_WIN32)
  void Swap(ScratchFile& other) noexcept { std::swap(file_, other.file_); }
  std::FILE* file_ = nullptr;
#else
  void Swap(ScratchFile& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(reserved_, other.reserved_);
    std::swap(reserving_, other.reserving_);
  }
  // Takes the file's blocks ahead of the writes that need them.
  void Reserve(std::int64_t end);
  int descriptor_ = -1;
  std::int64_t reserved_ = 0;  // bytes whose blocks are taken
  bool reserving_ = true;      // false once the file system has refused
#endif
};

}  // namespace convora
