#pragma once
// What a recognised format declares about itself: the name the known-format
// list shows, the test that recognises its files from their first bytes, and
// the converter that turns one into an ABF file. The recognition table
// (app/Recognition.cpp) lists the descriptors in the order the tests run.

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "abf/AbfHeader.h"
#include "abf/LittleEndian.h"
#include "workbench/Workbench.h"

namespace convora {

inline constexpr std::size_t kProbeBytes = 48;
inline constexpr std::int64_t kTorvaneBlockBytes = 2048;
inline constexpr std::int64_t kTorvaneMarkOffset = 2002;

// What the tests look at, read once before any test runs. A short file reads
// zeros past its end.
struct RecognitionInput {
  // The first 6144 bytes (the header an ABF file would have).
  AbfHeader header;
  // The first 48 bytes, taken as single-byte characters.
  std::array<std::uint8_t, kProbeBytes> probe{};
  std::int64_t length = 0;
  std::filesystem::path path;
  // The int16 at (n - 1) x 2048 + 2002, n = length / 2048; read only when the
  // length is a non-zero multiple of 2048, else 0.
  std::int16_t lastBlockMark = 0;

  std::string_view Probe() const {
    return {reinterpret_cast<const char*>(probe.data()), probe.size()};
  }
  bool ProbeStartsWith(std::string_view text) const { return Probe().starts_with(text); }
  // `count` bytes from `offset` on, within the first 6144.
  std::string_view CharsAt(std::size_t offset, std::size_t count) const {
    return {reinterpret_cast<const char*>(header.Bytes().data() + offset), count};
  }
  template <typename Value>
  Value LittleEndianAt(std::size_t offset) const {
    return LoadLittleEndian<Value>(header.Bytes().data() + offset);
  }
  // The whole path with its ASCII letters upper- or lower-cased, for the tests
  // that look at extensions.
  std::string UpperPath() const;
  std::string LowerPath() const;
};

// Builds the input from the first bytes of a file (up to 6144 are used; fewer
// read as zeros past their end), its length and path.
RecognitionInput MakeRecognitionInput(std::span<const std::uint8_t> firstBytes, std::int64_t length,
                                      std::filesystem::path path, std::int16_t lastBlockMark = 0);

inline bool Contains(std::string_view text, std::string_view sought) {
  return text.find(sought) != std::string_view::npos;
}

struct FormatDescriptor {
  // As the known-format list names the format.
  std::string_view name;
  // A pure function of what was read; may throw ConvoraError when the test
  // itself cannot be evaluated.
  bool (*matches)(const RecognitionInput& input);
  // Converts bench.SelectedFilePath, whose first 6144 bytes are in
  // bench.WorkHeader. Null for a format that has no converter: a match still
  // counts, and the user is told what to do instead.
  void (*convert)(Workbench& bench);
  // For a format whose layout is not published, so that no converter can be
  // written: what was recognised and what the user can do instead.
  std::string_view unpublished = {};
};

// Tells the user that bench.SelectedFilePath was recognised as `format`,
// which has no converter, why, and that nothing was written.
void TellNoConverter(Workbench& bench, const FormatDescriptor& format);

}  // namespace convora
