#include "abf/NativeFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "abf/ConvoraError.h"
#include "abf/PathText.h"

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#endif
#if defined(__linux__)
#include <linux/magic.h>
#include <sys/vfs.h>
#endif

namespace convora {
namespace {

#if defined(_WIN32)
using NativeHandle = void*;
#else
using NativeHandle = int;
#endif

// The mapping of a file, and the windows of it that WriteMappedInto maps in turn.
class MappedWindows {
 public:
  explicit MappedWindows(NativeHandle file);
  ~MappedWindows();
  MappedWindows(const MappedWindows&) = delete;
  MappedWindows& operator=(const MappedWindows&) = delete;
  // Where a window may start: a multiple of this.
  static std::int64_t Granularity();
  // The window's first byte, or null when it cannot be mapped.
  const std::uint8_t* Map(std::int64_t offset, std::size_t length);
  void Unmap(const std::uint8_t* window, std::size_t length);

 private:
#if defined(_WIN32)
  HANDLE mapping_;  // the object the windows are views of
#else
  int file_;
#endif
};

}  // namespace

#if defined(_WIN32)

namespace {

OVERLAPPED At(std::int64_t offset) {
  OVERLAPPED where{};
  where.Offset = static_cast<DWORD>(offset);
  where.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return where;
}

// One call moves at most this much: its count is 32 bits wide.
DWORD Chunk(std::size_t size) {
  return static_cast<DWORD>(std::min<std::size_t>(size, std::size_t{1} << 30));
}

}  // namespace

NativeFile::NativeFile(const std::filesystem::path& path, Mode mode) {
  // Others may read, write, rename or delete it meanwhile, as on POSIX.
  const HANDLE handle =
      CreateFileW(path.c_str(), mode == Mode::kRead ? GENERIC_READ : GENERIC_WRITE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) handle_ = handle;
}

// Windows has no unnamed files: this one has a name, in the system's
// temporary folder rather than among the user's files, and the system deletes
// it when it is closed, even when the program dies. Marked temporary, its
// pages stay in the file cache rather than being written to disk.
NativeFile NativeFile::Temporary(const std::filesystem::path&) {
  wchar_t folder[MAX_PATH + 1];
  wchar_t name[MAX_PATH];
  if (GetTempPathW(MAX_PATH + 1, folder) == 0 || GetTempFileNameW(folder, L"cnv", 0, name) == 0) {
    throw ConvoraError("cannot make a temporary file (" + LastSystemError() + ")");
  }
  NativeFile file;
  file.handle_ = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file.handle_ == INVALID_HANDLE_VALUE) {
    file.handle_ = nullptr;
    const std::string reason = LastSystemError();
    DeleteFileW(name);
    throw ConvoraError("cannot make a temporary file (" + reason + ")");
  }
  return file;
}

NativeFile::~NativeFile() {
  if (handle_ != nullptr) CloseHandle(handle_);
}

bool NativeFile::IsOpen() const { return handle_ != nullptr; }

std::int64_t NativeFile::ReadAt(std::int64_t offset, std::span<std::uint8_t> out) const {
  OVERLAPPED where = At(offset);
  DWORD done = 0;
  if (ReadFile(handle_, out.data(), Chunk(out.size()), &done, &where)) return done;
  return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

std::int64_t NativeFile::WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) const {
  OVERLAPPED where = At(offset);
  DWORD done = 0;
  return WriteFile(handle_, bytes.data(), Chunk(bytes.size()), &done, &where) ? done : -1;
}

bool NativeFile::Reserve(std::int64_t from, std::int64_t length) const {
  // The allocation covers the file from its start; it leaves the end of file alone.
  FILE_ALLOCATION_INFO allocation{};
  allocation.AllocationSize.QuadPart = from + length;
  return SetFileInformationByHandle(handle_, FileAllocationInfo, &allocation,
                                    sizeof allocation) != 0;
}

bool NativeFile::InMemory() const { return false; }

bool FlushToDisk(const std::filesystem::path& path) {
  // Flushing takes a handle that may write.
  const NativeFile file(path, NativeFile::Mode::kWrite);
  return !file.IsOpen() || FlushFileBuffers(file.handle_) != 0;
}

bool RenameOver(const std::filesystem::path& from, const std::filesystem::path& to) {
  // Write-through: the call returns once the new name is on disk.
  return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
}

std::string LastSystemError() {
  const DWORD code = GetLastError();
  wchar_t* text = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::wstring message(text, length);
  LocalFree(text);
  while (!message.empty() && (message.back() == L'\n' || message.back() == L'\r' ||
                              message.back() == L'.' || message.back() == L' ')) {
    message.pop_back();
  }
  return message.empty() ? "system error " + std::to_string(code)
                         : PathText(std::filesystem::path(message));
}

MappedWindows::MappedWindows(NativeHandle file)
    : mapping_(CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr)) {}

MappedWindows::~MappedWindows() {
  if (mapping_ != nullptr) CloseHandle(mapping_);
}

std::int64_t MappedWindows::Granularity() {
  static const std::int64_t granularity = [] {
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    return static_cast<std::int64_t>(system.dwAllocationGranularity);
  }();
  return granularity;
}

