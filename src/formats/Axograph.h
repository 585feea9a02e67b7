#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the Axograph version 1 files (big-endian columns; the first column holds time),
// into an ABF file beside it.
void ConvertAxGr(Workbench& bench);

// Files that start with "AxGr".
extern const FormatDescriptor kAxographFormat;

}  // namespace convora
