#pragma once
#include "formats/FormatDescriptor.h"
#include "workbench/Workbench.h"

namespace convora {

// Convert SelectedFilePath, an AcqKnowledge graph file of the Macintosh
// (big-endian) or the PC (little-endian): its channels of the fastest rate
// into one gap-free file, the slower ones named in a notice.
void ConvertAcqKnowledgeMac(Workbench& bench);
void ConvertAcqKnowledgePC(Workbench& bench);
// Revision 38 (3.7) and later, in the byte order that makes its header
// plausible.
void ConvertAcqKnowledgeLater(Workbench& bench);

// Version 35 in the Macintosh byte order, and version 36 in the PC's.
extern const FormatDescriptor kAcqKnowledgeMacFormat;
extern const FormatDescriptor kAcqKnowledgePcFormat;
// Revisions 38 to 255 in either byte order, with a graph header that fits.
extern const FormatDescriptor kAcqKnowledgeLaterFormat;

}  // namespace convora
