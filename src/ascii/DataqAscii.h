#pragma once
#include "workbench/Workbench.h"

namespace convora {

// Converts the Dataq spreadsheet-style text export SelectedFilePath: one
// channel per column (volts stored as mV), the interval from the heading's
// sample rate, else from a time column, else asked.
void ConvertDataqAscii(Workbench& bench);

}  // namespace convora
