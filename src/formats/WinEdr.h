#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, a continuous recording of WinEDR (or WinCDR):
// its channels into one gap-free ABF file.
void ConvertWinCDR(Workbench& bench);

// Files whose text header starts "VER=6".
extern const FormatDescriptor kWinCdrFormat;

}  // namespace convora
