#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, a CED Filing System file: its data sections
// become sweeps, its equally spaced channels ABF channels.
void ConvertCFS(Workbench& bench);

// Files that start with "CEDFILE".
extern const FormatDescriptor kCfsFormat;

}  // namespace convora
