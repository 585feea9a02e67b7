#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, a SCAN recording: its one channel becomes a
// gap-free ABF file.
void ConvertSCAN(Workbench& bench);

// Files that start "DT=" and whose path ends in ".SCA".
extern const FormatDescriptor kScanFormat;

}  // namespace convora
