#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the Igor binary waves of version 2, PC or Macintosh byte order,
// into an ABF file beside it.
void ConvertIgor(Workbench& bench);

// Igor binary waves of version 2 in either byte order.
extern const FormatDescriptor kIgorBinaryFormat;

}  // namespace convora
