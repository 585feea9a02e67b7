#pragma once
// The waves of an Igor text file: a first line "IGOR", then blocks of
//   WAVES[/flags] name1 name2 ...
//   BEGIN
//   rows of numbers, one column per wave
//   END
// and command lines "X cmd; cmd", among them "SetScale/P x start, delta,
// "unit", name" (the x step) and "SetScale d min, max, "unit", name" (the
// data unit). The text is read once, in shares (IgorTextRows.h), and the
// numbers wait in scratch files for the passes over the values, which cost a
// fraction of reading the text again. A text with a fault is read a second
// time, line by line, so that the error names the fault's line.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "abf/FileIo.h"
#include "abf/SampleScaling.h"
#include "abf/ScratchFile.h"

namespace convora {

// Rows of a block kept one after another in one scratch file.
struct KeptRows {
  std::size_t file;         // in IgorTextLayout::kept
  std::int64_t firstValue;  // in that file
  std::int64_t rows = 0;
};

struct IgorTextBlock {
  std::size_t columns;
  std::int64_t rows = 0;
  std::vector<KeptRows> parts;  // in order
  // Each column's extremes, where the shares found them (none when the text
  // was read line by line, or the block holds no rows).
  std::vector<Extremes> extremes;
};

struct IgorTextWave {
  std::string name;
  std::size_t block;
  std::size_t column;
  double stepSeconds = 0.0;  // 0 until a SetScale/P x gives it
  std::string unit;
};

struct IgorTextLayout {
  std::vector<IgorTextBlock> blocks;
  std::vector<IgorTextWave> waves;
  std::vector<std::string> textWaves;
  std::vector<ScratchFile> kept;  // the values of the blocks' rows
};

// Reads the waves of an Igor text file, keeping their values in scratch
// files in `folder`; throws ConvoraError, naming the line, at what cannot be
// read.
IgorTextLayout ReadIgorText(SourceFile& source, const std::filesystem::path& folder);
// The same, read one line after another on one core: what ReadIgorText falls
// back on, and what its reading in shares must agree with.
IgorTextLayout ReadIgorTextLineByLine(SourceFile& source, const std::filesystem::path& folder);

// The values of rows [first, first + rows.size() / columns) of a block, row
// after row. Threads may read at once.
void ReadBlockRows(const IgorTextLayout& layout, std::size_t block, std::int64_t first, std::span<double> rows);

// Closes the scratch files, one per core at once: the system frees a file's
// pages as it closes it, which takes milliseconds for each.
void CloseKept(IgorTextLayout& layout);

}  // namespace convora
