#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, a Spike2 data file (the 32-bit SON filing system,
// revisions 1 to 9): its waveform channels of the fastest rate, from where
// they all have samples until the first gap, into one gap-free file.
void ConvertSpike2(Workbench& bench);

// The 10 characters at offset 2 start with "(C) CED".
extern const FormatDescriptor kSpike2Format;

}  // namespace convora
