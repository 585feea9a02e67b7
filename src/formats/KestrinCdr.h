#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the Kestrin CDR continuous recordings, by block copy,
// into an ABF file beside it.
void ConvertCDR(Workbench& bench);

// Files with "CDR" or a "3" in the four bytes at offset 168: so weak a mark
// that the table trusts it only when no earlier row matched.
extern const FormatDescriptor kKestrinCdrFormat;

}  // namespace convora
