#pragma once
// Recognition of a selected file's format: one ordered table of format
// descriptors. Every row whose test matches runs, in table order; several
// rows may match one file.

#include <span>
#include <vector>

#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

struct RecognitionRow {
  const FormatDescriptor* format;
  // A signature too weak to trust beside another: the row matches only when
  // no earlier row did.
  bool onlyWhenNothingEarlierMatched = false;
};

std::span<const RecognitionRow> RecognitionTable();

// The rows whose tests match, in table order. Every test is evaluated before
// any converter runs, so a test that cannot be evaluated (ConvoraError) ends
// the file before anything is shown or written.
std::vector<const RecognitionRow*> MatchingRows(const RecognitionInput& input);

// Runs the row's converter, or tells the user that its format has none.
void RunRow(Workbench& bench, const RecognitionRow& row);

}  // namespace convora
