#pragma once
#include "workbench/Workbench.h"
#include "generic/BinarySettings.h"

namespace convora {

// Converts the block of raw samples that starts at the settings' byte location
// of SelectedFilePath and runs to the end of the file: 16-bit integers copied
// as they are (byte pairs swapped on request), or 32-bit floats scaled so that
// their peak lies at half of full scale.
void ConvertUnknownBinary(Workbench& bench, const BinarySettings& settings);

}  // namespace convora
