#pragma once
#include "abf/FileIo.h"

namespace convora {

// libmatio trusts what a MAT-file of version 5 says of a variable: a name or
// dimension length that runs past its variable sends it allocating
// gigabytes, and a damaged compressed stream inflates to such garbage. So
// every variable of the file is looked at first: each compressed one must
// inflate cleanly, checksum included, into a small buffer thrown away, and
// the array flags, dimensions and name that open each must lie within it.
// Throws ConvoraError naming the first that does not; files of other
// versions pass unchecked.
void CheckVariables(SourceFile& source);

}  // namespace convora
