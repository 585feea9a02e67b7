#include "formats/matlab/Matlab.h"

// The descriptor on every system; ConvertMatLab comes from Matlab.cpp where
// libmatio is built in, else from WithoutLibmatio.cpp.

namespace convora {

const FormatDescriptor kMatlabFormat{
    "MATLAB file", [](const RecognitionInput& in) { return in.ProbeStartsWith("MATLAB"); },
    ConvertMatLab};

}  // namespace convora
