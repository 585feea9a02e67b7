#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, a WinWCP data file: its records become sweeps.
void ConvertWinWCP(Workbench& bench);

// Files whose text header starts "VER=" and whose path ends in ".wcp".
extern const FormatDescriptor kWinWcpFormat;

}  // namespace convora
