#include "abf/ScratchFile.h"

#include <algorithm>

#include "abf/ConvoraError.h"

namespace convora {

// In memory, blocks taken ahead would only be pages zeroed for the writes to
// fill.
ScratchFile::ScratchFile(const std::filesystem::path& folder)
    : file_(NativeFile::Temporary(folder)), reserving_(!file_.InMemory()) {}

// Blocks are taken ahead of the writes, as many as are written so far and at
// most 16 MiB at a time: the file system then does its bookkeeping once per
// step instead of on every write, which otherwise takes a third of the
// writing's time, and a small file takes little. A file system that cannot
// take them ahead is left to take them as it writes.
void ScratchFile::Reserve(std::int64_t end) {
  constexpr std::int64_t kLargestStep = std::int64_t{16} << 20;
  if (!reserving_ || end <= reserved_) return;
  const std::int64_t to = end + std::min(end, kLargestStep);
  if (file_.Reserve(reserved_, to - reserved_)) {
    reserved_ = to;
  } else {
    reserving_ = false;
  }
}

void ScratchFile::WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) {
  Reserve(offset + static_cast<std::int64_t>(bytes.size()));
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::int64_t written =
        file_.WriteAt(offset + static_cast<std::int64_t>(done), bytes.subspan(done));
    if (written <= 0) {
      throw ConvoraError("cannot write a temporary file (" + LastSystemError() + ")");
    }
    done += static_cast<std::size_t>(written);
  }
}

void ScratchFile::ReadAt(std::int64_t offset, std::span<std::uint8_t> out) const {
  std::size_t done = 0;
  while (done < out.size()) {
    const std::int64_t got =
        file_.ReadAt(offset + static_cast<std::int64_t>(done), out.subspan(done));
    if (got < 0) {
      throw ConvoraError("cannot read back a temporary file (" + LastSystemError() + ")");
    }
    if (got == 0) throw ConvoraError("a temporary file ended before its values");
    done += static_cast<std::size_t>(got);
  }
}

}  // namespace convora
