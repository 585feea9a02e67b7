#include "abf/ScratchFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "abf/ConvoraError.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <unistd.h>
#endif
#if defined(__linux__)
#include <linux/magic.h>
#include <sys/vfs.h>
#endif

namespace convora {
namespace {

std::string SystemReason() { return std::strerror(errno); }

}  // namespace

#if defined(_WIN32)
ScratchFile::ScratchFile(const std::filesystem::path&) : file_(std::tmpfile()) {
  if (file_ == nullptr) throw ConvoraError("cannot make a temporary file (" + SystemReason() + ")");
}

ScratchFile::~ScratchFile() {
  if (file_ != nullptr) std::fclose(file_);
}

void ScratchFile::WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) {
  if (_fseeki64(file_, offset, SEEK_SET) != 0 ||
      std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
    throw ConvoraError("cannot write a temporary file (" + SystemReason() + ")");
  }
}

void ScratchFile::ReadAt(std::int64_t offset, std::span<std::uint8_t> out) {
  if (_fseeki64(file_, offset, SEEK_SET) != 0 ||
      std::fread(out.data(), 1, out.size(), file_) != out.size()) {
    throw ConvoraError("a temporary file ended before its values");
  }
}
#else
ScratchFile::ScratchFile(const std::filesystem::path& folder) {
#if defined(__linux__)
  const std::filesystem::path where = folder.empty() ? std::filesystem::path(".") : folder;
  descriptor_ = ::open(where.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
#else
  (void)folder;
#endif
  if (descriptor_ < 0) {
    // Folders on file systems without unnamed files (some network shares).
    std::FILE* const file = std::tmpfile();
    if (file == nullptr)
      throw ConvoraError("cannot make a temporary file (" + SystemReason() + ")");
    descriptor_ = ::dup(::fileno(file));
    std::fclose(file);
    if (descriptor_ < 0)
      throw ConvoraError("cannot make a temporary file (" + SystemReason() + ")");
  }
#if defined(__linux__)
  // In memory, blocks taken ahead would only be pages zeroed for the writes
  // to fill.
  struct statfs system {};
  reserving_ = ::fstatfs(descriptor_, &system) != 0 || system.f_type != TMPFS_MAGIC;
#endif
}

ScratchFile::~ScratchFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

// Blocks are taken ahead of the writes, as many as are written so far and at
// most 16 MiB at a time: the file system then does its bookkeeping once per
// step instead of on every write, which otherwise takes a third of the
// writing's time, and a small file takes little. A file system that cannot
// take them ahead is left to take them as it writes.
void ScratchFile::Reserve(std::int64_t end) {
#if defined(__linux__)
  constexpr std::int64_t kLargestStep = std::int64_t{16} << 20;
  if (!reserving_ || end <= reserved_) return;
  const std::int64_t to = end + std::min(end, kLargestStep);
  if (::fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, reserved_, to - reserved_) == 0) {
    reserved_ = to;
  } else {
    reserving_ = false;
  }
#else
  (void)end;
#endif
}

void ScratchFile::WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) {
  Reserve(offset + static_cast<std::int64_t>(bytes.size()));
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t written = ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done,
                                     static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
    if (written <= 0) {
      throw ConvoraError("cannot write a temporary file (" + SystemReason() + ")");
    }
    done += static_cast<std::size_t>(written);
  }
}

void ScratchFile::ReadAt(std::int64_t offset, std::span<std::uint8_t> out) {
  std::size_t done = 0;
  while (done < out.size()) {
    const ssize_t got = ::pread(descriptor_, out.data() + done, out.size() - done,
                                static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
    if (got < 0) throw ConvoraError("cannot read back a temporary file (" + SystemReason() + ")");
    if (got == 0) throw ConvoraError("a temporary file ended before its values");
    done += static_cast<std::size_t>(got);
  }
}
#endif

}  // namespace convora
