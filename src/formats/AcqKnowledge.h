#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Convert SelectedFilePath, an AcqKnowledge 3.x graph file of the Macintosh
// (big-endian) or the PC (little-endian): its channels into one gap-free file.
void ConvertAcqKnowledgeMac(Workbench& bench);
void ConvertAcqKnowledgePC(Workbench& bench);

// Version 35 in the Macintosh byte order, and version 36 in the PC's.
extern const FormatDescriptor kAcqKnowledgeMacFormat;
extern const FormatDescriptor kAcqKnowledgePcFormat;

}  // namespace convora
