#include "abf/FileIo.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

#include "abf/ConvoraError.h"
#include "abf/LittleEndian.h"
#include "abf/NativeFile.h"
#include "abf/PathText.h"

namespace convora {
namespace {

std::string SystemReason() { return std::strerror(errno); }

}  // namespace

SourceFile::SourceFile(const std::filesystem::path& path) : path_(path) {
  std::error_code ec;
  const auto status = std::filesystem::status(path, ec);
  if (!std::filesystem::exists(status)) throw ConvoraError("the file does not exist");
  if (std::filesystem::is_directory(status)) throw ConvoraError("this is a folder, not a file");
  if (!std::filesystem::is_regular_file(status)) throw ConvoraError("this is not a regular file");
  errno = 0;
  stream_.open(path, std::ios::binary);
  if (!stream_) throw ConvoraError("cannot open the file for reading (" + SystemReason() + ")");
  length_ = static_cast<std::int64_t>(std::filesystem::file_size(path, ec));
  if (ec) throw ConvoraError("cannot read the file's length (" + ec.message() + ")");
}

SourceFile SourceFile::Reopened() const {
  SourceFile again(path_);
  if (again.Length() != length_) throw SourceChangedError();
  return again;
}

std::size_t SourceFile::ReadPadded(std::int64_t offset, std::span<std::uint8_t> out) {
  std::size_t got = 0;
  if (offset >= 0 && offset < length_) {
    const auto available = static_cast<std::uint64_t>(length_ - offset);
    const auto wanted = std::min<std::uint64_t>(out.size(), available);
    stream_.clear();
    if (offset != position_) stream_.seekg(offset);
    position_ = -1;
    stream_.read(reinterpret_cast<char*>(out.data()), static_cast<std::streamsize>(wanted));
    got = static_cast<std::size_t>(stream_.gcount());
    if (got != wanted) throw ConvoraError("the file could not be read to its end");
    position_ = offset + static_cast<std::int64_t>(got);
  }
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(got), out.end(), std::uint8_t{0});
  return got;
}

void SourceFile::ReadSamples(std::int64_t offset, std::span<std::int16_t> out) {
  const auto bytes = std::as_writable_bytes(out);
  ReadPadded(offset, std::span(reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()));
  if constexpr (std::endian::native != std::endian::little) {
    for (std::int16_t& sample : out) sample = ReverseBytes(sample);
  }
}

OutputFile::OutputFile(const std::filesystem::path& path) : path_(path) {
  errno = 0;
  stream_.open(path, std::ios::binary | std::ios::in | std::ios::out);
  if (!stream_) {
    // Not there yet: create it. Only then may we open with truncation.
    std::error_code ec;
    if (std::filesystem::exists(path, ec)) {
      throw ConvoraError("cannot open " + PathText(path) + " for writing (" + SystemReason() + ")");
    }
    stream_.clear();
    errno = 0;
    stream_.open(path, std::ios::binary | std::ios::out | std::ios::trunc);
    if (!stream_) {
      throw ConvoraError("cannot create " + PathText(path) + " (" + SystemReason() + ")");
    }
  }
}

void OutputFile::WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) {
  const std::lock_guard turn(writing_);
  stream_.seekp(offset);
  stream_.write(reinterpret_cast<const char*>(bytes.data()),
                static_cast<std::streamsize>(bytes.size()));
  if (!stream_) {
    throw ConvoraError("cannot write to " + PathText(path_) + " (" + SystemReason() + ")");
  }
}

void OutputFile::Close() {
  stream_.flush();
  const bool ok = static_cast<bool>(stream_);
  stream_.close();
  if (!ok || stream_.fail()) throw ConvoraError("cannot finish writing " + PathText(path_));
}

std::int64_t OutputFile::CopyFromMapping(const SourceFile& source, std::int64_t from,
                                         std::int64_t to, std::int64_t count) {
  const std::int64_t available = std::min(count, source.Length() - from);
  if (available <= 0 || from < 0 || to < 0) return 0;
  {
    // What the stream holds must reach the file before we write beside it.
    const std::lock_guard turn(writing_);
    stream_.flush();
    if (!stream_) return 0;
  }
  const NativeFile in(source.Path(), NativeFile::Mode::kRead);
  const NativeFile out(path_, NativeFile::Mode::kWrite);
  return in.IsOpen() && out.IsOpen() ? in.WriteMappedInto(out, from, to, available) : 0;
}

OutputFile OpenOutputFor(const std::filesystem::path& source, const std::filesystem::path& output) {
  std::error_code ec;
  if (std::filesystem::equivalent(source, output, ec) && !ec) {
    throw ConvoraError("the output " + PathText(output) + " would overwrite the source itself");
  }
  return OutputFile(output);
}

}  // namespace convora