const std::uint8_t* MappedWindows::Map(std::int64_t offset, std::size_t length) {
  if (mapping_ == nullptr) return nullptr;
  return static_cast<const std::uint8_t*>(MapViewOfFile(mapping_, FILE_MAP_READ,
                                                        static_cast<DWORD>(offset >> 32),
                                                        static_cast<DWORD>(offset), length));
}

void MappedWindows::Unmap(const std::uint8_t* window, std::size_t) { UnmapViewOfFile(window); }

#else  // POSIX

NativeFile::NativeFile(const std::filesystem::path& path, Mode mode)
    : handle_(::open(path.c_str(), (mode == Mode::kRead ? O_RDONLY : O_WRONLY) | O_CLOEXEC)) {}

NativeFile NativeFile::Temporary(const std::filesystem::path& folder) {
  NativeFile file;
#if defined(__linux__)
  const std::filesystem::path where = folder.empty() ? std::filesystem::path(".") : folder;
  file.handle_ = ::open(where.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
#else
  (void)folder;
#endif
  if (file.handle_ < 0) {
    // Folders on file systems without unnamed files (some network shares).
    std::FILE* const stream = std::tmpfile();
    if (stream == nullptr) {
      throw ConvoraError("cannot make a temporary file (" + LastSystemError() + ")");
    }
    file.handle_ = ::dup(::fileno(stream));
    std::fclose(stream);
    if (file.handle_ < 0) {
      throw ConvoraError("cannot make a temporary file (" + LastSystemError() + ")");
    }
  }
  return file;
}

NativeFile::~NativeFile() {
  if (handle_ >= 0) ::close(handle_);
}

bool NativeFile::IsOpen() const { return handle_ >= 0; }

std::int64_t NativeFile::ReadAt(std::int64_t offset, std::span<std::uint8_t> out) const {
  return ::pread(handle_, out.data(), out.size(), static_cast<off_t>(offset));
}

std::int64_t NativeFile::WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) const {
  return ::pwrite(handle_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
}

bool NativeFile::Reserve(std::int64_t from, std::int64_t length) const {
#if defined(__linux__)
  return ::fallocate(handle_, FALLOC_FL_KEEP_SIZE, from, length) == 0;
#else
  (void)from, (void)length;
  return false;
#endif
}

bool NativeFile::InMemory() const {
#if defined(__linux__)
  struct statfs system {};
  return ::fstatfs(handle_, &system) == 0 && system.f_type == TMPFS_MAGIC;
#else
  return false;
#endif
}

bool FlushToDisk(const std::filesystem::path& path) {
  const NativeFile file(path, NativeFile::Mode::kRead);
  return !file.IsOpen() || ::fsync(file.handle_) == 0;
}

bool RenameOver(const std::filesystem::path& from, const std::filesystem::path& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

std::string LastSystemError() { return std::strerror(errno); }

MappedWindows::MappedWindows(NativeHandle file) : file_(file) {}

MappedWindows::~MappedWindows() = default;

std::int64_t MappedWindows::Granularity() {
  static const std::int64_t pageBytes = ::sysconf(_SC_PAGESIZE);
  return pageBytes;
}

// Each window's pages are mapped all at once (MAP_POPULATE): faulted in one
// by one, they made a copy take twice as long as the kernel's own on a
// virtual machine, where a fault is costly.
const std::uint8_t* MappedWindows::Map(std::int64_t offset, std::size_t length) {
#if defined(__linux__)
  void* const window = ::mmap(nullptr, length, PROT_READ, MAP_SHARED | MAP_POPULATE,
                              file_, static_cast<off_t>(offset));
  return window == MAP_FAILED ? nullptr : static_cast<const std::uint8_t*>(window);
#else
  (void)offset, (void)length;
  return nullptr;
#endif
}

void MappedWindows::Unmap(const std::uint8_t* window, std::size_t length) {
  ::munmap(const_cast<std::uint8_t*>(window), length);
}

#endif

// The system then copies each byte once, from the source's cached pages into
// the output's, wherever the two offsets lie within a page, where
// copy_file_range writes every page in two parts when they differ (32 MiB
// from byte 512 to byte 6144: 13 ms against 20 ms) and `read` then `write`
// copies twice. Windows keep the mapped pages few, since the resident size
// counts them. This process never reads the mapping itself, so a source cut
// short meanwhile makes a write come up short instead of raising SIGBUS.
std::int64_t NativeFile::WriteMappedInto(const NativeFile& out, std::int64_t from,
                                         std::int64_t to, std::int64_t count) const {
  constexpr std::int64_t kWindowBytes = 8 << 20;
  MappedWindows windows(handle_);
  std::int64_t copied = 0;
  while (copied < count) {
    const std::int64_t at = from + copied;
    const std::int64_t mappedFrom = at - at % MappedWindows::Granularity();
    const auto length = static_cast<std::size_t>(std::min(kWindowBytes, from + count - mappedFrom));
    const std::uint8_t* const window = windows.Map(mappedFrom, length);
    if (window == nullptr) break;
    const auto skipped = static_cast<std::size_t>(at - mappedFrom);
    const std::int64_t written =
        out.WriteAt(to + copied, std::span(window + skipped, length - skipped));
    windows.Unmap(window, length);
    if (written <= 0) break;
    copied += written;
  }
  return copied;
}

}  // namespace convora
