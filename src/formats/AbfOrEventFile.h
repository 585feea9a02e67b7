#pragma once
// Files that need no conversion: ABF files, and the event files of the
// Vestralinkor program. Recognising them spares the user the unknown-format
// question.

#include "formats/FormatDescriptor.h"

namespace convora {

extern const FormatDescriptor kAbfFileFormat;
extern const FormatDescriptor kVestralinkorEventFormat;

}  // namespace convora
