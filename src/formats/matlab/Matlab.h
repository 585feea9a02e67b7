#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, a MAT-file of version 5, 6, 7 or 7.3, into one ABF
// file: the recording is found by the rules the README gives (channel
// structures, the T and Y pair, else the largest numeric array), and the
// variable question ("variable") chooses among several.
void ConvertMatLab(Workbench& bench);

// Files that start "MATLAB".
extern const FormatDescriptor kMatlabFormat;

}  // namespace convora
