#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, an Igor binary wave of version 5 in either byte
// order: a 1-D wave becomes one channel, the columns of a 2-D wave become
// channels (rows are time).
void ConvertIgor5(Workbench& bench);

// Version 5 in either byte order, in a file whose path contains ".ibw".
extern const FormatDescriptor kIgorBinary5Format;

}  // namespace convora
