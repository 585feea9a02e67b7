#pragma once
#include "app/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the Igor binary waves of version 2, PC or Macintosh byte order,
// into an ABF file beside it.
void ConvertIgor(Workbench& bench);

}  // namespace convora
