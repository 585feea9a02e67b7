#pragma once
#include "app/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the single-wave Igor text files written on a Macintosh,
// into an ABF file beside it.
void ConvertIgorTextMac(Workbench& bench);

}  // namespace convora
