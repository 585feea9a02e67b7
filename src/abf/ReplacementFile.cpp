#include "abf/ReplacementFile.h"

#include <atomic>
#include <exception>
#include <random>
#include <string>
#include <system_error>

#include "abf/AbfOutput.h"
#include "abf/ConvoraError.h"
#include "abf/NativeFile.h"
#include "abf/PathText.h"

namespace convora {
namespace {

// Beside the target, so that the rename stays within one file system.
std::filesystem::path TemporaryNameFor(const std::filesystem::path& target) {
  static const unsigned run = std::random_device{}();
  static std::atomic<unsigned> counter{0};
  std::string prefix = PathText(target.filename());
  prefix.insert(0, ".");
  prefix.append(".convora-").append(std::to_string(run));
  for (;;) {
    std::filesystem::path candidate =
        target.parent_path() / PathOfText(prefix + "-" + std::to_string(counter++));
    std::error_code ec;
    if (!std::filesystem::exists(candidate, ec)) return candidate;
  }
}

}  // namespace

ReplacementFile::ReplacementFile(const std::filesystem::path& target,
                                 const std::optional<std::filesystem::path>& startFrom)
    : target_(target), temporary_(TemporaryNameFor(target)) {
  std::error_code ec;
  replacing_ = std::filesystem::exists(target, ec);
  file_.emplace(temporary_);
  if (!startFrom || !std::filesystem::exists(*startFrom, ec)) return;
  // Copied as the converters copy samples (from a mapping of the file where
  // it can be mapped), which is faster than the library's copy.
  try {
    SourceFile start(*startFrom);
    DataSectionWriter writer(*file_, 0);
    CopyBytes(start, 0, start.Length(), writer);
    std::filesystem::permissions(temporary_, std::filesystem::status(*startFrom).permissions());
  } catch (const std::exception& e) {
    file_.reset();
    std::filesystem::remove(temporary_, ec);
    throw ConvoraError("cannot copy " + PathText(*startFrom) + " to " +
                       PathText(target.parent_path()) + " (" + e.what() + ")");
  }
}

ReplacementFile::~ReplacementFile() {
  if (committed_) return;
  file_.reset();
  std::error_code ec;
  std::filesystem::remove(temporary_, ec);
}

void ReplacementFile::Commit() {
  file_->Close();
  // Made durable before the rename makes it visible.
  if (replacing_ && !FlushToDisk(temporary_)) {
    throw ConvoraError("cannot flush " + PathText(temporary_) + " to disk");
  }
  if (!RenameOver(temporary_, target_)) {
    throw ConvoraError("cannot replace " + PathText(target_) + " (" + LastSystemError() + ")");
  }
  committed_ = true;
}

ReplacementFile RewriteOf(const std::filesystem::path& target) {
  return ReplacementFile(target, target);
}

}  // namespace convora
