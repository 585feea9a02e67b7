#include "abf/ConvoraError.h"
#include "formats/matlab/Matlab.h"

// Builds without libmatio (the Windows build: no MinGW form of it is at hand)
// still recognise MAT-files and say why they cannot convert them.

namespace convora {

void ConvertMatLab(Workbench&) {
  throw ConvoraError(
      "this build of Convora reads no MAT-files (it was made without libmatio): convert the "
      "file with a Linux build, or save it from MATLAB with writematrix and use convora ascii");
}

}  // namespace convora
