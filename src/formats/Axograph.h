#pragma once
#include "app/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the Axograph version 1 files (big-endian columns; the first column holds time),
// into an ABF file beside it.
void ConvertAxGr(Workbench& bench);

}  // namespace convora
