#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, a PatchMaster bundle, into one ABF file per
// series: NAME.ABF for the first, NAME_2.ABF, NAME_3.ABF, ... after it. A
// series' sweeps become episodes and its traces channels.
void ConvertPatchMaster(Workbench& bench);

// Files that start with a bundle header ("DAT1" or "DAT2" and a plausible
// item table), recognised only when no earlier row matched.
extern const FormatDescriptor kPatchMasterFormat;

}  // namespace convora
