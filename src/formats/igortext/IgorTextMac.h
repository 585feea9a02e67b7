#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Converts SelectedFilePath, one of the single-wave Igor text files written on a Macintosh,
// into an ABF file beside it.
void ConvertIgorTextMac(Workbench& bench);

// Igor text files: the Macintosh single-wave files by their own conversion,
// every other one (Pulse's exports, Igor's own) as waves.
extern const FormatDescriptor kIgorTextFormat;
// The other dialect, as the known-format list names it.
inline constexpr std::string_view kPulseItxName = "Pulse IGB (Mac) ITX (PC) file";

}  // namespace convora
