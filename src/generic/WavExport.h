#pragma once
#include "workbench/Workbench.h"
#include "generic/BinarySettings.h"

namespace convora {

// Writes the data block of SelectedFilePath, as it is, behind a 44-byte 16-bit
// PCM WAV header, to OutputNameFor(SelectedFilePath, ".wav"). Uses the byte
// location, interval and channel settings; byte swapping and float data are
// not consulted.
void ConvertToWav(Workbench& bench, const BinarySettings& settings);

}  // namespace convora
