#pragma once
// A file opened through the system's own calls, for what streams cannot do:
// reads and writes at an offset from several threads at once, blocks taken
// ahead, copies from a mapping, flushes to disk, a rename over another file.
// POSIX descriptors or Windows handles, chosen in NativeFile.cpp alone.

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <utility>

namespace convora {

class NativeFile {
 public:
  enum class Mode { kRead, kWrite };

  // Opens an existing file; IsOpen() tells whether that worked.
  NativeFile(const std::filesystem::path& path, Mode mode);
  // A file that vanishes when closed: on Linux an unnamed one in `folder`
  // where its file system allows, otherwise one in the system's temporary
  // folder. Throws ConvoraError when none can be made.
  static NativeFile Temporary(const std::filesystem::path& folder);
  ~NativeFile();
  NativeFile(NativeFile&& other) noexcept { std::swap(handle_, other.handle_); }
  NativeFile& operator=(NativeFile&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }

  bool IsOpen() const;
  // How many bytes were read (0 at the end of the file) or written; -1 when
  // the system refused. Neither moves a file position others depend on.
  std::int64_t ReadAt(std::int64_t offset, std::span<std::uint8_t> out) const;
  std::int64_t WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) const;
  // Takes the blocks of `length` bytes from `from` without changing the
  // file's length; false when the file system cannot.
  bool Reserve(std::int64_t from, std::int64_t length) const;
  // Whether the file lives in memory, where blocks taken ahead would only be
  // pages zeroed for the writes to fill.
  bool InMemory() const;
  // Writes `count` bytes of this file from `from` into `out` at `to`, straight
  // from a mapping of this file a window at a time; returns how many were
  // written, none where the system maps no files this way.
  std::int64_t WriteMappedInto(const NativeFile& out, std::int64_t from, std::int64_t to,
                               std::int64_t count) const;

 private:
  friend bool FlushToDisk(const std::filesystem::path& path);
  NativeFile() = default;
#if defined(_WIN32)
  void* handle_ = nullptr;  // a HANDLE
#else
  int handle_ = -1;
#endif
};

// Makes the content of the file at `path` durable on disk; false when the
// system refused. A file it will not even open is left to its write-back.
bool FlushToDisk(const std::filesystem::path& path);

// Puts `from` in the place of `to` in one step, replacing `to` when it
// exists; false when the system refused.
bool RenameOver(const std::filesystem::path& from, const std::filesystem::path& to);

// Why the system's last call in this thread failed, in words.
std::string LastSystemError();

}  // namespace convora
