#pragma once
// libmatio, loaded when the first MAT-file is read rather than when the
// program starts: behind it, HDF5 brings some thirty libraries whose loading
// cost every command about 7 ms before it had done anything.

#include <matio.h>

namespace convora {

// The libmatio functions the MAT-file reader calls.
struct LibmatioCalls {
  decltype(&Mat_Open) Open;
  decltype(&Mat_Close) Close;
  decltype(&Mat_GetVersion) GetVersion;
  decltype(&Mat_LogInitFunc) LogInitFunc;
  decltype(&Mat_SizeOfClass) SizeOfClass;
  decltype(&Mat_VarFree) VarFree;
  decltype(&Mat_VarGetStructFieldByName) VarGetStructFieldByName;
  decltype(&Mat_VarReadData) VarReadData;
  decltype(&Mat_VarReadDataLinear) VarReadDataLinear;
  decltype(&Mat_VarReadNextInfo) VarReadNextInfo;
};

// libmatio's functions, the library loaded on the first call. Throws
// ConvoraError, saying why, where it cannot be loaded; a later call tries again.
const LibmatioCalls& Libmatio();

}  // namespace convora
