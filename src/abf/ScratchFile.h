#pragma once
// A temporary file for values kept between two passes of a conversion.

#include <cstdint>
#include <filesystem>
#include <span>

#include "abf/NativeFile.h"

namespace convora {

// An unnamed temporary file that vanishes when closed, for values a
// conversion keeps between two passes without holding them in memory. Its
// pages sit in the system's file cache, and a file this short-lived is
// normally never written to disk. One thread writes it at a time; threads
// that write at once each have one, since the system lets one write into a
// file at a time anyway. Once written, threads may read it at once.
class ScratchFile {
 public:
  // Made in `folder` on Linux where its file system allows, otherwise in the
  // system's temporary folder.
  explicit ScratchFile(const std::filesystem::path& folder);

  void WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes);
  // Throws when fewer than out.size() bytes were written there.
  void ReadAt(std::int64_t offset, std::span<std::uint8_t> out) const;
  // The same for doubles kept one after another, `first` counted in doubles.
  void WriteDoubles(std::int64_t first, std::span<const double> values) {
    WriteAt(first * std::int64_t{sizeof(double)},
            {reinterpret_cast<const std::uint8_t*>(values.data()), values.size_bytes()});
  }
  void ReadDoubles(std::int64_t first, std::span<double> out) const {
    ReadAt(first * std::int64_t{sizeof(double)},
           {reinterpret_cast<std::uint8_t*>(out.data()), out.size_bytes()});
  }

 private:
  // Takes the file's blocks ahead of the writes that need them.
  void Reserve(std::int64_t end);

  NativeFile file_;
  std::int64_t reserved_ = 0;  // bytes whose blocks are taken
  bool reserving_ = true;      // false once the file system has refused
};

}  // namespace convora
