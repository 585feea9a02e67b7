#pragma once
// Recognition of a selected file's format: one ordered table of signature
// tests, each with the action that runs when it matches. Every row whose test
// matches runs, in table order; several rows may match one file.

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

#include "abf/AbfHeader.h"
#include "app/Workbench.h"

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
};

// Builds the input from the first bytes of a file (up to 6144 are used; fewer
// read as zeros past their end), its length and path.
RecognitionInput MakeRecognitionInput(std::span<const std::uint8_t> firstBytes,
                                      std::int64_t length, std::filesystem::path path,
                                      std::int16_t lastBlockMark = 0);

struct RecognitionRow {
  // The format recognised, as the known-format list names it where it can.
  std::string_view name;
  // `converted` tells whether an earlier row of the table matched.
  bool (*test)(const RecognitionInput& input, bool converted);
  // Null for a format that has no converter yet: the row still counts as a
  // match, and the user is told that nothing was written.
  void (*action)(Workbench& bench, const RecognitionInput& input);
};

std::span<const RecognitionRow> RecognitionTable();

// The rows whose tests match, in table order. Every test is evaluated before
// any action runs, so a test that cannot be evaluated (ConvoraError) ends the
// file before anything is shown or written.
std::vector<const RecognitionRow*> MatchingRows(const RecognitionInput& input);

// Runs the row's action, or tells the user that its format has no converter.
void RunRow(Workbench& bench, const RecognitionRow& row, const RecognitionInput& input);

}  // namespace convora
