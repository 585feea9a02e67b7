#pragma once
#include <filesystem>

#include "abf/AbfSummary.h"
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, an ABF 2 file, into an ABF 1.x file beside it
// named NAME_abf1.ABF: the same channels, sweeps, interval, start and tags.
void ConvertAbf2(Workbench& bench);

// Files that start with "ABF2", recognised after every other row.
extern const FormatDescriptor kAbf2Format;

// What `info` shows of an ABF 2 file: the summary of the ABF 1.x file it
// converts to, with its own version.
AbfSummary SummarizeAbf2(const std::filesystem::path& abf2File);

}  // namespace convora
