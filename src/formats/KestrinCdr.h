#pragma once
#include "app/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the Kestrin CDR continuous recordings, by block copy,
// into an ABF file beside it.
void ConvertCDR(Workbench& bench);

}  // namespace convora
