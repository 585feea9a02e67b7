#pragma once
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, an Igor text file of numeric waves (the exports
// of Pulse and of Igor itself, with any line endings): waves named in
// Pulse's pattern become sweeps of channels, other waves of the first
// wave's length the channels of one gap-free recording.
void ConvertPulseItx2(Workbench& bench);

}  // namespace convora
