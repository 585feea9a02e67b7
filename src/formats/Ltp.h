#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Convert SelectedFilePath, an LTP (2.4 to WinLTP 2.32) ASCII sweep file: its
// one sweep of AD channels into one gap-free file.
void ConvertLTP(Workbench& bench);

// "LTP_ASF" from the second character on: the quoted first keyword.
extern const FormatDescriptor kLtpFormat;

}  // namespace convora
